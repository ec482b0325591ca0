#pragma once

#include <memory>
#include <string>

#include "platform/Ado.h"
#include "platform/linux/settings/Settings.h"

namespace torvik {

/// A PostgreSQL server of the test's own on a loopback port, made and started at first use, stopped
/// and removed when the test program ends. Its only user is "torvik", a superuser.
class PostgreSqlServer {
 public:
  static PostgreSqlServer& Instance();
  ~PostgreSqlServer();
  PostgreSqlServer(const PostgreSqlServer&) = delete;
  PostgreSqlServer& operator=(const PostgreSqlServer&) = delete;

  int Port() const { return port_; }
  const std::string& Password() const { return password_; }

  /// Settings in which `server` is this one; "by ODBC" is always this one too, reached by psqlODBC
  /// through a data source.
  Settings AsServer(const std::string& server) const;
  /// The same as the section of a settings file, with a trusted logon as "torvik": its password is
  /// in PasswordFile(), which the environment of this program names too.
  std::string Section(const std::string& server) const;
  std::string PasswordFile() const { return directory_ + "/pgpass"; }
  /// The data sources of ODBC, which the environment of this program names.
  std::string DataSourceFile() const { return directory_ + "/odbc.ini"; }

  /// A connection that has all it needs to open `database`; "" is the server's own.
  std::unique_ptr<ado::Connection> NewConnection(const std::string& database = "",
                                                 const std::string& server = "pg") const;

  /// All that is on the server, as SQL.
  std::string Dump() const;

  /// Makes an empty database of that name in place of an earlier one.
  void MakeDatabase(const std::string& name) const;

 private:
  PostgreSqlServer();

  std::string directory_;
  int port_ = 0;
  std::string password_;
};

}  // namespace torvik
