#pragma once

#include <memory>
#include <vector>

#include "platform/linux/database/AdoDatabase.h"
#include "platform/linux/database/DatabaseLogon.h"

namespace torvik {

/// True when this build reaches a place of PostgreSQL by its own library: the place names no
/// driver or, beside one, no key that only that driver understands.
bool TakesPostgresPlace(const ServerAddress& place);

/// Opens a database of PostgreSQL by its own library; gives up after the time-out. Throws
/// PlatformError with the server's words; `errors` then holds them one by one.
std::unique_ptr<AdoDatabase> OpenPostgresDatabase(const DatabaseLogon& logon, int timeoutSeconds,
                                                  std::vector<ado::ProviderError>& errors);

}  // namespace torvik
