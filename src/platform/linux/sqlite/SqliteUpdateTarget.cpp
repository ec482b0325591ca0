#include "platform/linux/sqlite/SqliteUpdateTarget.h"

#include <sqlite3.h>

#include <algorithm>
#include <utility>

#include "platform/linux/database/SqlNames.h"
#include "platform/linux/sqlite/SqliteSession.h"
#include "platform/linux/sqlite/SqliteStatement.h"

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

class SqliteUpdateTarget final : public UpdateTarget {
 public:
  SqliteUpdateTarget(std::shared_ptr<SqliteSession> session, const SqliteStatement& query)
      : session_(std::move(session)) {
    for (int column = 0; column < query.ColumnCount(); ++column)
      origins_.push_back(query.ColumnOrigin(column));
  }

  UpdatableQuery Describe() override {
    UpdatableQuery query;
    const Origin* table = OneTable();
    if (table == nullptr) return query;
    query.table = QuotedName(table->schema) + "." + QuotedName(table->table);
    query.tableName = tableName_ = table->table;
    for (std::size_t field = 0; field < origins_.size(); ++field) {
      const auto& origin = origins_[field];
      query.columns.push_back(origin ? std::optional(QuotedName(origin->column)) : std::nullopt);
      query.markers.emplace_back("?");
      if (origin) query.comparedFields.push_back(static_cast<int>(field));
    }
    query.keyFields = KeyFields(*table);
    return query;
  }

  std::int64_t UpdateOneRow(const std::string& sql, const Row& parameters) override {
    Undo undo(*session_);
    SqliteStatement update(*session_, sql, "the row of table " + tableName_ + " is not changed");
    for (std::size_t i = 0; i < parameters.size(); ++i)
      update.Bind(static_cast<int>(i) + 1, parameters[i]);
    update.Step();
    const std::int64_t rows = update.ChangedRows();
    if (rows == 1) undo.Keep();
    return rows;
  }

  PlatformError Refusal(const std::string& reason) override { return session_->Refusal(reason); }

 private:
  using Origin = SqliteStatement::Origin;

  /// Null when the query reads several tables, or none.
  const Origin* OneTable() const {
    const Origin* table = nullptr;
    for (const auto& origin : origins_) {
      if (!origin) continue;
      if (table == nullptr) table = &*origin;
      if (origin->schema != table->schema || origin->table != table->table) return nullptr;
    }
    return table;
  }

  std::vector<int> KeyFields(const Origin& table) const {
    SqliteStatement key(*session_, "SELECT name FROM pragma_table_info(?1, ?2) WHERE pk > 0", "");
    key.Bind(1, table.table);
    key.Bind(2, table.schema);
    std::vector<int> fields;
    while (key.Step()) {
      const auto name = std::get<std::string>(key.Column(0));
      const auto found = std::ranges::find_if(
          origins_, [&](const auto& origin) { return origin && origin->column == name; });
      if (found == origins_.end()) return {};
      fields.push_back(static_cast<int>(found - origins_.begin()));
    }
    return fields;
  }

  const std::shared_ptr<SqliteSession> session_;
  std::vector<std::optional<Origin>> origins_;  ///< By field of the query.
  std::string tableName_;
};

}  // namespace

std::unique_ptr<UpdateTarget> NewSqliteUpdateTarget(std::shared_ptr<SqliteSession> session,
                                                    const SqliteStatement& query) {
  return std::make_unique<SqliteUpdateTarget>(std::move(session), query);
}

}  // namespace torvik
