#include "platform/linux/OdbcBulkLoad.h"

#include <utility>

#include "platform/linux/OdbcStatement.h"
#include "platform/linux/SqlNames.h"

namespace torvik {
namespace {

std::string InsertText(const OdbcDialect& dialect, const std::string& table,
                       const std::vector<ado::Column>& columns) {
  std::string names, values;
  for (const ado::Column& column : columns) {
    names += (names.empty() ? "" : ", ") + QuotedName(column.name);
    values += (values.empty() ? "" : ", ") + dialect.Marker(column);
  }
  return "INSERT INTO " + table + " (" + names + ") VALUES (" + values + ")";
}

class OdbcBulkLoad final : public ado::BulkLoad {
 public:
  OdbcBulkLoad(std::shared_ptr<OdbcSession> session, const std::string& table,
               const std::vector<ado::Column>& columns)
      : session_(std::move(session)), table_(table), columns_(columns), insert_(*session_) {
    insert_.Prepare(InsertText(session_->Dialect(), table, columns));
    values_.resize(columns.size());
  }

  void Append(std::span<const ado::LoadValue> row) override {
    if (row.size() != columns_.size())
      throw session_->Refusal("table " + table_ + ": a row has " + std::to_string(row.size()) +
                              " values for " + std::to_string(columns_.size()) + " columns");
    session_->BeginStatement();
    for (std::size_t i = 0; i < row.size(); ++i) values_[i] = ValueOf(columns_[i], row[i]);
    rows_ += insert_.ExecutePrepared(values_);
  }

  std::int64_t Finish() override { return rows_; }

 private:
  ado::Value ValueOf(const ado::Column& column, const ado::LoadValue& value) const {
    if (!value) return ado::Null{};
    if (column.kind == ado::ColumnKind::Binary) return ado::Blob{std::string(*value)};
    return session_->Dialect().Sent(column, *value);
  }

  const std::shared_ptr<OdbcSession> session_;
  const std::string table_;
  const std::vector<ado::Column> columns_;
  OdbcStatement insert_;
  std::vector<ado::Value> values_;
  std::int64_t rows_ = 0;
};

}  // namespace

std::unique_ptr<ado::BulkLoad> NewOdbcBulkLoad(std::shared_ptr<OdbcSession> session,
                                               const std::string& table,
                                               const std::vector<ado::Column>& columns) {
  return std::make_unique<OdbcBulkLoad>(std::move(session), table, columns);
}

}  // namespace torvik
