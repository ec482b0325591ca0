#pragma once

#include <span>
#include <string>

#include "platform/Bulk.h"

namespace torvik::engine {

struct BadRow;
struct PumpCounts;
class RowSource;

/// What becomes of the rows that a pump rejects. What cannot be kept throws PlatformError.
class RejectedRows {
 public:
  virtual ~RejectedRows() = default;

  virtual void Add(const BadRow& row, const RowSource& source) = 0;
  /// Of the row that is added next, when the destination has refused it. `sent`: the values that
  /// the destination `columns` were to have.
  virtual void AddSent(std::span<const ado::LoadValue> sent,
                       std::span<const std::string> columns) = 0;

  /// A batch has ended.
  virtual void Flush() = 0;
  /// The pump has ended; `failure` is empty when it ended well.
  virtual void End(const PumpCounts& counts, const std::string& failure) = 0;
};

}  // namespace torvik::engine
