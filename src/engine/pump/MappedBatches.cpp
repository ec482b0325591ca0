#include "engine/pump/MappedBatches.h"

#include <limits>

#include "engine/pump/RowSource.h"
#include "engine/pump/Watermark.h"

namespace torvik::engine {

MappedBatches::MappedBatches(const PumpRequest& request, RowMapper& mapper)
    : request_(request), mapper_(mapper) {
  if (request.source.CanReadAhead() && !request.onOneThread)
    readAhead_.emplace([this](RowBatch& batch) { return Fill(batch); });
}

RowBatch* MappedBatches::Next() {
  if (readAhead_) return readAhead_->Next();
  return Fill(inline_) ? &inline_ : nullptr;
}

bool MappedBatches::Fill(RowBatch& batch) {
  if (mapper_.Ended() || !FetchWanted(batch)) return false;
  mapper_.Map(batch);
  if (request_.watermark != nullptr) request_.watermark->Keep(batch);
  return true;
}

bool MappedBatches::FetchWanted(RowBatch& batch) {
  const std::int64_t from = request_.firstRow;
  const std::int64_t to =
      request_.lastRow > 0 ? request_.lastRow : std::numeric_limits<std::int64_t>::max();
  do {
    if (rows_ >= to || !request_.source.Fetch(batch)) return false;
    const std::int64_t first = rows_ + 1;
    rows_ += static_cast<std::int64_t>(batch.RowCount() + batch.BadRows().size());
    if (first < from || rows_ > to) batch.KeepRange(first, from, to);
  } while (batch.RowCount() == 0 && batch.BadRows().empty());
  return true;
}

}  // namespace torvik::engine
