#pragma once

#include <string>

#include "platform/linux/tables/excel/ContainerFile.h"
#include "platform/linux/tables/excel/Workbook.h"

namespace torvik {

/// Reads the sheets of a workbook of Excel 5.0 to 2003 (.xls). `path` is for messages. Throws
/// PlatformError when it is none, protected by a password, or damaged.
Workbook ReadXlsWorkbook(const std::string& path, ContainerFile& file);

}  // namespace torvik
