#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "engine/model/Connections.h"
#include "platform/PlatformError.h"
#include "platform/linux/system/PathMap.h"
#include "platform/linux/system/PosixFiles.h"
#include "platform/linux/text/IconvCodePages.h"

using namespace torvik;

/// Any bytes give settings or a message.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto codePages = NewIconvCodePages("windows-1252");
  static const std::string path = std::filesystem::temp_directory_path() / "torvik-fuzz.udl";
  static const auto files = NewPosixFiles(PathMap{}, *codePages, "/tmp");
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  engine::ConnectionSettings settings;
  try {
    engine::ReadDataLinkFile({*files, *codePages}, path, settings);
  } catch (const PlatformError&) {
  }
  return 0;
}
