#pragma once

#include <string>
#include <vector>

#include "platform/Ado.h"
#include "platform/linux/database/DatabaseLogon.h"

struct pg_conn;

namespace torvik {

/// The keys of a server's section that libpq does not know; those that it knows are sent as they
/// stand, "uid" and "pwd" as the user and password of trusted logons.
std::vector<std::string> KeysUnknownToLibpq(const ServerAddress& place);

/// The database that a logon leads to: msdb and master lie in the one of the settings.
std::string PgDatabaseOf(const DatabaseLogon& logon);

/// Connects, within the time all in all, the look-up of the host's name aside. Throws
/// PlatformError with what the library or the server says and what was asked for, without
/// passwords; `errors` then holds the same.
pg_conn* ConnectToPg(const DatabaseLogon& logon, int timeoutSeconds,
                     std::vector<ado::ProviderError>& errors);

}  // namespace torvik
