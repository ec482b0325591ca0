#pragma once

#include <memory>

#include "platform/Ado.h"
#include "platform/linux/settings/Settings.h"

namespace torvik {

/// Connections that find their server at Open by the settings: an embedded server, an Excel or
/// Access file, PostgreSQL by its own library, or any other by ODBC. "Initial Catalog" is the
/// current database, the server's own choice when it is empty (master on an embedded server). The
/// time-out ("Connect Timeout", else SetConnectionTimeout, else 15 seconds) is how long Open waits
/// for a server and, on an embedded one, how long a statement waits for a database that another
/// connection holds; 0 does not wait there.
std::unique_ptr<ado::Provider> NewAdoProvider(Settings settings);

}  // namespace torvik
