#pragma once

#include <memory>
#include <string>

#include "platform/linux/tables/common/TableFile.h"

namespace torvik {

/// Opens an Access file (.mdb from Access 97 on, .accdb). Its own tables are left out, and so are
/// those that lie in other files. Throws PlatformError when the file cannot be read, or not without
/// a password.
std::unique_ptr<TableFile> OpenAccessFile(const std::string& path);

}  // namespace torvik
