#pragma once

#include <string>
#include <string_view>

#include "platform/Ado.h"
#include "platform/linux/database/PostgreSqlNames.h"
#include "platform/linux/database/SqlNames.h"

namespace torvik {

/// The servers whose SQL is not the same.
enum class OdbcServer { SqlServer, PostgreSql, Oracle, Other };

/// What differs between the servers that ODBC drivers reach.
class OdbcDialect {
 public:
  /// By SQL_DBMS_NAME and by the database that the connection asked for ("Initial Catalog"), whose
  /// name the server may spell in its own way; `connected` is that.
  OdbcDialect(const std::string& serverName, const std::string& asked,
              const std::string& connected);

  OdbcServer Server() const { return server_; }
  /// Other where a server's types are told by their kinds alone.
  ado::SqlKind Sql() const;

  /// Run on every new connection; may be empty.
  std::string SessionSql() const;

  /// The statement as this server takes it. Throws PlatformError for a name in another database on
  /// PostgreSQL.
  std::string Resolve(std::string_view sql) const;

  /// Catalogue and schema of a table that is named by its parts; empty ones are left open.
  struct Place {
    std::string catalogue, schema;
  };
  Place PlaceOf(const TableName& name) const;

  /// What stands in a statement for a value of this column, and the text that is sent for `value`.
  std::string Marker(const ado::Column& column) const;
  std::string Sent(const ado::Column& column, std::string_view value) const;

  /// True when the statements behind a query in one text run only as their results are read.
  bool RunsAsItIsRead() const { return server_ == OdbcServer::SqlServer; }

  /// True when "=" may compare the column's values.
  bool CanCompare(const ado::Column& column) const;

  /// Empty where transactions begin and end as ODBC defines.
  std::string BeginSql() const;
  std::string EndSql(bool commit) const;

  /// The statement, which does nothing when the server has ended the transaction by itself: it
  /// would be committed alone.
  std::string InTransactionSql(const std::string& statement) const;

  std::string SetPointSql(const std::string& point) const;
  /// Empty where setting the point anew moves it.
  std::string ReleasePointSql(const std::string& point) const;
  std::string RollbackToPointSql(const std::string& point) const;

  /// Answers 0 when no transaction is open; empty where no statement tells it.
  std::string TransactionQuery() const;

  /// Answers the schema in which tables without one are made.
  std::string SchemaQuery() const;

 private:
  OdbcServer server_;
  PostgreSqlNames postgreSqlNames_;
};

}  // namespace torvik
