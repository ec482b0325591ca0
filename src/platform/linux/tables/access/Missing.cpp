// Stands for the room in a build without libmdb.

#include "platform/linux/tables/access/AccessFile.h"
#include "platform/linux/text/MissingLibrary.h"

namespace torvik {

std::unique_ptr<TableFile> OpenAccessFile(const std::string& path) {
  throw PlatformError(0, NotInThisBuild(path, "be read", "libmdb"), "table file");
}

}  // namespace torvik
