#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "engine/pump/RowBatch.h"

namespace torvik::engine {

/// Fills batches on a thread of its own, a few ahead of whoever takes them; where none can be made,
/// on the thread of whoever takes them. Batches go round, so memory does not grow with the number
/// of rows but with that of batches taken and not released.
class ReadAhead {
 public:
  /// Fills a batch; false when there is nothing more. What it throws comes out of Next().
  using Fill = std::function<bool(RowBatch&)>;

  explicit ReadAhead(Fill fill);
  /// Waits for the fill that is under way; no other is begun.
  ~ReadAhead();

  /// The next batch, in the order in which they were filled, valid until Release. Null when there
  /// are no more. Throws what a fill threw, after the batches before it.
  RowBatch* Next();

  /// True as soon as Next has a batch at once; false when it has none within `patience`.
  bool HasNext(std::chrono::milliseconds patience);

  /// Gives back the batches that were taken.
  void Release();

 private:
  void Run();
  void FillHere();
  std::unique_ptr<RowBatch> BatchToFill();
  std::unique_ptr<RowBatch> FreeBatch();

  const Fill fill_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::unique_ptr<RowBatch>> free_;
  std::deque<std::unique_ptr<RowBatch>> filled_;
  std::vector<std::unique_ptr<RowBatch>> taken_;
  std::exception_ptr error_;
  bool ended_ = false;    // no batch will follow those in filled_
  bool stopped_ = false;  // nobody takes any more
  std::thread thread_;
};

}  // namespace torvik::engine
