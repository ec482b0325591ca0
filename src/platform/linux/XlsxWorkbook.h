#pragma once

#include <string>

#include "platform/linux/ContainerFile.h"
#include "platform/linux/Workbook.h"

namespace torvik {

/// Reads the sheets of an Office Open XML workbook (.xlsx, .xlsm). `path` is for messages. Throws
/// PlatformError when it is none, or damaged.
Workbook ReadXlsxWorkbook(const std::string& path, ContainerFile& package);

}  // namespace torvik
