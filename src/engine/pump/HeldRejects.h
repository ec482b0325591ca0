#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "engine/pump/RejectedRows.h"
#include "engine/pump/RowBatch.h"

namespace torvik::engine {

/// The rows that several pumps of one file reject at once, until all have ended and their order can
/// be told.
class HeldRejects {
 public:
  static constexpr std::size_t kMostBytes = std::size_t{64} << 20;

  struct Row {
    RowOrigin origin;  ///< Without its bytes.
    std::string bytes;
    RowError error;
    std::string sent;  ///< As comma-separated text; empty unless the destination has refused it.
  };

  /// `stop` is called, on any thread, when no further rows need to be read: more than `tolerated`
  /// are rejected, or those that are held take more than `mostBytes`.
  HeldRejects(std::int64_t tolerated, std::function<void()> stop,
              std::size_t mostBytes = kMostBytes);

  /// Where one of the pumps adds its rows; it must not outlive this object.
  std::unique_ptr<RejectedRows> NewPart();

  /// True when there are more than are tolerated.
  bool AreTooMany() const;
  /// True when some are not held: they take too much memory.
  bool AreTooLarge() const { return isFull_; }
  std::int64_t Count() const { return count_; }

  /// Those that are held, in the order in which they stand in the file. Belongs behind the pumps.
  std::vector<Row> TakeInOrder();

 private:
  class Part;
  void Hold(Row row);

  const std::int64_t tolerated_;
  const std::function<void()> stop_;
  const std::size_t mostBytes_;
  std::atomic<std::int64_t> count_ = 0;
  std::atomic<bool> isFull_ = false;
  std::mutex mutex_;  // of the rows
  std::size_t bytes_ = 0;
  std::vector<Row> rows_;
};

}  // namespace torvik::engine
