#include <cstdint>
#include <cstdlib>

#include "platform/linux/settings/IniText.h"

/// What was set is found, and setting it changes nothing that stood before it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string before(reinterpret_cast<const char*>(data), size);
  torvik::IniText text(before);
  const bool isNew = !text.Find("Package Info", "Package");
  const auto other = text.Find("Package Info", "LogFile");
  text.Set("package info", "PACKAGE", "Sales_LoadDW");
  if (text.Find("Package Info", "Package") != "Sales_LoadDW") std::abort();
  if (text.Find("Package Info", "LogFile") != other) std::abort();
  if (isNew && text.Bytes().size() < before.size()) std::abort();
  return 0;
}
