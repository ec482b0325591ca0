#include <utility>

#include "engine/pump/RowTarget.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

class TableTarget final : public RowTarget {
 public:
  TableTarget(ado::Connection& connection, std::string table)
      : connection_(connection), table_(std::move(table)) {}

  std::string Name() const override { return "table " + table_; }

  std::optional<std::vector<ado::Column>> Columns() override {
    std::vector<ado::Column> columns = connection_.TableColumns(table_);
    if (columns.empty()) throw PlatformError(0, "there is no table " + table_, "data pump");
    return columns;
  }

  std::unique_ptr<ado::BulkLoad> Open(std::span<const std::string> columns) override {
    return connection_.OpenBulkLoad(table_, columns);
  }

 private:
  ado::Connection& connection_;
  const std::string table_;
};

}  // namespace

std::unique_ptr<RowTarget> NewTableTarget(ado::Connection& connection, std::string table) {
  return std::make_unique<TableTarget>(connection, std::move(table));
}

}  // namespace torvik::engine
