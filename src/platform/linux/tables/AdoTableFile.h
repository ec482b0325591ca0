#pragma once

#include <memory>
#include <string>

#include "platform/linux/database/AdoDatabase.h"

namespace torvik {

/// Opens a workbook or an Access file for reading; its content tells which of them it is. What
/// would change anything is refused. `extendedProperties` say how a workbook is read: "Excel
/// 8.0;HDR=NO;IMEX=1"; with "dBase 5.0", `path` is a directory of dBase files.
std::unique_ptr<AdoDatabase> OpenTableFile(const std::string& path,
                                           const std::string& extendedProperties);

}  // namespace torvik
