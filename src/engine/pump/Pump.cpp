#include "engine/pump/Pump.h"

#include <chrono>
#include <optional>

#include "engine/pump/ReadAhead.h"
#include "engine/pump/RowBatch.h"
#include "engine/pump/RowError.h"
#include "engine/pump/RowMapper.h"
#include "engine/pump/RowSource.h"

namespace torvik::engine {
namespace {

/// The batches of a source, mapped; read ahead where the source allows that.
class MappedBatches {
 public:
  MappedBatches(RowSource& source, RowMapper& mapper) : source_(source), mapper_(mapper) {
    if (source.CanReadAhead()) readAhead_.emplace([this](RowBatch& batch) { return Fill(batch); });
  }

  const RowBatch* Next() {
    if (readAhead_) return readAhead_->Next();
    return Fill(inline_) ? &inline_ : nullptr;
  }

 private:
  bool Fill(RowBatch& batch) {
    if (!source_.Fetch(batch)) return false;
    mapper_.Map(batch);
    return true;
  }

  RowSource& source_;
  RowMapper& mapper_;
  RowBatch inline_;
  std::optional<ReadAhead> readAhead_;
};

/// Hands rows to the server and tells how far it is.
class Loader {
 public:
  Loader(const PumpRequest& request, std::span<const std::string> columns,
         const std::function<void(std::int64_t)>& progress, const std::atomic<bool>& cancelled)
      : source_(request.source),
        load_(request.destination.OpenBulkLoad(request.table, columns)),
        progress_(progress),
        cancelled_(cancelled) {}

  void Load(const RowBatch& batch) {
    for (std::size_t row = 0; row < batch.RowCount(); ++row) {
      if (counts_.read % kRowsPerLook == 0) LookAround();
      Append(batch, row);
      ++counts_.read;
    }
  }

  PumpCounts Finish() {
    LookAround();
    counts_.loaded = load_->Finish();
    if (counts_.loaded != counts_.read)
      throw PlatformError(0,
                          std::to_string(counts_.read) + " rows were read but the server took " +
                              std::to_string(counts_.loaded) + "; nothing of them may be kept",
                          "data pump");
    return counts_;
  }

 private:
  using Steady = std::chrono::steady_clock;
  static constexpr std::int64_t kRowsPerLook = 64;
  static constexpr std::chrono::milliseconds kProgressInterval{100};

  void LookAround() {
    if (cancelled_) throw PlatformError(0, "the data pump was cancelled", "data pump");
    if (Steady::now() - reported_ < kProgressInterval) return;
    reported_ = Steady::now();
    progress_(counts_.read);
  }

  void Append(const RowBatch& batch, std::size_t row) {
    try {
      load_->Append(batch.Row(row));
    } catch (const PlatformError& error) {
      throw RowError::Refused({source_.PlaceOf(batch, row)}, error);
    }
  }

  const RowSource& source_;
  std::unique_ptr<ado::BulkLoad> load_;
  const std::function<void(std::int64_t)>& progress_;
  const std::atomic<bool>& cancelled_;
  Steady::time_point reported_ = Steady::now();
  PumpCounts counts_;
};

}  // namespace

PumpCounts RunPump(const PumpRequest& request, const std::function<void(std::int64_t)>& progress,
                   const std::atomic<bool>& cancelled) {
  // An empty file that names no columns has no rows either.
  if (request.source.Columns().empty()) return {};
  RowMapper mapper(request);
  Loader loader(request, mapper.Destinations(), progress, cancelled);
  MappedBatches batches(request.source, mapper);
  while (const RowBatch* batch = batches.Next()) loader.Load(*batch);
  return loader.Finish();
}

}  // namespace torvik::engine
