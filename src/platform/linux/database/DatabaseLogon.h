#pragma once

#include <string>

#include "platform/linux/database/ServerPlace.h"

namespace torvik {

/// All that a connection to a server is opened with.
struct DatabaseLogon {
  ServerAddress address;
  std::string database;    ///< "Initial Catalog"; may be empty.
  bool isTrusted = false;  ///< With the account of the process; user and password are not sent.
  std::string user;
  std::string password;
};

/// True for the databases that a PostgreSQL server has as schemas: master and msdb.
bool IsSystemDatabase(const std::string& name);

}  // namespace torvik
