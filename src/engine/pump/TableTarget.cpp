#include <algorithm>
#include <utility>

#include "engine/pump/RowTarget.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

class TableTarget final : public RowTarget {
 public:
  TableTarget(ado::Connection& connection, std::string table, std::string database,
              const ado::LoadOptions& options)
      : connection_(connection),
        table_(std::move(table)),
        database_(std::move(database)),
        options_(options) {}

  std::string Name() const override { return "table " + table_; }

  std::optional<std::vector<ado::Column>> Columns() override {
    std::vector<ado::Column> columns = connection_.TableColumns(table_);
    if (columns.empty())
      throw PlatformError(0, "there is no table " + table_ + " in " + database_, "data pump");
    const auto identity = std::ranges::find_if(columns, &ado::Column::isIdentity);
    if (identity != columns.end()) identity_ = identity->name;
    if (!options_.keepsNulls)  // a missing value stands for the default
      for (ado::Column& column : columns) column.nullable |= !column.defaultText.empty();
    return columns;
  }

  std::unique_ptr<ado::BulkLoad> Open(std::span<const std::string> columns) override {
    if (!options_.givesIdentity && !identity_.empty() &&
        std::ranges::find(columns, identity_) != columns.end())
      throw PlatformError(0,
                          "the column " + identity_ + " of table " + table_ +
                              " numbers the rows by itself; leave it out of \"columns\", or write "
                              "identity_insert = true to keep the source's numbers",
                          "data pump");
    return connection_.OpenBulkLoad(table_, columns, options_);
  }

 private:
  ado::Connection& connection_;
  const std::string table_, database_;
  const ado::LoadOptions options_;
  std::string identity_;  ///< The column that numbers the rows; empty without one.
};

}  // namespace

std::unique_ptr<RowTarget> NewTableTarget(ado::Connection& connection, std::string table,
                                          std::string database, const ado::LoadOptions& options) {
  return std::make_unique<TableTarget>(connection, std::move(table), std::move(database), options);
}

}  // namespace torvik::engine
