#pragma once

#include <string>

#include "platform/linux/tables/excel/ContainerFile.h"
#include "platform/linux/tables/excel/Workbook.h"

namespace torvik {

/// Reads the sheets of an Office Open XML workbook (.xlsx, .xlsm). `path` is for messages. Throws
/// PlatformError when it is none, or damaged.
Workbook ReadXlsxWorkbook(const std::string& path, ContainerFile& package);

}  // namespace torvik
