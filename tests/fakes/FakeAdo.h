#pragma once

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <stdexcept>
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
  std::optional<std::size_t> failAt = {};  ///< Moving on to this row fails.
};

/// What every connection of a FakeAdo shows, and what was done to them.
struct FakeAdoState {
  std::vector<std::string> calls;        ///< "NewConnection", "SetProperty NAME=VALUE", "Open", ...
  std::map<std::string, FakeRows> rows;  ///< By exact SQL text. Others fail.
  std::map<std::string, std::vector<ado::Column>> tables;   ///< Those that OpenSchema knows.
  FakeRows schemata{{"SCHEMA_NAME"}, {}};                   ///< What it answers to that query.
  std::set<std::string> refused;                            ///< Properties that cannot be set.
  std::optional<std::vector<ado::ProviderError>> failOpen;  ///< The next Open fails with these.
  std::vector<ado::ProviderError> errors;
  std::function<void()> onOpen, onQuery;  ///< The next one calls it first, on its thread.
  std::function<void()> onCancel;
};

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
    if (source_.failAt == position_) FailFake(state_, {{0, "the server is gone"}});
  }
  int FieldCount() const override { return static_cast<int>(source_.fields.size()); }
  std::string FieldName(int position) const override { return source_.fields.at(position); }
  ado::Value Field(int position) const override {
    RequireRow();
    return rows_[position_].at(position);
  }
  ado::Value Field(std::string_view name) const override { return Field(PositionOf(name)); }
  void SetField(std::string_view name, ado::Value value) override {
    RequireRow();
    if (!canChange_) FailFake(state_, {{0, "the row cannot be changed"}});
    rows_[position_].at(PositionOf(name)) = std::move(value);
  }
  void Update() override { source_.rows.at(position_) = rows_.at(position_); }
  void Close() override { rows_.clear(); }

 private:
  void RequireRow() const {
    if (Eof()) FailFake(state_, {{0, "there is no current row"}});
  }
  int PositionOf(std::string_view name) const {
    const auto found = std::ranges::find_if(source_.fields, [&](const std::string& field) {
      return std::ranges::equal(field, name, {}, tolower, tolower);
    });
    if (found == source_.fields.end())
      FailFake(state_, {{0, "there is no field \"" + std::string(name) + "\""}});
    return static_cast<int>(found - source_.fields.begin());
  }

  FakeAdoState& state_;
  FakeRows& source_;
  std::vector<std::vector<ado::Value>> rows_;
  bool canChange_;
  std::size_t position_ = 0;
};

/// Answers the queries that its state knows; does not change data but by recordsets.
class FakeConnection final : public ado::Connection {
 public:
  explicit FakeConnection(FakeAdoState& state) : state_(state) {}

  void SetProvider(const std::string& name) override { Note("SetProvider " + name); }
  void SetConnectionTimeout(int seconds) override {
    Note("SetConnectionTimeout " + std::to_string(seconds));
  }
  void SetProperty(const std::string& name, const std::string& value) override {
    Note("SetProperty " + name + "=" + value);
    if (state_.refused.contains(name)) FailFake(state_, {{0, "no property " + name}});
  }
  void Open() override {
    Note("Open");
    if (state_.onOpen) std::exchange(state_.onOpen, nullptr)();
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

  std::unique_ptr<ado::Recordset> OpenRecordset(const std::string& sql,
                                                const ado::CursorOptions& options) override {
    if (!isOpen_) FailFake(state_, {{0, "the connection is not open"}});
    if (state_.onQuery) std::exchange(state_.onQuery, nullptr)();
    const auto found = state_.rows.find(sql);
    if (found == state_.rows.end()) FailFake(state_, {{0, "no rows are known for: " + sql}});
    return std::make_unique<FakeRecordset>(state_, found->second,
                                           options.location == ado::CursorLocation::UseClient &&
                                               options.lock == ado::LockType::Pessimistic);
  }

  /// A row without fields for a table that is known.
  std::unique_ptr<ado::Recordset> OpenSchema(ado::SchemaQuery query,
                                             std::span<const std::string> restrictions) override {
    if (query == ado::SchemaQuery::Schemata)
      return std::make_unique<FakeRecordset>(state_, state_.schemata, false);
    schema_.rows.resize(state_.tables.count(restrictions[2]));
    return std::make_unique<FakeRecordset>(state_, schema_, false);
  }

  std::int64_t Execute(const std::string&) override { Refuse(); }
  void Prepare(const std::string&) override { Refuse(); }
  std::vector<ado::Column> TableColumns(const std::string&) override { Refuse(); }
  std::unique_ptr<ado::BulkLoad> OpenBulkLoad(const std::string&, std::span<const std::string>,
                                              const ado::LoadOptions&) override {
    Refuse();
  }
  ado::StatementResult ExecuteWith(const std::string&, std::span<const ado::Value>,
                                   std::size_t) override {
    Refuse();
  }
  std::unique_ptr<ado::BulkRead> OpenBulkRead(const std::string&, bool) override { Refuse(); }
  std::vector<std::string> CreateTable(const std::string&, std::span<const ado::Column>) override {
    Refuse();
  }
  void EmptyTable(const std::string&) override { Refuse(); }
  std::string CreateStagingTable(const std::string&) override { Refuse(); }
  std::int64_t ReplaceRows(const std::string&, const std::string&) override { Refuse(); }
  ado::MergeCounts MergeRows(const std::string&, const std::string&,
                             const ado::MergeOptions&) override {
    Refuse();
  }
  std::optional<bool> HasOpenTransaction() override { Refuse(); }
  void BeginTrans() override { Refuse(); }
  void CommitTrans() override { Refuse(); }
  void RollbackTrans() override { Refuse(); }
  void SetSavepoint() override { Refuse(); }
  void RollbackToSavepoint() override { Refuse(); }
  void Cancel() override {
    if (state_.onCancel) state_.onCancel();
  }

 private:
  void Note(const std::string& call) { state_.calls.push_back(call); }
  [[noreturn]] static void Refuse() { throw std::logic_error("a FakeAdo only answers queries"); }

  FakeAdoState& state_;
  bool isOpen_ = false;
  FakeRows schema_;
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
