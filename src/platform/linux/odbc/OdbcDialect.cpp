#include "platform/linux/odbc/OdbcDialect.h"

#include "platform/Text.h"

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
  const std::string lower = LowerAscii(type);
  if (lower == "datetimeoffset") return "CAST(? AS " + column.declaredType + ")";
  return lower.ends_with("money") ? "CAST(? AS " + type + ")" : "?";
}

/// What the server's own provider sets for a connection, so that old packages find what they are
/// used to, whatever the login's or the database's defaults are.
constexpr const char* kSqlServerSession =
    "SET ANSI_NULLS, ANSI_PADDING, ANSI_WARNINGS, ANSI_NULL_DFLT_ON, ARITHABORT, "
    "CONCAT_NULL_YIELDS_NULL, QUOTED_IDENTIFIER ON; "
    "SET NUMERIC_ROUNDABORT, IMPLICIT_TRANSACTIONS, CURSOR_CLOSE_ON_COMMIT OFF; "
    "SET TEXTSIZE 2147483647";

}  // namespace

OdbcDialect::OdbcDialect(const std::string& serverName, const std::string& asked,
                         const std::string& connected)
    : server_(ServerOf(serverName)), postgreSqlNames_(asked, connected) {}

ado::SqlKind OdbcDialect::Sql() const {
  if (server_ == OdbcServer::SqlServer) return ado::SqlKind::SqlServer;
  return server_ == OdbcServer::PostgreSql ? ado::SqlKind::PostgreSql : ado::SqlKind::Other;
}

std::string OdbcDialect::SessionSql() const {
  if (server_ == OdbcServer::SqlServer) return kSqlServerSession;
  return server_ == OdbcServer::PostgreSql ? postgreSqlNames_.SessionSql() : "";
}

std::string OdbcDialect::Resolve(std::string_view sql) const {
  return server_ == OdbcServer::PostgreSql ? postgreSqlNames_.Resolve(sql) : std::string(sql);
}

OdbcDialect::Place OdbcDialect::PlaceOf(const TableName& name) const {
  if (server_ != OdbcServer::PostgreSql) return {name.database, name.schema};
  return {"", PostgreSqlNames::SchemaOf(name)};
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
  // A script may have begun others within this one, or let statements begin them.
  return commit ? "COMMIT TRANSACTION WHILE @@TRANCOUNT > 0 COMMIT TRANSACTION"
                : "IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION";
}

std::string OdbcDialect::InTransactionSql(const std::string& statement) const {
  return server_ == OdbcServer::SqlServer ? "IF @@TRANCOUNT > 0 " + statement : statement;
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

std::string OdbcDialect::TransactionQuery() const {
  switch (server_) {
    case OdbcServer::SqlServer: return "SELECT @@TRANCOUNT";
    // A transaction begins before a statement that is not its first.
    case OdbcServer::PostgreSql: return "SELECT (now() <> statement_timestamp())::int";
    default: return "";
  }
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
