#include "platform/linux/odbc/OdbcCopyLoad.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <span>
#include <utility>
#include <vector>

#include "platform/linux/odbc/OdbcSession.h"
#include "platform/linux/odbc/OdbcUndo.h"

namespace torvik {
namespace {

/// So many rows, of which the server refuses one, are sent again by INSERT, which tells them apart.
constexpr std::size_t kMostRowsToTellApart = 256;

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
    std::vector<std::size_t> all(rows.Count());
    std::iota(all.begin(), all.end(), 0);
    const std::size_t before = refused.size();
    CopyOrInsert(rows, all, before + tolerated, refused);
    std::ranges::sort(refused.begin() + static_cast<std::ptrdiff_t>(before), refused.end(), {},
                      &ado::Refusal::row);
  }

  std::int64_t Finish() override { return rows_ + inserts_->Finish(); }

 private:
  using Which = std::span<const std::size_t>;

  /// Halves what the server does not take whole, until little is left around a refused row. More
  /// than `most` refusals end it.
  void CopyOrInsert(const ado::LoadRows& rows, Which which, std::size_t most,
                    std::vector<ado::Refusal>& refused) {
    if (refused.size() > most) return;
    if (!usesCopy_) return Insert(rows, which, most, refused);
    std::vector<std::size_t> others;
    if (Copy(rows, which, others)) return Insert(rows, others, most, refused);
    if (which.size() > kMostRowsToTellApart) {
      CopyOrInsert(rows, which.first(which.size() / 2), most, refused);
      CopyOrInsert(rows, which.subspan(which.size() / 2), most, refused);
      return;
    }
    const std::size_t before = refused.size();
    Insert(rows, which, most, refused);
    // When every row can be inserted it is the copy that the server does not take.
    if (refused.size() == before) usesCopy_ = false;
  }

  /// False, and none of the rows is there, when the server refuses one of them; else `others` are
  /// those that must be inserted.
  bool Copy(const ado::LoadRows& rows, Which which, std::vector<std::size_t>& others) {
    if (which.empty()) return true;
    OdbcUndo undo(*session_, "torvik_copy");
    try {
      rows_ += copy_.Copy(rows, which, others);
      undo.Keep();
      return true;
    } catch (const PlatformError& error) {
      if (error.isTransient || session_->IsCancelled()) throw;
      undo.UndoAfter(error);
    }
    return false;
  }

  void Insert(const ado::LoadRows& rows, Which which, std::size_t most,
              std::vector<ado::Refusal>& refused) {
    if (which.empty() || refused.size() > most) return;
    std::vector<ado::LoadValue> values;
    for (const std::size_t row : which)
      values.insert(values.end(), rows.Row(row).begin(), rows.Row(row).end());
    const std::size_t before = refused.size();
    inserts_->Load({values, rows.width}, most - before, refused);
    for (std::size_t i = before; i < refused.size(); ++i) refused[i].row = which[refused[i].row];
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
