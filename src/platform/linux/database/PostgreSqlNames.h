#pragma once

#include <string>
#include <string_view>

#include "platform/linux/database/SqlNames.h"

namespace torvik {

/// How the names of SQL Server are understood on PostgreSQL, which has one database at a time: the
/// databases master and msdb are schemas there, master.dbo.sysdatabases is its catalogue.
class PostgreSqlNames {
 public:
  /// By the database that the connection asked for ("Initial Catalog") and the one that it has.
  PostgreSqlNames(std::string asked, std::string connected)
      : asked_(std::move(asked)), connected_(std::move(connected)) {}

  /// Run on every new connection; may be empty.
  std::string SessionSql() const;

  /// The statement as the server takes it. Throws PlatformError for a name in another database.
  std::string Resolve(std::string_view sql) const;

  /// The schema of a table that is named by its parts; empty: the usual one.
  static std::string SchemaOf(const TableName& name);

  /// Throws PlatformError when the table lies in another database; `place` begins the text.
  void RequireReach(const TableName& name, const std::string& place) const;

 private:
  bool IsCurrent(const std::string& database) const;
  std::string Prefix(const TableName& name, int line) const;

  std::string asked_, connected_;
};

}  // namespace torvik
