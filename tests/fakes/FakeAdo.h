#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/Ado.h"
#include "platform/PlatformError.h"

namespace torvik {

/// The answer to a query. Rows that are updated change here.
struct FakeRows {
  std::vector<std::string> fields;
  std::vector<std::vector<ado::Value>> rows;
};

/// What every connection of a FakeAdo shows, and what was done to them.
struct FakeAdoState {
  /// "NewConnection", "SetProvider sqloledb", "SetConnectionTimeout 20", "SetProperty NAME=VALUE",
  /// "Open", "Close", "Execute SQL", "OpenRecordset SQL", "OpenSchema 4 a|b|c|d", "SetField NAME",
  /// "Update", "BeginTrans", "OpenBulkLoad TABLE", "Append v1|v2" (NULL for no data) and so on.
  std::vector<std::string> calls;

  std::map<std::string, FakeRows> rows;             ///< By exact SQL text. Other texts fail.
  std::map<std::string, std::int64_t> changedRows;  ///< Execute's answers; 0 where there is none.
  std::vector<std::string> schemata;
  std::map<std::string, std::vector<ado::Column>> tables;  ///< For OpenSchema and TableColumns.

  std::optional<std::vector<ado::ProviderError>> failOpen;  ///< The next Open fails with these.
  std::map<std::string, std::string> failSql;               ///< By exact SQL text: the error.
  std::vector<ado::CursorOptions> cursors;                  ///< Of each OpenRecordset.
  std::vector<ado::ProviderError> errors;
};

inline bool SameFakeName(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  return std::ranges::equal(a, b, {}, lower, lower);
}

[[noreturn]] inline void FailFake(FakeAdoState& state, std::vector<ado::ProviderError> errors) {
  state.errors = std::move(errors);
  throw PlatformError(state.errors.front().number, state.errors.front().description, "fake");
}

class FakeRecordset final : public ado::Recordset {
 public:
  FakeRecordset(FakeAdoState& state, FakeRows& source, bool canChange)
      : state_(state), source_(source), rows_(source.rows), canChange_(canChange) {}

  bool Eof() const override { return position_ >= rows_.size(); }
  void MoveNext() override {
    if (Eof()) return;
    Update();
    ++position_;
  }
  int FieldCount() const override { return static_cast<int>(source_.fields.size()); }
  std::string FieldName(int position) const override {
    return source_.fields.at(static_cast<std::size_t>(position));
  }
  ado::Value Field(int position) const override {
    RequireRow();
    return rows_[position_].at(static_cast<std::size_t>(position));
  }
  ado::Value Field(std::string_view name) const override { return Field(PositionOf(name)); }
  void SetField(std::string_view name, ado::Value value) override {
    state_.calls.push_back("SetField " + std::string(name));
    RequireRow();
    if (!canChange_) FailFake(state_, {{0, "the row cannot be changed"}});
    rows_[position_].at(static_cast<std::size_t>(PositionOf(name))) = std::move(value);
    isChanged_ = true;
  }
  void Update() override {
    if (!isChanged_) return;
    state_.calls.push_back("Update");
    source_.rows.at(position_) = rows_[position_];
    isChanged_ = false;
  }
  void Close() override { rows_.clear(); }

 private:
  void RequireRow() const {
    if (Eof()) FailFake(state_, {{0, "there is no current row"}});
  }
  int PositionOf(std::string_view name) const {
    const auto found = std::ranges::find_if(
        source_.fields, [&](const auto& field) { return SameFakeName(field, name); });
    if (found == source_.fields.end())
      FailFake(state_, {{0, "there is no field \"" + std::string(name) + "\""}});
    return static_cast<int>(found - source_.fields.begin());
  }

  FakeAdoState& state_;
  FakeRows& source_;
  std::vector<std::vector<ado::Value>> rows_;
  bool canChange_;
  bool isChanged_ = false;
  std::size_t position_ = 0;
};

class FakeBulkLoad final : public ado::BulkLoad {
 public:
  explicit FakeBulkLoad(FakeAdoState& state) : state_(state) {}

  void Append(std::span<const ado::LoadValue> row) override {
    std::string call = "Append";
    for (const ado::LoadValue& value : row)
      call.append(&value == row.data() ? " " : "|").append(value.value_or("NULL"));
    state_.calls.push_back(call);
    ++count_;
  }
  std::int64_t Finish() override { return count_; }

 private:
  FakeAdoState& state_;
  std::int64_t count_ = 0;
};

class FakeConnection final : public ado::Connection {
 public:
  explicit FakeConnection(FakeAdoState& state) : state_(state) {}

  void SetProvider(const std::string& name) override { Note("SetProvider " + name); }
  void SetConnectionTimeout(int seconds) override {
    Note("SetConnectionTimeout " + std::to_string(seconds));
  }
  void SetProperty(const std::string& name, const std::string& value) override {
    Note("SetProperty " + name + "=" + value);
  }
  void Open() override {
    Note("Open");
    if (state_.failOpen) FailFake(state_, *std::exchange(state_.failOpen, std::nullopt));
    isOpen_ = true;
  }
  void Close() override {
    Note("Close");
    isOpen_ = false;
  }
  ado::ObjectState State() const override {
    return isOpen_ ? ado::ObjectState::Open : ado::ObjectState::Closed;
  }
  std::vector<ado::ProviderError> Errors() const override { return state_.errors; }

  std::int64_t Execute(const std::string& sql) override {
    Begin("Execute " + sql);
    FailWhenTold(sql);
    const auto found = state_.changedRows.find(sql);
    return found == state_.changedRows.end() ? 0 : found->second;
  }
  std::unique_ptr<ado::Recordset> OpenRecordset(const std::string& sql,
                                                const ado::CursorOptions& options) override {
    Begin("OpenRecordset " + sql);
    FailWhenTold(sql);
    state_.cursors.push_back(options);
    const auto found = state_.rows.find(sql);
    if (found == state_.rows.end()) FailFake(state_, {{0, "no rows are known for: " + sql}});
    return std::make_unique<FakeRecordset>(state_, found->second,
                                           options.location == ado::CursorLocation::UseClient &&
                                               options.lock == ado::LockType::Pessimistic);
  }

  std::unique_ptr<ado::Recordset> OpenSchema(ado::SchemaQuery query,
                                             std::span<const std::string> restrictions) override {
    std::string call = "OpenSchema " + std::to_string(static_cast<int>(query));
    for (const std::string& text : restrictions)
      call += (&text == restrictions.data() ? " " : "|") + text;
    Begin(call);
    schemaRows_.push_back(std::make_unique<FakeRows>());
    FakeRows& rows = *schemaRows_.back();
    if (query == ado::SchemaQuery::Schemata) {
      rows.fields = {"SCHEMA_NAME"};
      for (const std::string& name : state_.schemata) rows.rows.push_back({name});
    } else {
      FillColumns(rows, restrictions.size() > 2 ? restrictions[2] : "");
    }
    return std::make_unique<FakeRecordset>(state_, rows, false);
  }

  std::vector<ado::Column> TableColumns(const std::string& table) override {
    Begin("TableColumns " + table);
    const auto found = state_.tables.find(table);
    return found == state_.tables.end() ? std::vector<ado::Column>() : found->second;
  }
  std::unique_ptr<ado::BulkLoad> OpenBulkLoad(const std::string& table,
                                              std::span<const std::string>) override {
    Begin("OpenBulkLoad " + table);
    if (!state_.tables.contains(table)) FailFake(state_, {{0, "there is no table " + table}});
    return std::make_unique<FakeBulkLoad>(state_);
  }

  void BeginTrans() override { Begin("BeginTrans"); }
  void CommitTrans() override { Begin("CommitTrans"); }
  void RollbackTrans() override { Begin("RollbackTrans"); }
  void SetSavepoint() override { Begin("SetSavepoint"); }
  void RollbackToSavepoint() override { Begin("RollbackToSavepoint"); }
  void Cancel() override { Note("Cancel"); }

 private:
  void Note(const std::string& call) { state_.calls.push_back(call); }
  void Begin(const std::string& call) {
    Note(call);
    if (!isOpen_) FailFake(state_, {{0, "the connection is not open"}});
  }
  void FailWhenTold(const std::string& sql) {
    const auto found = state_.failSql.find(sql);
    if (found != state_.failSql.end()) FailFake(state_, {{0, found->second}});
  }
  void FillColumns(FakeRows& rows, const std::string& table) {
    rows.fields = {"TABLE_CATALOG", "TABLE_SCHEMA", "TABLE_NAME", "COLUMN_NAME"};
    for (const auto& [name, columns] : state_.tables)
      if (table.empty() || SameFakeName(name, table))
        for (const ado::Column& column : columns)
          rows.rows.push_back({std::string(), std::string("dbo"), name, column.name});
  }

  FakeAdoState& state_;
  bool isOpen_ = false;
  std::vector<std::unique_ptr<FakeRows>> schemaRows_;
};

/// Makes connections that all show the one state.
struct FakeAdo final : ado::Provider {
  std::unique_ptr<ado::Connection> NewConnection() override {
    state.calls.push_back("NewConnection");
    return std::make_unique<FakeConnection>(state);
  }

  FakeAdoState state;
};

}  // namespace torvik
