#include "platform/linux/database/Recordsets.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "platform/Text.h"

namespace torvik {
namespace {

/// What both kinds of cursor share: the fields' names.
class NamedFields : public ado::Recordset {
 public:
  NamedFields(const QueryRows& query, RefusalFactory refuse) : refuse_(std::move(refuse)) {
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
  PlatformError Refusal(const std::string& reason) const { return refuse_(reason); }
  int PositionOf(std::string_view name) const {
    const auto found = std::ranges::find_if(
        names_, [&](const auto& field) { return EqualsIgnoringCase(field, name); });
    if (found == names_.end())
      throw Refusal("the query has no field \"" + std::string(name) + "\"");
    return static_cast<int>(found - names_.begin());
  }
  void RequireRow() const {
    if (Eof()) throw Refusal("there is no current row: the query has no more rows");
  }

 private:
  const RefusalFactory refuse_;
  std::vector<std::string> names_;
};

class ServerRecordset final : public NamedFields {
 public:
  ServerRecordset(std::unique_ptr<QueryRows> query, RefusalFactory refuse)
      : NamedFields(*query, std::move(refuse)), query_(std::move(query)) {
    MoveNext();
  }

  bool Eof() const override { return query_ == nullptr; }
  void MoveNext() override {
    // A query that is at its end would begin again, and holds a lock until it is gone.
    if (query_ && !query_->Step()) Close();
  }
  ado::Value Field(int position) const override {
    RequireRow();
    return query_->Column(position);
  }
  using NamedFields::Field;
  void SetField(std::string_view, ado::Value) override {
    throw Refusal("the row cannot be changed: the cursor is on the server");
  }
  void Update() override {}
  void Close() override { query_.reset(); }

 private:
  std::unique_ptr<QueryRows> query_;
};

class ClientRecordset final : public NamedFields {
 public:
  ClientRecordset(std::unique_ptr<QueryRows> query, RefusalFactory refuse,
                  std::unique_ptr<UpdateTarget> target)
      : NamedFields(*query, std::move(refuse)) {
    if (target) rowUpdate_.emplace(std::move(target));
    while (query->Step()) rows_.push_back(ReadRow(*query));
    current_ = rows_.empty() ? Row() : rows_[0];
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
  using NamedFields::Field;

  void SetField(std::string_view name, ado::Value value) override {
    RequireRow();
    const int position = PositionOf(name);
    if (!rowUpdate_)
      throw Refusal("the row cannot be changed: the recordset was opened without a lock");
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
  static Row ReadRow(const QueryRows& query) {
    Row row;
    for (int field = 0; field < query.ColumnCount(); ++field) row.push_back(query.Column(field));
    return row;
  }

  std::optional<RowUpdate> rowUpdate_;
  std::vector<Row> rows_;
  Row current_;  ///< The row at position_ as it stands with its unsaved changes.
  std::size_t position_ = 0;
};

}  // namespace

std::unique_ptr<ado::Recordset> NewRecordset(std::unique_ptr<QueryRows> query,
                                             const ado::CursorOptions& options,
                                             RefusalFactory refuse,
                                             std::unique_ptr<UpdateTarget> target) {
  if (options.location == ado::CursorLocation::UseServer)
    return std::make_unique<ServerRecordset>(std::move(query), std::move(refuse));
  if (options.lock != ado::LockType::Pessimistic) target.reset();
  return std::make_unique<ClientRecordset>(std::move(query), std::move(refuse), std::move(target));
}

}  // namespace torvik
