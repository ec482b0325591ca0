#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Ado.h"
#include "platform/linux/SqliteStatement.h"

namespace torvik {

using SqliteRow = std::vector<ado::Value>;

/// Sends changed fields back to the one table that a query reads.
class SqliteRowUpdate {
 public:
  /// Learns from a compiled query where its columns come from.
  SqliteRowUpdate(SqliteSession& session, const SqliteStatement& query);

  /// Throws when the column cannot be changed: it is computed, or the query reads several tables.
  void RequireChangeable(int column) const;

  /// Updates the row that was read as `original` to `changed`: the row with its primary key and
  /// with the old values of the fields that change or, without a key, with all its old values.
  /// Throws, and leaves the table as it was, unless that is exactly one row.
  void Update(const SqliteRow& original, const SqliteRow& changed) const;

 private:
  using Origin = SqliteStatement::Origin;

  std::vector<int> KeyColumns() const;
  std::vector<int> CriteriaColumns(const std::vector<int>& changes) const;
  void UpdateOneRow(const std::string& sql, const std::vector<ado::Value>& values) const;
  const Origin& Table() const;

  SqliteSession& session_;
  std::vector<std::optional<Origin>> origins_;  ///< By column of the query.
  std::vector<int> keyColumns_;                 ///< Empty when the query lacks a part of the key.
  bool isOneTable_ = true;
};

}  // namespace torvik
