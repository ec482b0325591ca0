#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/linux/ServerPlace.h"

namespace torvik {

/// The drivers whose keywords or servers differ from what ODBC defines.
enum class OdbcFamily { FreeTds, MicrosoftSqlServer, PostgreSql, Oracle, Other };

/// By the name or the library of a driver.
OdbcFamily FamilyOf(const std::string& driver);

/// All that an ODBC connection is opened with.
struct OdbcLogon {
  OdbcPlace place;
  std::string database;    ///< "Initial Catalog"; may be empty.
  bool isTrusted = false;  ///< With the account of the process; user and password are not sent.
  std::string user;
  std::string password;
};

/// The connection text of the driver's own keywords. Throws PlatformError, which does not show it,
/// for a value that the driver has no way to be given.
std::string ConnectionText(const OdbcLogon& logon);

/// The same without what no one may read: passwords are "***".
std::string ShownConnectionText(const OdbcLogon& logon);

/// True for the databases that a PostgreSQL server has as schemas: master and msdb.
bool IsSystemDatabase(const std::string& name);

}  // namespace torvik
