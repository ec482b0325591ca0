#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/linux/settings/RegistryText.h"

using namespace torvik;

/// What is read is written so that it is read again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Hive hive, again;
  if (!ReadHive({reinterpret_cast<const char*>(data), size}, hive)) return 0;
  const std::string text = WriteHive(hive);
  if (!ReadHive(text, again) || WriteHive(again) != text) std::abort();
  return 0;
}
