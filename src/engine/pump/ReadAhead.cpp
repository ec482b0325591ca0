#include "engine/pump/ReadAhead.h"

#include <system_error>
#include <utility>

namespace torvik::engine {
namespace {

constexpr std::size_t kBatches = 3;

}  // namespace

ReadAhead::ReadAhead(Fill fill) : fill_(std::move(fill)) {
  for (std::size_t i = 0; i < kBatches; ++i) free_.push_back(std::make_unique<RowBatch>());
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
  if (!thread_.joinable()) return fill_(*free_.front()) ? free_.front().get() : nullptr;
  std::unique_lock lock(mutex_);
  if (taken_) free_.push_back(std::move(taken_));
  changed_.notify_all();
  changed_.wait(lock, [this] { return !filled_.empty() || ended_; });
  if (filled_.empty()) {
    if (error_) std::rethrow_exception(error_);
    return nullptr;
  }
  taken_ = std::move(filled_.front());
  filled_.pop_front();
  return taken_.get();
}

/// An empty batch; null when nobody takes any more.
std::unique_ptr<RowBatch> ReadAhead::TakeFree() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return !free_.empty() || stopped_; });
  if (stopped_) return nullptr;
  std::unique_ptr<RowBatch> batch = std::move(free_.back());
  free_.pop_back();
  return batch;
}

void ReadAhead::Run() {
  std::exception_ptr error;
  try {
    while (std::unique_ptr<RowBatch> batch = TakeFree()) {
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
