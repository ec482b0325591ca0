#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "datalinks/DataWarehouse.h"

namespace torvik {

/// Makes a connection for a kind of data link (etlType) and opens it. For Excel and Access the
/// logon's server is the path of the file; only a SQL Server is ever logged on to with the account
/// of the process. False when it does not open: a line for each error of the provider then goes to
/// the end of `errorText`, CR LF before each, and `connection` is none.
bool BuildConnection(ado::Provider& databases, std::int32_t etlType, const ServerLogon& logon,
                     std::unique_ptr<ado::Connection>& connection, std::string& errorText,
                     const std::string& database, int timeoutSeconds = kConnectionTimeoutSeconds);

}  // namespace torvik
