#include <algorithm>
#include <utility>

#include "engine/pump/ColumnNames.h"
#include "engine/pump/RowQueries.h"
#include "engine/pump/RowTarget.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

/// Runs for each row the query that it has chosen.
class QueryLoad final : public ado::BulkLoad {
 public:
  QueryLoad(ado::Connection& connection, std::span<const std::string> columns, RowQueries& queries)
      : connection_(connection), queries_(queries) {
    const std::vector<std::string> names(columns.begin(), columns.end());
    for (const RowQuery& query : queries.queries) {
      std::vector<std::size_t>& positions = positions_.emplace_back();
      for (const std::string& name : query.parameters)
        positions.push_back(FindColumn(names, name, "list of filled columns"));
    }
  }

  void Load(const ado::LoadRows& rows, std::size_t tolerated,
            std::vector<ado::Refusal>& refused) override {
    for (std::size_t row = 0; row < rows.Count(); ++row) {
      if (tolerated > 0) connection_.SetSavepoint();
      try {
        Run(rows.Row(row));
        ++loaded_;
      } catch (const PlatformError& error) {
        if (error.isTransient) throw;
        refused.push_back({row, error.number, error.Description()});
        if (refused.size() > tolerated) return;
        connection_.RollbackToSavepoint();
      }
    }
  }

  std::int64_t Finish() override { return std::exchange(loaded_, 0); }

 private:
  void Run(std::span<const ado::LoadValue> row) {
    const std::string_view chosen = row.back().Text();
    const auto query = std::ranges::find(queries_.queries, chosen, &RowQuery::choice);
    if (query == queries_.queries.end())
      throw PlatformError(0,
                          "the row wants the query " + std::string(chosen) +
                              ", and there is none; give one with on = \"" + std::string(chosen) +
                              "\"",
                          "data pump");
    std::vector<ado::Value> parameters;
    for (const std::size_t position :
         positions_[static_cast<std::size_t>(query - queries_.queries.begin())])
      parameters.push_back(ado::ValueOf(row[position]));
    const ado::StatementResult result = connection_.ExecuteWith(query->sql, parameters);
    ++query->runs;
    query->changedRows += result.changedRows;
  }

  ado::Connection& connection_;
  RowQueries& queries_;
  std::vector<std::vector<std::size_t>> positions_;  // of each query's parameters
  std::int64_t loaded_ = 0;
};

class QueryTarget final : public RowTarget {
 public:
  QueryTarget(ado::Connection& connection, std::string table, RowQueries& queries)
      : connection_(connection), table_(std::move(table)), queries_(queries) {}

  std::string Name() const override {
    return table_.empty() ? "list of queries" : "table " + table_;
  }

  /// A query has what it wants of the columns: the others are NULL.
  std::optional<std::vector<ado::Column>> Columns() override {
    if (table_.empty()) return std::nullopt;
    std::vector<ado::Column> columns = connection_.TableColumns(table_);
    if (columns.empty()) throw PlatformError(0, "there is no table " + table_, "data pump");
    for (ado::Column& column : columns) column.nullable = true;
    return columns;
  }

  std::unique_ptr<ado::BulkLoad> Open(std::span<const std::string> columns) override {
    return std::make_unique<QueryLoad>(connection_, columns, queries_);
  }

 private:
  ado::Connection& connection_;
  const std::string table_;
  RowQueries& queries_;
};

}  // namespace

std::unique_ptr<RowTarget> NewQueryTarget(ado::Connection& connection, std::string table,
                                          RowQueries& queries) {
  return std::make_unique<QueryTarget>(connection, std::move(table), queries);
}

}  // namespace torvik::engine
