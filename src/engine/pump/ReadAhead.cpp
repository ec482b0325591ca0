#include "engine/pump/ReadAhead.h"

#include <algorithm>
#include <iterator>
#include <system_error>
#include <utility>

namespace torvik::engine {
namespace {

/// Those filled, and the one being filled.
constexpr std::size_t kBatchesAhead = 2;

}  // namespace

ReadAhead::ReadAhead(Fill fill) : fill_(std::move(fill)) {
  try {
    thread_ = std::thread([this] { Run(); });
  } catch (const std::system_error&) {
    // Whoever takes a batch fills it then.
  }
}

ReadAhead::~ReadAhead() {
  {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
  }
  changed_.notify_all();
  if (thread_.joinable()) thread_.join();
}

RowBatch* ReadAhead::Next() {
  std::unique_lock lock(mutex_);
  if (!thread_.joinable()) FillHere();
  changed_.wait(lock, [this] { return !filled_.empty() || ended_; });
  if (filled_.empty()) {
    if (error_) std::rethrow_exception(error_);
    return nullptr;
  }
  taken_.push_back(std::move(filled_.front()));
  filled_.pop_front();
  changed_.notify_all();
  return taken_.back().get();
}

bool ReadAhead::HasNext(std::chrono::milliseconds patience) {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, patience,
                    [this] { return !filled_.empty() || ended_ || !thread_.joinable(); });
  return !filled_.empty();
}

void ReadAhead::Release() {
  const std::lock_guard lock(mutex_);
  std::ranges::move(taken_, std::back_inserter(free_));
  taken_.clear();
}

/// Null when nobody takes any more.
std::unique_ptr<RowBatch> ReadAhead::BatchToFill() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return filled_.size() < kBatchesAhead || stopped_; });
  return stopped_ ? nullptr : FreeBatch();
}

void ReadAhead::FillHere() {
  std::unique_ptr<RowBatch> batch = FreeBatch();
  ended_ = !fill_(*batch);
  if (!ended_) filled_.push_back(std::move(batch));
}

std::unique_ptr<RowBatch> ReadAhead::FreeBatch() {
  if (free_.empty()) return std::make_unique<RowBatch>();
  std::unique_ptr<RowBatch> batch = std::move(free_.back());
  free_.pop_back();
  return batch;
}

void ReadAhead::Run() {
  std::exception_ptr error;
  try {
    while (std::unique_ptr<RowBatch> batch = BatchToFill()) {
      if (!fill_(*batch)) break;
      const std::lock_guard lock(mutex_);
      filled_.push_back(std::move(batch));
      changed_.notify_all();
    }
  } catch (...) {
    error = std::current_exception();
  }
  const std::lock_guard lock(mutex_);
  error_ = error;
  ended_ = true;
  changed_.notify_all();
}

}  // namespace torvik::engine
