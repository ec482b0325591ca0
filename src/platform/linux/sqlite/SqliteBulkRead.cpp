#include "platform/linux/sqlite/SqliteBulkRead.h"

#include <sqlite3.h>

#include <utility>

#include "platform/Text.h"
#include "platform/linux/database/SqlTokens.h"
#include "platform/linux/sqlite/SqliteSession.h"
#include "platform/linux/sqlite/SqliteStatement.h"

namespace torvik {
namespace {

/// A value of the current row. Only a connection without a mutex may look into it without a copy.
/// `isUtf8`: so does the database keep its texts, which then need not be ended by a zero first.
ado::LoadValue ValueAt(sqlite3_stmt* row, int column, bool isUtf8) {
  sqlite3_value* value = sqlite3_column_value(row, column);
  const auto view = [&](const void* data) {
    const auto bytes = static_cast<std::size_t>(sqlite3_value_bytes(value));
    return std::string_view(static_cast<const char*>(data), bytes);
  };
  switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER: return std::int64_t{sqlite3_value_int64(value)};
    case SQLITE_FLOAT: return sqlite3_value_double(value);
    case SQLITE_TEXT:
      return view(isUtf8 ? sqlite3_value_blob(value)
                         : static_cast<const void*>(sqlite3_value_text(value)));
    case SQLITE_BLOB: return view(sqlite3_value_blob(value));
    default: return {};
  }
}

std::vector<std::string> NamesOf(const SqliteStatement& query) {
  std::vector<std::string> names;
  for (int column = 0; column < query.ColumnCount(); ++column)
    names.push_back(query.ColumnName(column));
  return names;
}

/// The table that "SELECT * FROM table" names; nothing for any other text.
std::optional<SqlitePlace> WholeTableOf(SqliteSession& session, const std::string& sql,
                                        const SqliteStatement& query) {
  auto tokens = Tokenise(sql);
  if (!tokens.empty() && tokens.back().text == ";") tokens.pop_back();
  const bool isSelect = (tokens.size() == 4 || tokens.size() == 6) &&
                        EqualsIgnoringCase(tokens[0].text, "SELECT") && tokens[1].text == "*" &&
                        EqualsIgnoringCase(tokens[2].text, "FROM");
  const auto origin = isSelect ? query.ColumnOrigin(0) : std::nullopt;
  // A column of a view comes from a table of another name, or of the same in another schema.
  if (!origin || !EqualsIgnoringCase(origin->table, Unquoted(tokens.back().text))) return {};
  SqliteStatement views(session, "SELECT 1 FROM temp.sqlite_schema WHERE name = ?1 COLLATE NOCASE",
                        "");
  views.Bind(1, origin->table);
  if (views.Step()) return {};
  return SqlitePlace{origin->schema, origin->table};
}

class SqliteBulkRead final : public SqliteRead {
 public:
  SqliteBulkRead(std::shared_ptr<SqliteSession> session, std::unique_ptr<SqliteStatement> query,
                 std::vector<std::string> names, std::string spool,
                 std::optional<SqlitePlace> wholeTable)
      : session_(std::move(session)),
        query_(std::move(query)),
        names_(std::move(names)),
        spool_(std::move(spool)),
        wholeTable_(std::move(wholeTable)) {}
  ~SqliteBulkRead() override {
    query_.reset();
    // What cannot be dropped now goes away with the connection.
    if (!spool_.empty())
      sqlite3_exec(session_->Handle(), ("DROP TABLE " + spool_).c_str(), nullptr, nullptr, nullptr);
  }
  SqliteBulkRead(const SqliteBulkRead&) = delete;
  SqliteBulkRead& operator=(const SqliteBulkRead&) = delete;

  void SetQuery(std::unique_ptr<SqliteStatement> query) { query_ = std::move(query); }

  const std::vector<std::string>& Columns() const override { return names_; }
  SqliteSession& Session() override { return *session_; }
  const std::optional<SqlitePlace>& WholeTable() const override { return wholeTable_; }
  bool HasBegun() const override { return hasBegun_; }

  bool Next(std::span<ado::LoadValue> row) override {
    hasBegun_ = true;
    // A statement that has ended would begin anew.
    if (isAtEnd_ || !query_->Step()) return isAtEnd_ = true, false;
    for (std::size_t i = 0; i < row.size(); ++i)
      row[i] = ValueAt(query_->Handle(), static_cast<int>(i), isUtf8_);
    return true;
  }

 private:
  const std::shared_ptr<SqliteSession> session_;
  std::unique_ptr<SqliteStatement> query_;
  const std::vector<std::string> names_;
  const std::string spool_;
  const std::optional<SqlitePlace> wholeTable_;
  const bool isUtf8_ = session_->KeepsUtf8();
  bool hasBegun_ = false, isAtEnd_ = false;
};

}  // namespace

std::unique_ptr<ado::BulkRead> NewSqliteBulkRead(std::shared_ptr<SqliteSession> session,
                                                 const std::string& sql,
                                                 std::unique_ptr<SqliteStatement> query) {
  auto names = NamesOf(*query);
  auto table = WholeTableOf(*session, sql, *query);
  return std::make_unique<SqliteBulkRead>(std::move(session), std::move(query), std::move(names),
                                          "", std::move(table));
}

std::unique_ptr<ado::BulkRead> NewSqliteSpooledRead(const std::shared_ptr<SqliteSession>& session,
                                                    const std::string& sql,
                                                    const SqliteStatement& query) {
  const std::string spool = "temp.torvik_rows_" + std::to_string(session->NextNumber());
  // Columns without a type keep every value as it is.
  std::string columns;
  for (int column = 0; column < query.ColumnCount(); ++column)
    columns += (columns.empty() ? "c" : ", c") + std::to_string(column);
  session->Run("CREATE TABLE " + spool + " (" + columns + ")");
  auto names = NamesOf(query);
  auto rows =
      std::make_unique<SqliteBulkRead>(session, nullptr, std::move(names), spool, std::nullopt);
  SqliteStatement(*session, "INSERT INTO " + spool + " " + sql, "the rows are set aside").Step();
  rows->SetQuery(std::make_unique<SqliteStatement>(*session, "SELECT * FROM " + spool, ""));
  return rows;
}

}  // namespace torvik
