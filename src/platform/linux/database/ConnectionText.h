#pragma once

#include <string>

#include "platform/linux/database/DatabaseLogon.h"

namespace torvik {

/// The connection text of an ODBC driver, in its own keywords. Throws PlatformError, which does not
/// show it, for a value that the driver has no way to be given.
std::string ConnectionText(const DatabaseLogon& logon);

/// The same without what no one may read: passwords are "***".
std::string ShownConnectionText(const DatabaseLogon& logon);

}  // namespace torvik
