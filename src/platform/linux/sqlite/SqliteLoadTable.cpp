#include "platform/linux/sqlite/SqliteLoadTable.h"

#include <algorithm>
#include <cstdint>

#include "platform/linux/database/SqlNames.h"
#include "platform/linux/sqlite/SqliteSession.h"
#include "platform/linux/sqlite/SqliteStatement.h"

namespace torvik {
namespace {

/// A query about one table, whose name the text has as ?1, and its schema as ?2.
class TableQuery : public SqliteStatement {
 public:
  TableQuery(SqliteSession& session, const SqliteLoadTable& table, const std::string& sql)
      : SqliteStatement(session, sql, "") {
    Bind(1, table.name);
    Bind(2, table.schema);
  }

  std::string Text(int column) const {
    const ado::Value value = Column(column);
    const auto* text = std::get_if<std::string>(&value);
    return text ? *text : "";
  }
  bool IsTrue(int column) const { return Column(column) != ado::Value(std::int64_t{0}); }
};

bool HasRow(SqliteSession& session, const SqliteLoadTable& table, const std::string& sql) {
  return TableQuery(session, table, sql).Step();
}

std::string CatalogueOf(const SqliteLoadTable& table) {
  return QuotedName(table.schema) + ".sqlite_schema";
}

bool IsView(SqliteSession& session, const SqliteLoadTable& table) {
  return HasRow(session, table,
                "SELECT 1 FROM " + CatalogueOf(table) +
                    " WHERE type = 'view' AND name = ?1 COLLATE NOCASE AND ?2 <> ''");
}

bool TakesRowsTogether(SqliteSession& session, const SqliteLoadTable& table) {
  const std::string plain =
      "SELECT 1 FROM pragma_table_list AS t JOIN " + CatalogueOf(table) +
      " AS s ON s.name = t.name COLLATE NOCASE WHERE t.name = ?1 COLLATE NOCASE"
      " AND t.schema = ?2 COLLATE NOCASE AND t.type = 'table' AND NOT t.strict"
      " AND s.type = 'table' AND s.sql NOT LIKE '%CONFLICT%'";
  const std::string triggers = "SELECT 1 FROM (SELECT type, tbl_name FROM " + CatalogueOf(table) +
                               " UNION ALL SELECT type, tbl_name FROM temp.sqlite_schema)"
                               " WHERE type = 'trigger' AND tbl_name = ?1 COLLATE NOCASE"
                               " AND ?2 <> ''";
  return HasRow(session, table, plain) && !HasRow(session, table, triggers) &&
         !HasRow(session, table, "SELECT 1 FROM pragma_foreign_key_list(?1, ?2)");
}

std::string RowNumberColumn(SqliteSession& session, const SqliteLoadTable& table) {
  TableQuery key(session, table,
                 "SELECT max(name) FROM pragma_table_info(?1, ?2) WHERE pk > 0"
                 " HAVING count(*) = 1 AND max(type) = 'INTEGER' COLLATE NOCASE");
  return key.Step() ? key.Text(0) : "";
}

/// Its CREATE text and its name as that spells it, if it has neither keys, checks nor columns that
/// are computed.
void LookAtPlainTable(SqliteSession& session, SqliteLoadTable& table) {
  if (HasRow(session, table,
             "SELECT 1 FROM pragma_table_xinfo(?1, ?2) WHERE pk > 0 OR hidden <> 0"))
    return;
  TableQuery text(session, table,
                  "SELECT name, sql FROM " + CatalogueOf(table) +
                      " WHERE type = 'table' AND name = ?1 COLLATE NOCASE AND ?2 <> ''"
                      " AND sql LIKE 'CREATE TABLE %' AND sql NOT LIKE '%CHECK%'");
  if (!text.Step()) return;
  table.name = text.Text(0);
  table.plainText = text.Text(1);
  TableQuery columns(session, table,
                     "SELECT name, type, \"notnull\" FROM pragma_table_info(?1, ?2)");
  while (columns.Step())
    table.columns.push_back({columns.Text(0), columns.Text(1), !columns.IsTrue(2)});
}

}  // namespace

SqliteLoadTable LookAtLoadTable(SqliteSession& session, const std::string& schema,
                                const std::string& name) {
  SqliteLoadTable table{schema, name};
  table.isView = IsView(session, table);
  table.hasIndex = HasRow(session, table, "SELECT 1 FROM pragma_index_list(?1, ?2)");
  table.takesRowsTogether = TakesRowsTogether(session, table);
  table.rowNumberColumn = RowNumberColumn(session, table);
  if (table.takesRowsTogether && !table.hasIndex) LookAtPlainTable(session, table);
  return table;
}

}  // namespace torvik
