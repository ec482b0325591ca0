#pragma once

#include <cstdint>
#include <optional>

#include "engine/pump/ReadAhead.h"
#include "engine/pump/RowBatch.h"
#include "engine/pump/RowMapper.h"

namespace torvik::engine {

/// The batches of a pump's source, cut to the rows that are wanted and mapped; read ahead where
/// nothing stands against it.
class MappedBatches {
 public:
  /// Both must outlive it.
  MappedBatches(const PumpRequest& request, RowMapper& mapper);

  /// The next batch, valid until Release; null when there are no more. Where none are read ahead,
  /// one at a time.
  RowBatch* Next();

  /// True as soon as Next has another batch at once; false when it has none within `patience`, and
  /// where none are read ahead.
  bool HasNext(std::chrono::milliseconds patience) {
    return readAhead_ && readAhead_->HasNext(patience);
  }

  /// Gives back the batches that Next has answered.
  void Release() {
    if (readAhead_) readAhead_->Release();
  }

 private:
  bool Fill(RowBatch& batch);
  bool FetchWanted(RowBatch& batch);

  const PumpRequest& request_;
  RowMapper& mapper_;
  std::int64_t rows_ = 0;  // fetched so far
  RowBatch inline_;
  std::optional<ReadAhead> readAhead_;
};

}  // namespace torvik::engine
