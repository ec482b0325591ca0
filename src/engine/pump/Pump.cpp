#include "engine/pump/Pump.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

#include "engine/pump/MappedBatches.h"
#include "engine/pump/RejectedRows.h"
#include "engine/pump/RowError.h"
#include "engine/pump/RowSource.h"
#include "engine/pump/RowTarget.h"
#include "engine/pump/Watermark.h"

namespace torvik::engine {
namespace {

/// How long a server waits with its judgement for rows that are being read. No longer: a source
/// that is slow must not keep a statement of the destination's open.
constexpr std::chrono::milliseconds kPatience{20};

/// Hands rows to the destination, keeps the books, and tells how far it is.
class Loader {
 public:
  Loader(const PumpRequest& request, const std::vector<std::string>& columns,
         const std::function<void(std::int64_t)>& progress, const std::atomic<bool>& cancelled)
      : request_(request),
        columns_(columns),
        load_(columns.empty() ? nullptr : request.target.Open(columns)),
        progress_(progress),
        cancelled_(cancelled) {}

  /// True when the servers have moved all rows between them, and nobody need look at any.
  bool LoadUnseen(const RowMapper& mapper) {
    ado::BulkRead* const query = request_.source.Query();
    const auto columns = mapper.PlainCopy();
    const bool isPart = request_.firstRow > 0 || request_.lastRow > 0 || request_.commitSize > 0 ||
                        request_.watermark != nullptr;
    if (!load_ || query == nullptr || !columns || isPart) return false;
    const auto loaded = load_->LoadAll(*query, *columns, [this](std::int64_t rows) {
      counts_.read = rows;
      LookAround();
    });
    counts_.read = loaded.value_or(0);
    return loaded.has_value();
  }

  /// Takes the next batch, which must live until Settle. True when there may be more of them before
  /// that.
  bool Take(RowBatch& batch) {
    LookAround();
    if (Send(batch)) {
      held_.push_back(&batch);
      heldBytes_ += batch.Bytes();
      return heldBytes_ < kMostHeldBytes;
    }
    Settle();
    Load(batch);
    return false;
  }

  /// Has the server judge the batches taken; those it does not take together go one by one.
  void Settle() {
    if (held_.empty()) return;
    heldBytes_ = 0;
    const bool areLoaded = load_->Settle();
    for (RowBatch* const batch : std::exchange(held_, {})) Load(*batch, areLoaded);
  }

  PumpCounts Finish() {
    LookAround();
    Settle();
    FinishLoad();
    load_.reset();  // what it has set for the connection ends here
    return counts_;
  }

  const PumpCounts& Counts() const { return counts_; }

 private:
  using Steady = std::chrono::steady_clock;
  static constexpr std::chrono::milliseconds kProgressInterval{100};
  /// Of batches that the server judges together: what each judgement costs it is little then, and
  /// so is the memory.
  static constexpr std::size_t kMostHeldBytes = std::size_t{12} << 20;

  bool Send(const RowBatch& batch) {
    if (!load_ || request_.commitSize > 0) return false;
    return batch.RowCount() == 0 || load_->Send(batch.Rows());
  }

  /// `isSent`: the server has its rows already.
  void Load(RowBatch& batch, bool isSent = false) {
    counts_.skipped += batch.SkippedRows();
    counts_.read += batch.SkippedRows();
    for (const BadRow& row : batch.BadRows()) {
      ++counts_.read;
      Reject(row);
    }
    for (std::size_t row = 0; row < batch.RowCount();) {
      const std::size_t count = std::min(batch.RowCount() - row, RowsToCommit());
      LoadPart(batch, row, count, isSent);
      row += count;
    }
    if (request_.exceptions) request_.exceptions->Flush();
  }

  std::size_t RowsToCommit() const {
    return request_.commitSize > 0 ? static_cast<std::size_t>(request_.commitSize) - uncommitted_
                                   : static_cast<std::size_t>(-1);
  }

  void LoadPart(RowBatch& batch, std::size_t first, std::size_t count, bool isSent) {
    const ado::LoadRows all = batch.Rows();
    const ado::LoadRows part{all.values.subspan(first * all.width, count * all.width), all.width};
    refused_.clear();
    if (!isSent) {
      const std::int64_t tolerated = request_.maximumErrorCount - counts_.rejected;
      load_->Load(part, static_cast<std::size_t>(tolerated), refused_);
    }
    counts_.read += static_cast<std::int64_t>(count);
    if (request_.watermark != nullptr) NoteLoaded(part);
    for (const ado::Refusal& refusal : refused_) RejectRefused(batch, first, refusal);
    uncommitted_ += count;
    if (request_.commitSize > 0 && RowsToCommit() == 0) Commit();
  }

  void NoteLoaded(const ado::LoadRows& part) {
    for (std::size_t row = 0; row < part.Count(); ++row)
      if (std::ranges::find(refused_, row, &ado::Refusal::row) == refused_.end())
        request_.watermark->Note(part.Row(row));
  }

  void Commit() {
    FinishLoad();
    request_.commit();
    uncommitted_ = 0;
    load_ = request_.target.Open(columns_);
  }

  void FinishLoad() {
    if (load_) counts_.loaded += load_->Finish();
    const std::int64_t sent = counts_.read - counts_.rejected - counts_.skipped;
    if (counts_.loaded == sent) return;
    throw PlatformError(0,
                        std::to_string(sent) + " rows were read but the server took " +
                            std::to_string(counts_.loaded) + "; nothing of them may be kept",
                        "data pump");
  }

  void RejectRefused(RowBatch& batch, std::size_t first, const ado::Refusal& refusal) {
    const std::size_t row = first + refusal.row;
    const RowPlace at{request_.source.PlaceOf(batch, row)};
    if (request_.exceptions) request_.exceptions->AddSent(batch.Row(row), columns_);
    Reject({batch.Origin(row),
            RowError::Refused(at, {refusal.number, refusal.description, "data pump"})});
  }

  void Reject(const BadRow& row) {
    ++counts_.rejected;
    if (request_.exceptions) request_.exceptions->Add(row, request_.source);
    if (counts_.rejected <= request_.maximumErrorCount) return;
    ThrowTooManyRejected(row.error, counts_.rejected, request_.maximumErrorCount);
  }

  void LookAround() {
    if (cancelled_) throw PlatformError(0, "the data pump was cancelled", "data pump");
    if (Steady::now() - reported_ < kProgressInterval) return;
    reported_ = Steady::now();
    progress_(counts_.read);
  }

  const PumpRequest& request_;
  const std::vector<std::string>& columns_;
  std::unique_ptr<ado::BulkLoad> load_;  // null when no column is filled
  const std::function<void(std::int64_t)>& progress_;
  const std::atomic<bool>& cancelled_;
  Steady::time_point reported_ = Steady::now();
  std::vector<RowBatch*> held_;  // sent, and not yet judged
  std::size_t heldBytes_ = 0;
  std::size_t uncommitted_ = 0;
  std::vector<ado::Refusal> refused_;
  PumpCounts counts_;
};

void LoadAll(const PumpRequest& request, RowMapper& mapper, Loader& loader) {
  if (loader.LoadUnseen(mapper)) return;
  MappedBatches batches(request, mapper);
  while (RowBatch* const batch = batches.Next()) {
    if (loader.Take(*batch) && batches.HasNext(kPatience)) continue;
    loader.Settle();
    batches.Release();
  }
}

}  // namespace

void ThrowTooManyRejected(const RowError& last, std::int64_t rejected, std::int64_t allowed) {
  if (allowed == 0) throw last;
  throw PlatformError(last.number,
                      last.Description() + "; " + std::to_string(rejected) +
                          " rows are rejected, and maximum_error_count allows " +
                          std::to_string(allowed),
                      last.source);
}

PumpCounts RunPump(const PumpRequest& request, const std::function<void(std::int64_t)>& progress,
                   const std::atomic<bool>& cancelled) {
  // An empty file that names no columns has no rows either.
  if (request.source.Columns().empty()) return {};
  RowMapper mapper(request);
  Loader loader(request, mapper.Destinations(), progress, cancelled);
  try {
    LoadAll(request, mapper, loader);
    const PumpCounts counts = loader.Finish();
    if (request.settle) request.settle(counts.loaded, mapper.Destinations());
    if (request.exceptions) request.exceptions->End(counts, "");
    return counts;
  } catch (const std::exception& error) {
    if (request.exceptions) request.exceptions->End(loader.Counts(), error.what());
    throw;
  }
}

}  // namespace torvik::engine
