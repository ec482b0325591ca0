#pragma once

#include <memory>
#include <string>

#include "platform/linux/tables/common/TableFile.h"

namespace torvik {

enum class ExcelFormat { Xls, Xlsx };

/// Opens a workbook of Excel, its sheets as tables, by the extended properties of a connection:
/// "Excel 8.0;HDR=NO;IMEX=1". Throws PlatformError when it cannot be read.
std::unique_ptr<TableFile> OpenExcelFile(const std::string& path, ExcelFormat format,
                                         const std::string& extendedProperties);

}  // namespace torvik
