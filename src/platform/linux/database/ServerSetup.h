#pragma once

#include <string>

#include "platform/Ado.h"
#include "platform/linux/database/DriverFamily.h"

namespace torvik {

/// Who makes tables on a server.
struct SetupLogon {
  std::string server;
  bool isTrusted = true;
  std::string user;
  std::string password;
};

/// Makes on a server what packages and data links need and is not there: the
/// package table in msdb and, unless `warehouse` is empty, the data-warehouse database with its
/// table of data links. Throws PlatformError; what was made before it stays.
void SetUpServer(ado::Provider& databases, DriverFamily family, const SetupLogon& logon,
                 const std::string& warehouse);

}  // namespace torvik
