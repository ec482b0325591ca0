#include <cstdint>
#include <string_view>

#include "engine/PackageDocument.h"
#include "platform/PlatformError.h"

/// A document is read or refused in words; it never crashes the reader.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    torvik::engine::ReadPackageDocument({reinterpret_cast<const char*>(data), size}, "document");
  } catch (const torvik::PlatformError&) {
  }
  return 0;
}
