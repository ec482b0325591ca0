#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/linux/database/AdoDatabase.h"
#include "platform/linux/database/DatabaseLogon.h"

namespace torvik {

/// Opens a database through an ODBC driver; gives up after the time-out. Throws PlatformError with
/// the driver's words; `errors` then holds them one by one.
std::unique_ptr<AdoDatabase> OpenOdbcDatabase(const DatabaseLogon& logon, int timeoutSeconds,
                                              std::vector<ado::ProviderError>& errors);

/// The driver of a data source of odbc.ini; empty when there is no such data source.
std::string DriverOfDataSource(const std::string& name);

}  // namespace torvik
