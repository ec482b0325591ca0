#include "platform/linux/SqliteRecordset.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "platform/Text.h"
#include "platform/linux/SqliteRowUpdate.h"
#include "platform/linux/SqliteSession.h"
#include "platform/linux/SqliteStatement.h"

namespace torvik {
namespace {

/// What both kinds of cursor share: the fields' names.
class SqliteRecordset : public ado::Recordset {
 public:
  SqliteRecordset(std::shared_ptr<SqliteSession> session, const SqliteStatement& query)
      : session_(std::move(session)) {
    for (int field = 0; field < query.ColumnCount(); ++field)
      names_.push_back(query.ColumnName(field));
  }

  int FieldCount() const override { return static_cast<int>(names_.size()); }
  std::string FieldName(int position) const override {
    return names_.at(static_cast<std::size_t>(position));
  }
  ado::Value Field(std::string_view name) const override { return Field(PositionOf(name)); }
  using ado::Recordset::Field;

 protected:
  int PositionOf(std::string_view name) const {
    const auto found = std::ranges::find_if(
        names_, [&](const auto& field) { return EqualsIgnoringCase(field, name); });
    if (found == names_.end())
      throw session_->Refusal("the query has no field \"" + std::string(name) + "\"");
    return static_cast<int>(found - names_.begin());
  }
  void RequireRow() const {
    if (Eof()) throw session_->Refusal("there is no current row: the query has no more rows");
  }

  const std::shared_ptr<SqliteSession> session_;

 private:
  std::vector<std::string> names_;
};

/// A server-side cursor: each row is read when it is moved to.
class ServerRecordset final : public SqliteRecordset {
 public:
  ServerRecordset(std::shared_ptr<SqliteSession> session, std::unique_ptr<SqliteStatement> query)
      : SqliteRecordset(std::move(session), *query), query_(std::move(query)) {
    MoveNext();
  }

  bool Eof() const override { return query_ == nullptr; }
  void MoveNext() override {
    // A statement that is at its end would begin again, and holds a lock until it is gone.
    if (query_ && !query_->Step()) Close();
  }
  ado::Value Field(int position) const override {
    RequireRow();
    return query_->Column(position);
  }
  using SqliteRecordset::Field;
  void SetField(std::string_view, ado::Value) override {
    throw session_->Refusal("the row cannot be changed: the cursor is on the server");
  }
  void Update() override {}
  void Close() override { query_.reset(); }

 private:
  std::unique_ptr<SqliteStatement> query_;
};

/// A client-side cursor: all rows are read at once, and with a lock they can be changed.
class ClientRecordset final : public SqliteRecordset {
 public:
  ClientRecordset(std::shared_ptr<SqliteSession> session, std::unique_ptr<SqliteStatement> query,
                  ado::LockType lock)
      : SqliteRecordset(std::move(session), *query) {
    if (lock == ado::LockType::Pessimistic) rowUpdate_.emplace(*session_, *query);
    while (query->Step()) rows_.push_back(ReadRow(*query));
    current_ = rows_.empty() ? SqliteRow() : rows_[0];
  }

  bool Eof() const override { return position_ >= rows_.size(); }
  void MoveNext() override {
    if (Eof()) return;
    Update();
    ++position_;
    if (!Eof()) current_ = rows_[position_];
  }
  ado::Value Field(int position) const override {
    RequireRow();
    return current_.at(static_cast<std::size_t>(position));
  }
  using SqliteRecordset::Field;

  void SetField(std::string_view name, ado::Value value) override {
    RequireRow();
    const int position = PositionOf(name);
    if (!rowUpdate_)
      throw session_->Refusal("the row cannot be changed: the recordset was opened without a lock");
    rowUpdate_->RequireChangeable(position);
    current_[static_cast<std::size_t>(position)] = std::move(value);
  }
  void Update() override {
    if (!rowUpdate_ || Eof()) return;
    rowUpdate_->Update(rows_[position_], current_);
    rows_[position_] = current_;
  }
  void Close() override {
    rows_.clear();
    position_ = 0;
  }

 private:
  static SqliteRow ReadRow(const SqliteStatement& query) {
    SqliteRow row;
    for (int field = 0; field < query.ColumnCount(); ++field) row.push_back(query.Column(field));
    return row;
  }

  std::optional<SqliteRowUpdate> rowUpdate_;
  std::vector<SqliteRow> rows_;
  SqliteRow current_;  ///< The row at position_ as it stands with its unsaved changes.
  std::size_t position_ = 0;
};

}  // namespace

std::unique_ptr<ado::Recordset> NewSqliteRecordset(std::shared_ptr<SqliteSession> session,
                                                   std::unique_ptr<SqliteStatement> query,
                                                   const ado::CursorOptions& options) {
  if (options.location == ado::CursorLocation::UseServer)
    return std::make_unique<ServerRecordset>(std::move(session), std::move(query));
  return std::make_unique<ClientRecordset>(std::move(session), std::move(query), options.lock);
}

}  // namespace torvik
