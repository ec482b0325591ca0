#include "platform/linux/odbc/OdbcCopyLoad.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "platform/linux/odbc/OdbcSession.h"
#include "platform/linux/odbc/OdbcUndo.h"

namespace torvik {
namespace {

constexpr std::size_t kMostRowsOfCopy = 4096;

class OdbcCopyLoad final : public ado::BulkLoad {
 public:
  OdbcCopyLoad(std::shared_ptr<OdbcSession> session, const std::string& table,
               std::vector<OdbcBulkCopy::Target> targets, const ado::LoadOptions& options,
               std::unique_ptr<ado::BulkLoad> inserts)
      : session_(std::move(session)),
        width_(targets.size()),
        copy_(*session_, table, std::move(targets), options),
        inserts_(std::move(inserts)) {}

  void Load(const ado::LoadRows& rows, std::size_t tolerated,
            std::vector<ado::Refusal>& refused) override {
    if (rows.width != width_) return inserts_->Load(rows, tolerated, refused);  // it says so
    const std::size_t before = refused.size();
    for (std::size_t first = 0; first < rows.Count(); first += kMostRowsOfCopy) {
      const std::size_t count = std::min(kMostRowsOfCopy, rows.Count() - first);
      const std::size_t soFar = refused.size() - before;
      if (soFar > tolerated) return;
      LoadBatch({rows.values.subspan(first * rows.width, count * rows.width), rows.width}, first,
                tolerated - soFar, refused);
    }
  }

  std::int64_t Finish() override { return rows_ + inserts_->Finish(); }

 private:
  /// `first` is the batch's first row among those that were given.
  void LoadBatch(const ado::LoadRows& batch, std::size_t first, std::size_t tolerated,
                 std::vector<ado::Refusal>& refused) {
    std::vector<std::size_t> fits, others;
    for (std::size_t row = 0; row < batch.Count(); ++row)
      (usesCopy_ && copy_.Fits(batch.Row(row)) ? fits : others).push_back(row);
    const bool isCopied = Copy(batch, fits);
    if (!isCopied) {
      others.insert(others.end(), fits.begin(), fits.end());
      std::ranges::sort(others);
    }
    const std::size_t before = refused.size();
    Insert(batch, others, first, tolerated, refused);
    // When every row can be inserted it is the copy that the server does not take.
    if (!isCopied && refused.size() == before) usesCopy_ = false;
  }

  /// False, and none of the rows is there, when the server refuses one of them.
  bool Copy(const ado::LoadRows& batch, const std::vector<std::size_t>& which) {
    if (which.empty()) return true;
    OdbcUndo undo(*session_, "torvik_copy");
    try {
      rows_ += copy_.Copy(batch, which);
      undo.Keep();
      return true;
    } catch (const PlatformError& error) {
      if (error.isTransient || session_->IsCancelled()) throw;
      undo.UndoAfter(error);
    }
    return false;
  }

  void Insert(const ado::LoadRows& batch, const std::vector<std::size_t>& which, std::size_t first,
              std::size_t tolerated, std::vector<ado::Refusal>& refused) {
    if (which.empty()) return;
    std::vector<ado::LoadValue> values;
    for (const std::size_t row : which)
      values.insert(values.end(), batch.Row(row).begin(), batch.Row(row).end());
    const std::size_t before = refused.size();
    inserts_->Load({values, batch.width}, tolerated, refused);
    for (std::size_t i = before; i < refused.size(); ++i)
      refused[i].row = first + which[refused[i].row];
  }

  const std::shared_ptr<OdbcSession> session_;
  const std::size_t width_;
  OdbcBulkCopy copy_;
  const std::unique_ptr<ado::BulkLoad> inserts_;
  bool usesCopy_ = true;
  std::int64_t rows_ = 0;
};

}  // namespace

std::unique_ptr<ado::BulkLoad> NewOdbcCopyLoad(std::shared_ptr<OdbcSession> session,
                                               const std::string& table,
                                               std::vector<OdbcBulkCopy::Target> targets,
                                               const ado::LoadOptions& options,
                                               std::unique_ptr<ado::BulkLoad> inserts) {
  return std::make_unique<OdbcCopyLoad>(std::move(session), table, std::move(targets), options,
                                        std::move(inserts));
}

}  // namespace torvik
