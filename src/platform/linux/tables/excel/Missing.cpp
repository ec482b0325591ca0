// Stands for the room in a build without libgsf or expat.

#include "platform/linux/tables/excel/ExcelFile.h"
#include "platform/linux/text/MissingLibrary.h"

namespace torvik {

std::unique_ptr<TableFile> OpenExcelFile(const std::string& path, ExcelFormat, const std::string&) {
  throw PlatformError(0, NotInThisBuild(path, "be read", "libgsf and expat"), "table file");
}

}  // namespace torvik
