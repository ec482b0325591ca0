#include "platform/linux/tables/common/TableFile.h"

namespace torvik {

PlatformError TableFileError(const std::string& path, const std::string& reason) {
  return PlatformError(0, path + " " + reason, "table file");
}

}  // namespace torvik
