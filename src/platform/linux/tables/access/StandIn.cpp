// Stands for the room in the programs, which load it when an Access file is first opened.

#include "platform/linux/modules/Modules.h"
#include "platform/linux/tables/access/AccessFile.h"

namespace torvik {

std::unique_ptr<TableFile> OpenAccessFile(const std::string& path) {
  static const auto open = InModule(kAccessModule, &OpenAccessFile, path);
  return open(path);
}

}  // namespace torvik
