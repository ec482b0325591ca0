#pragma once

#include <memory>
#include <string>

#include "platform/linux/AdoDatabase.h"

namespace torvik {

/// True when a file of that name is read here, by its extension: .xls, .xlsx, .xlsm, .mdb or
/// .accdb, letter case aside.
bool IsTableFile(const std::string& path);

/// Opens a workbook or an Access file for reading; its content tells which of them it is. What
/// would change anything is refused. `extendedProperties` say how a workbook is read: "Excel
/// 8.0;HDR=NO;IMEX=1". Reading waits for nobody, so that the time-out says nothing here.
std::unique_ptr<AdoDatabase> OpenTableFile(const std::string& path,
                                           const std::string& extendedProperties,
                                           int timeoutSeconds);

}  // namespace torvik
