#include "engine/pump/RowBatch.h"
#include "engine/pump/RowSource.h"
#include "platform/Ado.h"

namespace torvik::engine {
namespace {

constexpr std::size_t kRowsPerBatch = 8000;
constexpr std::size_t kBytesPerBatch = std::size_t{1} << 20;

class QuerySource final : public RowSource {
 public:
  QuerySource(ado::Connection& connection, const std::string& sql, bool alongside)
      : rows_(connection.OpenBulkRead(sql, alongside)),
        columns_(rows_->Columns()),
        alongside_(alongside) {}

  const std::vector<std::string>& Columns() const override { return columns_; }

  bool Fetch(RowBatch& batch) override {
    batch.Clear();
    std::size_t bytes = 0;
    while (bytes < kBytesPerBatch && batch.RowCount() < kRowsPerBatch) {
      const std::span<ado::LoadValue> row = batch.AddRow({position_ + 1}, columns_.size());
      if (!rows_->Next(row)) {
        batch.TakeBackRow();
        break;
      }
      ++position_;
      for (ado::LoadValue& value : row) {
        if (!value.IsText()) continue;
        value = batch.Store(value.Text());
        bytes += value.Text().size();
      }
    }
    return batch.RowCount() > 0;
  }

  std::string PlaceOf(const RowBatch& batch, std::size_t row) const override {
    return "row " + std::to_string(batch.Origin(row).position) + " of the query";
  }

  ado::BulkRead* Query() override { return position_ == 0 ? rows_.get() : nullptr; }

  bool CanReadAhead() const override { return !alongside_; }

 private:
  std::unique_ptr<ado::BulkRead> rows_;
  std::vector<std::string> columns_;
  const bool alongside_;
  std::int64_t position_ = 0;
};

}  // namespace

std::unique_ptr<RowSource> OpenQuerySource(ado::Connection& connection, const std::string& sql,
                                           bool alongside) {
  return std::make_unique<QuerySource>(connection, sql, alongside);
}

}  // namespace torvik::engine
