#pragma once

#include <functional>
#include <map>
#include <string>

#include "platform/linux/settings/EmbeddedDurability.h"
#include "platform/linux/settings/Secret.h"

namespace torvik {

struct Settings;

/// How a server is reached: by an ODBC data source name, by a driver and a host or, for PostgreSQL,
/// by its own library and a host.
struct ServerAddress {
  std::string dataSource;  ///< Of odbc.ini.
  std::string driver;      ///< Of odbcinst.ini; with a data source, the one it uses. May be empty
                           ///< for PostgreSQL.
  std::string host;        ///< As the driver spells it; an instance may follow a '\'.
  std::string port;
  std::string database;                        ///< When the connection names none.
  std::map<std::string, std::string> options;  ///< The driver's own keywords.
  LogonSettings logon = {};  ///< Without a user the connection's own logon counts.
};

/// What stands behind a server text.
struct ServerPlace {
  enum class Kind { Embedded, TableFile, Odbc, PostgreSql } kind = Kind::Embedded;
  std::string path;       ///< The embedded server's directory, or the workbook or Access file.
  ServerAddress address;  ///< Of PostgreSQL too; a driver that is named may be used for it.
  EmbeddedDurability durability = {};  ///< Of an embedded server.
};

/// Answers the driver of an ODBC data source; empty when there is no such data source.
using DataSourceDriver = std::function<std::string(const std::string& name)>;

/// Finds what a connection's provider and "Data Source" mean: the section [server TEXT] of the
/// settings, else an ODBC data source of that name, else a host, reached by the provider's driver:
/// that of its section [provider NAME], for SQL Server's providers else FreeTDS. For the providers
/// of Excel and Access files the text is a path. Throws PlatformError, which says what to add to
/// the settings, when nothing fits.
ServerPlace FindServerPlace(const Settings& settings, const std::string& provider,
                            const std::string& server, const DataSourceDriver& driverOf);

}  // namespace torvik
