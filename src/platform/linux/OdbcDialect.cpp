#include "platform/linux/OdbcDialect.h"

#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/OdbcLogon.h"

namespace torvik {
namespace {

using ado::ColumnKind;

OdbcServer ServerOf(const std::string& name) {
  const std::string lower = LowerAscii(name);
  if (lower.find("sql server") != std::string::npos) return OdbcServer::SqlServer;
  if (lower.find("postgres") != std::string::npos) return OdbcServer::PostgreSql;
  if (lower.find("oracle") != std::string::npos) return OdbcServer::Oracle;
  return OdbcServer::Other;
}

/// The type's name without its sizes.
std::string TypeName(const ado::Column& column) {
  return column.declaredType.substr(0, column.declaredType.find('('));
}

/// SQL Server turns a text into most types by itself, but not into these, nor a NULL that is sent
/// as a text.
std::string SqlServerMarker(const ado::Column& column) {
  const std::string type = TypeName(column);
  if (column.kind == ColumnKind::Binary) return "CAST(? AS varbinary(max))";
  const bool isMoney = LowerAscii(type).find("money") != std::string::npos;
  return isMoney ? "CAST(? AS " + type + ")" : "?";
}

/// What the server's own provider sets for a connection, so that old packages find what they are
/// used to, whatever the login's or the database's defaults are.
constexpr const char* kSqlServerSession =
    "SET ANSI_NULLS, ANSI_PADDING, ANSI_WARNINGS, ANSI_NULL_DFLT_ON, ARITHABORT, "
    "CONCAT_NULL_YIELDS_NULL, QUOTED_IDENTIFIER ON; "
    "SET NUMERIC_ROUNDABORT, IMPLICIT_TRANSACTIONS, CURSOR_CLOSE_ON_COMMIT OFF; "
    "SET TEXTSIZE 2147483647";

/// The catalogue under the name, and with the columns, that the query texts know.
constexpr const char* kDatabaseList =
    "(SELECT datname AS name, oid::bigint AS dbid FROM pg_catalog.pg_database"
    " WHERE datallowconn AND NOT datistemplate) AS ";

}  // namespace

OdbcDialect::OdbcDialect(const std::string& serverName, const std::string& asked,
                         const std::string& connected)
    : server_(ServerOf(serverName)), asked_(asked), connected_(connected) {}

std::string OdbcDialect::SessionSql() const {
  if (server_ == OdbcServer::SqlServer) return kSqlServerSession;
  if (server_ == OdbcServer::PostgreSql && IsSystemDatabase(asked_))
    return "SET search_path TO " + LowerAscii(asked_) + ", public";
  return "";
}

std::string OdbcDialect::Resolve(std::string_view sql) const {
  if (server_ != OdbcServer::PostgreSql) return std::string(sql);
  return ResolveNames(
      sql, [this](const TableName& name, int line) { return PostgreSqlPrefix(name, line); });
}

std::string OdbcDialect::PostgreSqlPrefix(const TableName& name, int line) const {
  if (EqualsIgnoringCase(name.database, "master") && EqualsIgnoringCase(name.table, "sysdatabases"))
    return kDatabaseList;
  if (IsSystemDatabase(name.database)) return LowerAscii(name.database) + ".";
  if (IsCurrent(name.database)) return "";
  throw PlatformError(0,
                      "line " + std::to_string(line) + " of the SQL text: the table " + name.table +
                          " of database " + name.database +
                          " cannot be reached: PostgreSQL reads one database at a time, here " +
                          connected_ + "; use a connection whose \"Initial Catalog\" is " +
                          name.database,
                      "PostgreSQL");
}

OdbcDialect::Place OdbcDialect::PlaceOf(const TableName& name) const {
  if (server_ != OdbcServer::PostgreSql) return {name.database, name.schema};
  if (IsSystemDatabase(name.database)) return {"", LowerAscii(name.database)};
  return {"", EqualsIgnoringCase(name.schema, "dbo") ? "" : name.schema};
}

bool OdbcDialect::IsCurrent(const std::string& database) const {
  return database.empty() || EqualsIgnoringCase(database, asked_) ||
         EqualsIgnoringCase(database, connected_);
}

std::string OdbcDialect::Marker(const ado::Column& column) const {
  if (server_ == OdbcServer::SqlServer) return SqlServerMarker(column);
  const bool needsCast =
      server_ == OdbcServer::PostgreSql && (column.kind != ColumnKind::Text || column.size == 0);
  return needsCast ? "CAST(? AS " + TypeName(column) + ")" : "?";
}

std::string OdbcDialect::Sent(const ado::Column& column, std::string_view value) const {
  std::string text(value);
  if (server_ != OdbcServer::SqlServer) return text;
  // The forms that SQL Server reads alike in every language (ISO 8601).
  if (column.kind == ColumnKind::DateTime && text.size() > 10 && text[10] == ' ') text[10] = 'T';
  if (column.kind == ColumnKind::DateTime && text.size() == 10) text += "T00:00:00";
  return text;
}

bool OdbcDialect::CanCompare(const ado::Column& column) const {
  if (column.kind == ColumnKind::Binary) return false;
  const std::string type = LowerAscii(TypeName(column));
  for (const char* word : {"text", "ntext", "xml", "json", "clob", "nclob", "long"})
    if (type == word) return server_ == OdbcServer::PostgreSql && type == "text";
  return true;
}

std::string OdbcDialect::BeginSql() const {
  return server_ == OdbcServer::SqlServer ? "BEGIN TRANSACTION" : "";
}

std::string OdbcDialect::EndSql(bool commit) const {
  if (server_ != OdbcServer::SqlServer) return "";
  // The server may have rolled back by itself after an error.
  return commit ? "COMMIT TRANSACTION" : "IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION";
}

std::string OdbcDialect::SetPointSql(const std::string& point) const {
  return (server_ == OdbcServer::SqlServer ? "SAVE TRANSACTION " : "SAVEPOINT ") + point;
}

std::string OdbcDialect::ReleasePointSql(const std::string& point) const {
  return server_ == OdbcServer::PostgreSql ? "RELEASE SAVEPOINT " + point : "";
}

std::string OdbcDialect::RollbackToPointSql(const std::string& point) const {
  return (server_ == OdbcServer::SqlServer ? "ROLLBACK TRANSACTION " : "ROLLBACK TO SAVEPOINT ") +
         point;
}

std::string OdbcDialect::SchemaQuery() const {
  switch (server_) {
    case OdbcServer::SqlServer: return "SELECT SCHEMA_NAME()";
    case OdbcServer::PostgreSql: return "SELECT current_schema()";
    case OdbcServer::Oracle: return "SELECT SYS_CONTEXT('USERENV', 'CURRENT_SCHEMA') FROM DUAL";
    case OdbcServer::Other: break;
  }
  return "";
}

}  // namespace torvik
