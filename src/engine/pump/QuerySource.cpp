#include <charconv>
#include <utility>

#include "engine/pump/RowBatch.h"
#include "engine/pump/RowSource.h"

namespace torvik::engine {
namespace {

constexpr std::size_t kRowsPerBatch = 1000;

/// Numbers become the shortest text that reads back as the same number.
template <typename Number>
std::string_view StoreNumber(Number number, RowBatch& batch) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, number).ptr;
  return batch.Store({text, end});
}

struct StoreValue {
  RowBatch& batch;

  ado::LoadValue operator()(const ado::Null&) const { return std::nullopt; }
  ado::LoadValue operator()(std::int64_t number) const { return StoreNumber(number, batch); }
  ado::LoadValue operator()(double number) const { return StoreNumber(number, batch); }
  ado::LoadValue operator()(const std::string& text) const { return batch.Store(text); }
  ado::LoadValue operator()(const ado::Blob& blob) const { return batch.Store(blob.bytes); }
};

class QuerySource final : public RowSource {
 public:
  QuerySource(ado::Connection& connection, const std::string& sql)
      : rows_(connection.OpenRecordset(
            sql, {.type = ado::CursorType::ForwardOnly, .lock = ado::LockType::ReadOnly})) {
    for (int field = 0; field < rows_->FieldCount(); ++field)
      columns_.push_back(rows_->FieldName(field));
  }

  const std::vector<std::string>& Columns() const override { return columns_; }

  bool Fetch(RowBatch& batch) override {
    batch.Clear();
    for (; !rows_->Eof() && batch.RowCount() < kRowsPerBatch; rows_->MoveNext()) {
      const std::span<ado::LoadValue> values = batch.AddRow(++position_, columns_.size());
      for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = std::visit(StoreValue{batch}, rows_->Field(static_cast<int>(i)));
    }
    return batch.RowCount() > 0;
  }

  std::string PlaceOf(const RowBatch& batch, std::size_t row) const override {
    return "row " + std::to_string(batch.Position(row)) + " of the query";
  }

  /// The destination may be the same connection, which one thread at a time may use.
  bool CanReadAhead() const override { return false; }

 private:
  std::unique_ptr<ado::Recordset> rows_;
  std::vector<std::string> columns_;
  std::int64_t position_ = 0;
};

}  // namespace

std::unique_ptr<RowSource> OpenQuerySource(ado::Connection& connection, const std::string& sql) {
  return std::make_unique<QuerySource>(connection, sql);
}

}  // namespace torvik::engine
