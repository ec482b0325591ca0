// Stands for the room in the programs, which load it when a workbook is first opened.

#include "platform/linux/modules/Modules.h"
#include "platform/linux/tables/excel/ExcelFile.h"

namespace torvik {

std::unique_ptr<TableFile> OpenExcelFile(const std::string& path, ExcelFormat format,
                                         const std::string& extendedProperties) {
  static const auto open = InModule(kExcelModule, &OpenExcelFile, path);
  return open(path, format, extendedProperties);
}

}  // namespace torvik
