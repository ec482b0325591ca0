#include "platform/linux/database/PostgreSqlNames.h"

#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/database/DatabaseLogon.h"

namespace torvik {
namespace {

/// The catalogue under the name, and with the columns, that the query texts know.
constexpr const char* kDatabaseList =
    "(SELECT datname AS name, oid::bigint AS dbid FROM pg_catalog.pg_database"
    " WHERE datallowconn AND NOT datistemplate) AS ";

}  // namespace

std::string PostgreSqlNames::SessionSql() const {
  return IsSystemDatabase(asked_) ? "SET search_path TO " + LowerAscii(asked_) + ", public" : "";
}

std::string PostgreSqlNames::Resolve(std::string_view sql) const {
  return ResolveNames(sql, [this](const TableName& name, int line) { return Prefix(name, line); });
}

std::string PostgreSqlNames::SchemaOf(const TableName& name) {
  if (IsSystemDatabase(name.database)) return LowerAscii(name.database);
  return EqualsIgnoringCase(name.schema, "dbo") ? "" : name.schema;
}

std::string PostgreSqlNames::Prefix(const TableName& name, int line) const {
  if (EqualsIgnoringCase(name.database, "master") && EqualsIgnoringCase(name.table, "sysdatabases"))
    return kDatabaseList;
  RequireReach(name, "line " + std::to_string(line) + " of the SQL text: ");
  return IsSystemDatabase(name.database) ? LowerAscii(name.database) + "." : "";
}

void PostgreSqlNames::RequireReach(const TableName& name, const std::string& place) const {
  if (IsSystemDatabase(name.database) || IsCurrent(name.database)) return;
  throw PlatformError(0,
                      place + "the table " + name.table + " of database " + name.database +
                          " cannot be reached: PostgreSQL reads one database at a time, here " +
                          connected_ + "; use a connection whose \"Initial Catalog\" is " +
                          name.database,
                      "PostgreSQL");
}

bool PostgreSqlNames::IsCurrent(const std::string& database) const {
  return database.empty() || EqualsIgnoringCase(database, asked_) ||
         EqualsIgnoringCase(database, connected_);
}

}  // namespace torvik
