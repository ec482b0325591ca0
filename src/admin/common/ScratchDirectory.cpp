#include "admin/common/ScratchDirectory.h"

#include <cstdlib>
#include <filesystem>

#include "platform/Files.h"
#include "platform/PlatformError.h"
#include "platform/linux/system/Posix.h"

namespace torvik::admin {

ScratchDirectory::ScratchDirectory(Files& files) : path_(files.TempDirectory() + "torvik-XXXXXX") {
  if (mkdtemp(path_.data()) != nullptr) return;
  const std::error_code error = LastSystemError();
  throw PlatformError(error.value(),
                      path_ + ": no directory for temporary files can be made: " + error.message() +
                          "; name a directory that can be written to with TMPDIR",
                      "temporary files");
}

ScratchDirectory::~ScratchDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace torvik::admin
