#include "platform/linux/odbc/OdbcBulkRead.h"

#include <optional>
#include <utility>
#include <variant>

#include "platform/linux/database/RowSpool.h"
#include "platform/linux/odbc/OdbcRowBlock.h"
#include "platform/linux/odbc/OdbcStatement.h"

namespace torvik {
namespace {

/// The value itself; a text stays the other's.
ado::LoadValue ViewOf(const ado::Value& value) {
  struct Viewer {
    ado::LoadValue operator()(const ado::Null&) const { return {}; }
    ado::LoadValue operator()(std::int64_t number) const { return number; }
    ado::LoadValue operator()(double number) const { return number; }
    ado::LoadValue operator()(const std::string& text) const { return text; }
    ado::LoadValue operator()(const ado::Blob& blob) const { return blob.bytes; }
  };
  return std::visit(Viewer{}, value);
}

class OdbcBulkRead final : public ado::BulkRead, private PendingRows {
 public:
  OdbcBulkRead(std::shared_ptr<OdbcSession> session, const std::string& sql)
      : session_(std::move(session)), query_(*session_) {
    query_.Execute(sql);
    if (query_.ColumnCount() == 0)
      throw session_->Refusal("the SQL text is no query: it has no rows");
    for (const auto& column : query_.Columns()) names_.push_back(column.name);
    if (OdbcRowBlock::Fits(*session_, query_)) block_.emplace(*session_, query_);
    session_->SetPendingRows(this);
  }
  ~OdbcBulkRead() override { session_->ForgetPendingRows(this); }
  OdbcBulkRead(const OdbcBulkRead&) = delete;
  OdbcBulkRead& operator=(const OdbcBulkRead&) = delete;

  const std::vector<std::string>& Columns() const override { return names_; }

  bool Next(std::span<ado::LoadValue> row) override {
    return spool_ ? spool_->Next(row) : Fetch(row);
  }

 private:
  void ReadToEnd() override {
    // The texts of the row that was read last are valid until the next one is asked for.
    keptValues_ = std::move(values_);
    if (block_) keptTexts_ = block_->TakeTexts();
    RowSpool spool;
    std::vector<ado::LoadValue> row(names_.size());
    while (Fetch(row)) spool.Add(row);
    spool.Rewind();
    spool_.emplace(std::move(spool));
  }

  bool Fetch(std::span<ado::LoadValue> row) {
    if (isAtEnd_) return false;
    isAtEnd_ = !(block_ ? block_->Next(row) : FetchOne(row));
    if (isAtEnd_) session_->ForgetPendingRows(this);
    return !isAtEnd_;
  }

  bool FetchOne(std::span<ado::LoadValue> row) {
    if (!query_.Step()) return false;
    values_.resize(row.size());
    for (std::size_t i = 0; i < row.size(); ++i) {
      values_[i] = query_.Column(static_cast<int>(i));
      row[i] = ViewOf(values_[i]);
    }
    return true;
  }

  const std::shared_ptr<OdbcSession> session_;
  OdbcStatement query_;
  std::vector<std::string> names_;
  std::optional<OdbcRowBlock> block_;
  std::vector<ado::Value> values_;  ///< Of the current row, without a block.
  std::vector<ado::Value> keptValues_;
  OdbcRowBlock::Texts keptTexts_;
  std::optional<RowSpool> spool_;  ///< What was left when another statement began.
  bool isAtEnd_ = false;
};

}  // namespace

std::unique_ptr<ado::BulkRead> NewOdbcBulkRead(std::shared_ptr<OdbcSession> session,
                                               const std::string& sql) {
  return std::make_unique<OdbcBulkRead>(std::move(session), sql);
}

}  // namespace torvik
