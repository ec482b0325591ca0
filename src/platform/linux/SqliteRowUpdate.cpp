#include "platform/linux/SqliteRowUpdate.h"

#include <sqlite3.h>

#include <algorithm>
#include <utility>

#include "platform/linux/SqlNames.h"
#include "platform/linux/SqliteSession.h"

namespace torvik {
namespace {

/// A point to which everything is undone that has not been kept at the end of the scope.
class Undo {
 public:
  explicit Undo(SqliteSession& session) : session_(session) {
    session_.Run("SAVEPOINT torvik_row");
  }
  ~Undo() {
    // An error here has been reported already: it is the one that led here.
    if (!kept_)
      sqlite3_exec(session_.Handle(), "ROLLBACK TO torvik_row; RELEASE torvik_row", nullptr,
                   nullptr, nullptr);
  }
  Undo(const Undo&) = delete;
  Undo& operator=(const Undo&) = delete;

  void Keep() {
    session_.Run("RELEASE torvik_row");
    kept_ = true;
  }

 private:
  SqliteSession& session_;
  bool kept_ = false;
};

}  // namespace

SqliteRowUpdate::SqliteRowUpdate(SqliteSession& session, const SqliteStatement& query)
    : session_(session) {
  const Origin* table = nullptr;
  for (int column = 0; column < query.ColumnCount(); ++column)
    origins_.push_back(query.ColumnOrigin(column));
  for (const auto& origin : origins_) {
    if (!origin) continue;
    if (table == nullptr) table = &*origin;
    if (origin->schema != table->schema || origin->table != table->table) isOneTable_ = false;
  }
  if (table != nullptr && isOneTable_) keyColumns_ = KeyColumns();
}

const SqliteRowUpdate::Origin& SqliteRowUpdate::Table() const {
  return **std::ranges::find_if(origins_, [](const auto& origin) { return origin.has_value(); });
}

std::vector<int> SqliteRowUpdate::KeyColumns() const {
  SqliteStatement key(session_, "SELECT name FROM pragma_table_info(?1, ?2) WHERE pk > 0", "");
  key.Bind(1, Table().table);
  key.Bind(2, Table().schema);
  std::vector<int> columns;
  while (key.Step()) {
    const auto name = std::get<std::string>(key.Column(0));
    const auto found = std::ranges::find_if(
        origins_, [&](const auto& origin) { return origin && origin->column == name; });
    if (found == origins_.end()) return {};
    columns.push_back(static_cast<int>(found - origins_.begin()));
  }
  return columns;
}

void SqliteRowUpdate::RequireChangeable(int column) const {
  if (!isOneTable_)
    throw session_.Refusal("the row cannot be changed: the query reads more than one table");
  if (!origins_[static_cast<std::size_t>(column)])
    throw session_.Refusal("the field cannot be changed: it is computed, not a table's column");
}

std::vector<int> SqliteRowUpdate::CriteriaColumns(const std::vector<int>& changes) const {
  std::vector<int> columns = keyColumns_;
  if (!columns.empty()) {
    columns.insert(columns.end(), changes.begin(), changes.end());
    return columns;
  }
  for (int column = 0; column < static_cast<int>(origins_.size()); ++column)
    if (origins_[static_cast<std::size_t>(column)]) columns.push_back(column);
  return columns;
}

void SqliteRowUpdate::Update(const SqliteRow& original, const SqliteRow& changed) const {
  std::vector<int> changes;
  for (int column = 0; column < static_cast<int>(original.size()); ++column)
    if (original[static_cast<std::size_t>(column)] != changed[static_cast<std::size_t>(column)])
      changes.push_back(column);
  if (changes.empty()) return;
  std::string sql = "UPDATE " + QuotedName(Table().schema) + "." + QuotedName(Table().table);
  std::vector<ado::Value> values;
  const auto add = [&](const char* before, int column, const char* relation, const SqliteRow& row) {
    const auto at = static_cast<std::size_t>(column);
    sql += before + QuotedName(origins_[at]->column) + relation;
    values.push_back(row[at]);
  };
  const char* before = " SET ";
  for (const int column : changes) add(std::exchange(before, ", "), column, " = ?", changed);
  before = " WHERE ";
  for (const int column : CriteriaColumns(changes))
    add(std::exchange(before, " AND "), column, " IS ?", original);
  UpdateOneRow(sql, values);
}

void SqliteRowUpdate::UpdateOneRow(const std::string& sql,
                                   const std::vector<ado::Value>& values) const {
  Undo undo(session_);
  SqliteStatement update(session_, sql, "the row of table " + Table().table + " is not changed");
  for (std::size_t i = 0; i < values.size(); ++i) update.Bind(static_cast<int>(i) + 1, values[i]);
  update.Step();
  const std::int64_t rows = update.ChangedRows();
  if (rows == 0)
    throw session_.Refusal("the row of table " + Table().table +
                           " is not changed: it is gone or was changed by someone else; read it "
                           "again");
  if (rows > 1)
    throw session_.Refusal("the row of table " + Table().table +
                           " is not changed: it cannot be told from another "
                           "one: the table has no key, or the query does not read it");
  undo.Keep();
}

}  // namespace torvik
