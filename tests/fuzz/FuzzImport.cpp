#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "engine/PackageDocument.h"
#include "engine/model/Problems.h"
#include "engine/model/TomlTable.h"
#include "import/PackageImport.h"
#include "platform/PlatformError.h"

using namespace torvik;

/// Any text gives a document or is refused; a document is one, whatever problems it may have.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const auto package = importing::ImportPackage("in", {reinterpret_cast<const char*>(data), size},
                                                  {{"server", "S"}, {"n", "2"}});
    importing::PackageProcedures("in", {reinterpret_cast<const char*>(data), size});
    engine::Problems problems("in");
    engine::ParseToml(package.document, problems);
    if (!problems.Empty()) std::abort();
    engine::ReadPackageDocument(package.document, "in");
  } catch (const PlatformError&) {
  }
  return 0;
}
