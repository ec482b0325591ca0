#include "platform/linux/sqlite/SqliteTables.h"

#include <algorithm>
#include <vector>

#include "platform/Text.h"
#include "platform/linux/database/NewTable.h"
#include "platform/linux/database/SqlIdentity.h"
#include "platform/linux/database/SqlNames.h"
#include "platform/linux/database/SqlStatements.h"
#include "platform/linux/database/SqlTokens.h"
#include "platform/linux/database/SqliteColumns.h"
#include "platform/linux/sqlite/SqliteIdentity.h"
#include "platform/linux/sqlite/SqliteSession.h"
#include "platform/linux/sqlite/SqliteStatement.h"

namespace torvik {
namespace {

constexpr const char* kStagingSuffix = "_torvik_staging";

std::string Quoted(const SqlitePlace& place) {
  return QuotedName(place.schema) + "." + QuotedName(place.table);
}

std::string Text(const SqliteStatement& row, int column) {
  const ado::Value value = row.Column(column);
  const auto* text = std::get_if<std::string>(&value);
  return text ? *text : "";
}

/// The CREATE text of a table and those of the indexes that keep its rows unique.
struct TableTexts {
  std::string name;  ///< As it is spelled there.
  std::string table;
  std::vector<std::pair<std::string, std::string>> indexes;  ///< Name and text.
};

TableTexts TextsOf(SqliteSession& session, const SqlitePlace& place) {
  const std::string schema = QuotedName(place.schema);
  TableTexts texts;
  SqliteStatement table(session,
                        "SELECT name, sql FROM " + schema +
                            ".sqlite_schema WHERE type = 'table' AND name = ?1 COLLATE NOCASE",
                        "");
  table.Bind(1, place.table);
  if (!table.Step())
    throw session.Refusal("there is no table " + place.table + " in the database " +
                          (place.schema == "main" ? session.CurrentDatabase() : place.schema));
  texts.name = Text(table, 0);
  texts.table = Text(table, 1);
  if (!texts.table.starts_with("CREATE TABLE "))
    throw session.Refusal("the table " + texts.name + " is no plain table; name one that is");
  SqliteStatement indexes(session,
                          "SELECT s.name, s.sql FROM " + schema +
                              ".sqlite_schema AS s JOIN pragma_index_list(?1, ?2) AS i"
                              " ON i.name = s.name WHERE i.\"unique\" AND s.sql IS NOT NULL",
                          "");
  indexes.Bind(1, texts.name);
  indexes.Bind(2, place.schema);
  while (indexes.Step()) texts.indexes.emplace_back(Text(indexes, 0), Text(indexes, 1));
  return texts;
}

/// The table's columns that take values, as SQL lists them; `all` is whether it has no others.
std::string ColumnList(SqliteSession& session, const SqlitePlace& place, bool& all) {
  SqliteStatement columns(session, "SELECT name, hidden FROM pragma_table_xinfo(?1, ?2)", "");
  columns.Bind(1, place.table);
  columns.Bind(2, place.schema);
  std::string list;
  all = true;
  while (columns.Step()) {
    const bool isComputed = columns.Column(1) != ado::Value(std::int64_t{0});
    all = all && !isComputed;
    if (!isComputed) list += (list.empty() ? "" : ", ") + QuotedName(Text(columns, 0));
  }
  return list;
}

/// Rows that others refer to may be deleted while this lives, if they are back when the transaction
/// ends.
class LateReferences {
 public:
  explicit LateReferences(SqliteSession& session) : session_(session) {
    session_.Run("PRAGMA defer_foreign_keys = ON");
  }
  ~LateReferences() {
    try {
      session_.Run("PRAGMA defer_foreign_keys = OFF");
    } catch (const PlatformError&) {
      // The transaction's end does the same.
    }
  }
  LateReferences(const LateReferences&) = delete;
  LateReferences& operator=(const LateReferences&) = delete;

 private:
  SqliteSession& session_;
};

}  // namespace

SqlitePlace SqlitePlaceOf(SqliteSession& session, const std::string& table) {
  const auto name = SplitTableName(table);
  if (!name || !(name->schema.empty() || EqualsIgnoringCase(name->schema, "dbo")))
    throw session.Refusal("there can be no table " + table +
                          "; tables are named TABLE, dbo.TABLE or DATABASE.dbo.TABLE");
  return {session.Schema(name->database), name->table};
}

std::string SqliteSpelling(const SqlitePlace& place) {
  return (place.schema == "main" ? "" : QuotedName(place.schema) + ".dbo.") +
         QuotedName(place.table);
}

std::vector<std::string> CreateSqliteTable(SqliteSession& session, const SqlitePlace& place,
                                           std::span<const ado::Column> columns) {
  if (columns.empty()) throw session.Refusal("table " + place.table + ": no column is given");
  const NewTable made = WriteTable({ado::SqlKind::Embedded, QuotedName, SqliteTypeOf}, columns);
  const std::string create =
      ResolveIdentity("CREATE TABLE " + Quoted(place) + " (" + made.columns + ")");
  session.Run(create);
  BeginNumbering(session, create);
  return made.losses;
}

void EmptySqliteTable(SqliteSession& session, const SqlitePlace& place) {
  session.Run("DELETE FROM " + Quoted(place));
  RestartNumbering(session, place);
}

std::string CreateSqliteStagingTable(SqliteSession& session, const SqlitePlace& place) {
  session.RequireWritable();
  const TableTexts texts = TextsOf(session, place);
  const SqlitePlace staging{place.schema, texts.name + kStagingSuffix};
  session.Run("DROP TABLE IF EXISTS " + Quoted(staging));
  // The text names no schema; SQLite makes a table without one in the current database.
  const std::string create = WithTable(texts.table, texts.name, QuotedName(staging.table));
  const std::string placed = "CREATE TABLE " + QuotedName(staging.schema) + "." + create.substr(13);
  session.Run(placed);
  BeginNumbering(session, placed);
  for (const auto& [name, text] : texts.indexes) {
    const std::string index = QuotedName(name + kStagingSuffix);
    const std::string about = WithTable(text, texts.name, QuotedName(staging.table));
    const auto on = Tokenise(about).at(4).begin;  // CREATE UNIQUE INDEX name ON
    session.Run("CREATE UNIQUE INDEX " + QuotedName(staging.schema) + "." + index + " " +
                about.substr(on));
  }
  return SqliteSpelling(staging);
}

std::int64_t ReplaceSqliteRows(SqliteSession& session, const SqlitePlace& place,
                               const SqlitePlace& staging) {
  const LateReferences late(session);
  EmptySqliteTable(session, place);
  bool all = false;
  const std::string columns = ColumnList(session, staging, all);
  // Without lists SQLite copies whole pages of a table that is made alike.
  const std::string insert =
      all ? "INSERT INTO " + Quoted(place) + " SELECT * FROM " + Quoted(staging)
          : "INSERT INTO " + Quoted(place) + " (" + columns + ") SELECT " + columns + " FROM " +
                Quoted(staging);
  SqliteStatement copy(session, insert, "table " + place.table);
  copy.Step();
  const std::int64_t rows = copy.ChangedRows();
  session.Run("DROP TABLE " + Quoted(staging));
  return rows;
}

}  // namespace torvik
