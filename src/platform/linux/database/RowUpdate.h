#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Ado.h"
#include "platform/PlatformError.h"

namespace torvik {

using Row = std::vector<ado::Value>;

/// Where the fields of a query come from, as far as its rows can be changed.
struct UpdatableQuery {
  std::string table;  ///< As an UPDATE names it; empty when the query reads not one table alone.
  std::string tableName;                            ///< In messages.
  std::vector<std::optional<std::string>> columns;  ///< By field, quoted; nothing when computed.
  std::vector<std::string> markers;  ///< By field: what stands for a value of its column.
  std::vector<int> keyFields;  ///< Empty when the table has no key or the query lacks a part of it.
  std::vector<int> comparedFields;  ///< Those that tell rows apart where there is no key.
};

/// The connection's side of a row update.
class UpdateTarget {
 public:
  virtual ~UpdateTarget() = default;

  virtual UpdatableQuery Describe() = 0;

  /// Runs an UPDATE and answers how many rows it changed; unless that is one, the table is as
  /// before.
  virtual std::int64_t UpdateOneRow(const std::string& sql, const Row& parameters) = 0;

  /// An error of the connection's own, kept in its Errors().
  virtual PlatformError Refusal(const std::string& reason) = 0;
};

/// Sends changed fields back to the one table that a query reads.
class RowUpdate {
 public:
  explicit RowUpdate(std::unique_ptr<UpdateTarget> target) : target_(std::move(target)) {}

  /// Throws when the field cannot be changed: it is computed, or the query reads several tables.
  void RequireChangeable(int field);

  /// Updates the row that was read as `original` to `changed`: the row with its primary key and
  /// with the old values of the fields that change or, without a key, with all its old values.
  /// Throws, and leaves the table as it was, unless that is exactly one row.
  void Update(const Row& original, const Row& changed);

 private:
  const UpdatableQuery& Query();
  std::vector<int> CriteriaFields(const std::vector<int>& changes);

  const std::unique_ptr<UpdateTarget> target_;
  std::optional<UpdatableQuery> query_;  ///< Asked for when a row is first changed.
};

}  // namespace torvik
