#include "platform/linux/odbc/OdbcTables.h"

#include <algorithm>
#include <variant>
#include <vector>

#include "platform/linux/database/NewTable.h"
#include "platform/linux/database/SqlNames.h"
#include "platform/linux/odbc/OdbcCatalogue.h"
#include "platform/linux/odbc/OdbcLoadSettings.h"
#include "platform/linux/odbc/OdbcStatement.h"
#include "platform/linux/odbc/OdbcTypes.h"
#include "platform/linux/odbc/OdbcUndo.h"
#include "platform/linux/odbc/SqlServerStaging.h"

namespace torvik {
namespace {

constexpr const char* kStagingSuffix = "_torvik_staging";

/// The catalogue's question for the columns that are not computed. Empty: the columns say it.
std::string ValueColumnsSql(OdbcServer server, const OdbcTable& table) {
  if (server == OdbcServer::PostgreSql)
    return "SELECT column_name FROM information_schema.columns WHERE table_schema = " +
           QuotedText(table.schema) + " AND table_name = " + QuotedText(table.name) +
           " AND is_generated = 'NEVER' ORDER BY ordinal_position";
  return "";
}

/// The columns that take values, as SQL lists them. Throws when the server shows none.
std::string ListOf(OdbcSession& session, const OdbcTable& table, const OdbcValueColumns& columns) {
  if (columns.names.empty())
    throw session.Refusal("table " + table.name +
                          ": the server shows no column of it; check the rights on it");
  std::string list;
  for (const std::string& name : columns.names)
    list += (list.empty() ? "" : ", ") + QuotedName(name);
  return list;
}

std::int64_t Run(OdbcSession& session, const std::string& sql) {
  OdbcStatement statement(session);
  std::int64_t rows = statement.Execute(sql);
  while (statement.ColumnCount() > 0) rows += statement.ExecuteRest();
  return rows;
}

/// Takes an earlier run's staging table away.
void DropLeftOver(OdbcSession& session, const OdbcTable& staging) {
  const std::string name = QuotedTable(staging);
  switch (session.Dialect().Server()) {
    case OdbcServer::SqlServer:  // the older ones know no IF EXISTS
      return session.Run("IF OBJECT_ID(N" +
                         QuotedText((staging.name.starts_with('#') ? "tempdb.." : "") + name) +
                         ") IS NOT NULL DROP TABLE " + name);
    case OdbcServer::PostgreSql: return session.Run("DROP TABLE IF EXISTS " + name);
    default: break;
  }
  const TableName leftOver{staging.catalogue, staging.name, staging.schema};
  if (!FindOdbcTable(session, leftOver).columns.empty()) session.Run("DROP TABLE " + name);
}

/// NOT NULL goes along. The column that numbers the rows is added with the rules, unless the table
/// has no other.
std::string SelectInto(OdbcSession& session, const OdbcTable& table, const std::string& to) {
  OdbcValueColumns columns = ValueColumnsOf(session, table);
  if (columns.names.size() > 1) std::erase(columns.names, columns.identity);
  return "SELECT TOP 0 " + ListOf(session, table, columns) + " INTO " + to + " FROM " +
         QuotedTable(table);
}

std::string CopyOfTable(OdbcSession& session, const OdbcTable& table, const OdbcTable& staging) {
  const std::string from = QuotedTable(table), to = QuotedTable(staging);
  switch (session.Dialect().Server()) {
    case OdbcServer::SqlServer: return SelectInto(session, table, to);
    case OdbcServer::PostgreSql: return "CREATE TABLE " + to + " (LIKE " + from + " INCLUDING ALL)";
    default: break;
  }
  std::string columns;
  for (const ado::Column& column : table.columns)
    columns += (columns.empty() ? "" : ", ") + QuotedName(column.name) + " " + column.declaredType +
               (column.nullable ? "" : " NOT NULL");
  return "CREATE TABLE " + to + " (" + columns + ")";
}

}  // namespace

OdbcValueColumns ValueColumnsOf(OdbcSession& session, const OdbcTable& table) {
  OdbcValueColumns columns;
  const std::string sql = ValueColumnsSql(session.Dialect().Server(), table);
  if (sql.empty()) {
    for (const ado::Column& column : table.columns) {
      if (!column.isComputed) columns.names.push_back(column.name);
      if (column.isIdentity) columns.identity = column.name;
    }
    return columns;
  }
  OdbcStatement query(session);
  query.Execute(sql);
  while (query.Step()) {
    const ado::Value name = query.Column(0);
    if (!std::holds_alternative<std::string>(name)) continue;
    columns.names.push_back(std::get<std::string>(name));
  }
  return columns;
}

std::vector<std::string> CreateOdbcTable(OdbcSession& session, const std::string& table,
                                         std::span<const ado::Column> columns) {
  const auto name = SplitTableName(table);
  if (!name) throw session.Refusal("there can be no table " + table);
  if (columns.empty()) throw session.Refusal("table " + table + ": no column is given");
  const OdbcServer server = session.Dialect().Server();
  const NewTable text = WriteTable(
      {session.Dialect().Sql(),
       [&](const std::string& column) { return QuotedName(FoldedWord(session, column)); },
       [server](const ado::Column& column) { return OdbcTypeOf(server, column); }},
      columns);
  const auto [catalogue, schema] = session.Dialect().PlaceOf(*name);
  OdbcTable made{catalogue, schema, FoldedWord(session, name->table), {}};
  // A database without a schema is named by SQL Server alone, where the owner is the usual one.
  if (!made.catalogue.empty() && made.schema.empty()) made.schema = "dbo";
  session.Run("CREATE TABLE " + QuotedTable(made) + " (" + text.columns + ")");
  return text.losses;
}

void EmptyOdbcTable(OdbcSession& session, const OdbcTable& table) {
  const std::string name = QuotedTable(table);
  const OdbcServer server = session.Dialect().Server();
  if (server == OdbcServer::SqlServer || server == OdbcServer::PostgreSql) {
    OdbcUndo undo(session, "torvik_empty");
    try {
      session.Run("TRUNCATE TABLE " + name);
      return undo.Keep();
    } catch (const PlatformError& error) {
      // Not where other tables refer to the table, nor with the right to delete alone.
      if (error.isTransient || session.IsCancelled()) throw;
      undo.UndoAfter(error);
    }
  }
  session.Run("DELETE FROM " + name);
}

std::string CreateOdbcStagingTable(OdbcSession& session, const OdbcTable& table) {
  OdbcTable staging{table.catalogue, table.schema, table.name + kStagingSuffix, {}};
  DropLeftOver(session, staging);
  session.Run(CopyOfTable(session, table, staging));
  if (session.Dialect().Server() == OdbcServer::SqlServer) AddRulesOf(session, table, staging);
  return QuotedTable(staging);
}

std::int64_t ReplaceOdbcRows(OdbcSession& session, const OdbcTable& table,
                             const OdbcTable& staging) {
  const std::string name = QuotedTable(table);
  const bool isPostgreSql = session.Dialect().Server() == OdbcServer::PostgreSql;
  const OdbcValueColumns columns = ValueColumnsOf(session, table);
  const std::string list = ListOf(session, table, columns);
  // Not TRUNCATE, which does not keep the old rows for those who are reading.
  session.Run("DELETE FROM " + name);
  const std::string insert = "INSERT INTO " + name + " (" + list + ")" +
                             (isPostgreSql ? " OVERRIDING SYSTEM VALUE" : "") + " SELECT " + list +
                             " FROM " + QuotedTable(staging);
  const OdbcLoadSettings settings(session, table, !columns.identity.empty());
  const std::int64_t rows = Run(session, insert);
  session.Run("DROP TABLE " + QuotedTable(staging));
  return rows;
}

}  // namespace torvik
