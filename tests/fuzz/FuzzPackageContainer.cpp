#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "import/CompoundWriter.h"
#include "import/PackageContainer.h"
#include "platform/PlatformError.h"

using namespace torvik;

/// Whatever a structured storage file holds, its packages are told or it is refused. Odd inputs
/// overwrite a good file with what they are made of: a place in two bytes and a byte to put there.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string good = importing::CompoundWriter::Write(importing::WrittenPackage());
  std::string bytes(reinterpret_cast<const char*>(data), size);
  if (size % 2 == 1) {
    std::string changed = good;
    for (std::size_t at = 1; at + 3 <= size; at += 3)
      changed[(data[at] | data[at + 1] << 8) % changed.size()] = static_cast<char>(data[at + 2]);
    bytes = std::move(changed);
  }
  try {
    importing::WordsOf(importing::ReadPackageContainer("in", bytes));
  } catch (const PlatformError&) {
  }
  return 0;
}
