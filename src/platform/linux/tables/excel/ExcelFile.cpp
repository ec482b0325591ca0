#include "platform/linux/tables/excel/ExcelFile.h"

#include "platform/linux/tables/excel/ContainerFile.h"
#include "platform/linux/tables/excel/WorkbookFile.h"
#include "platform/linux/tables/excel/XlsWorkbook.h"
#include "platform/linux/tables/excel/XlsxWorkbook.h"

namespace torvik {

std::unique_ptr<TableFile> OpenExcelFile(const std::string& path, ExcelFormat format,
                                         const std::string& extendedProperties) {
  const WorkbookOptions options = ReadWorkbookOptions(extendedProperties);
  if (format == ExcelFormat::Xlsx)
    return NewWorkbookFile(ReadXlsxWorkbook(path, *OpenZipFile(path)), options);
  return NewWorkbookFile(ReadXlsWorkbook(path, *OpenCompoundFile(path)), options);
}

}  // namespace torvik
