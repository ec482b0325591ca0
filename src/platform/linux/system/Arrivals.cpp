#include "platform/linux/system/Arrivals.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace torvik {
namespace {

/// Waiting for the disk takes no processor; a disk takes several syncs for hardly more than one.
constexpr std::size_t kWorkers = 8;
/// Files are open until they are in place.
constexpr std::size_t kOnTheirWay = 64;

}  // namespace

Arrivals::~Arrivals() {
  try {
    Finish();
  } catch (const std::exception&) {
    // The files are in place; that their names are on disk is not promised without an answer.
  }
  {
    const std::lock_guard lock(mutex_);
    isEnding_ = true;
  }
  hasCome_.notify_all();
  for (std::thread& worker : workers_) worker.join();
}

Arrivals::Failure Arrivals::Take(FileReplacement file) {
  std::unique_lock lock(mutex_);
  hasGone_.wait(lock, [this] { return arrivals_.size() < kOnTheirWay; });
  if (failure_) return failure_;
  arrivals_.push_back({std::move(file)});
  AddWorker();
  hasCome_.notify_one();
  // Without any worker the file is put in place here.
  while (workers_.empty() && !arrivals_.empty()) SyncOne(lock, arrivals_.front());
  return failure_;
}

void Arrivals::AddWorker() {
  if (workers_.size() >= std::min(kWorkers, arrivals_.size())) return;
  try {
    workers_.emplace_back([this] { Work(); });
  } catch (const std::exception&) {
    // Those that are there do the work.
  }
}

Arrivals::Failure Arrivals::Finish() {
  std::unique_lock lock(mutex_);
  hasGone_.wait(lock, [this] { return arrivals_.empty(); });
  if (!last_.empty() && !failure_) failure_ = {last_, SyncDirectoryOf(last_)};
  last_.clear();
  return std::exchange(failure_, {});
}

Arrivals::Arrival* Arrivals::NextToSync() {
  for (Arrival& arrival : arrivals_)
    if (!arrival.isBegun) return &arrival;
  return nullptr;
}

void Arrivals::Work() {
  std::unique_lock lock(mutex_);
  while (true) {
    Arrival* arrival = nullptr;
    hasCome_.wait(lock, [&] { return isEnding_ || (arrival = NextToSync()) != nullptr; });
    if (arrival == nullptr) return;
    SyncOne(lock, *arrival);
  }
}

void Arrivals::SyncOne(std::unique_lock<std::mutex>& lock, Arrival& arrival) {
  arrival.isBegun = true;
  lock.unlock();
  arrival.error = arrival.file.Sync();
  lock.lock();
  arrival.isSynced = true;
  PutInPlace();
  hasGone_.notify_one();
}

/// Of those that are synced, the ones that no other is before.
void Arrivals::PutInPlace() {
  for (; !arrivals_.empty() && arrivals_.front().isSynced; arrivals_.pop_front()) {
    if (failure_) continue;
    Arrival& arrival = arrivals_.front();
    if (!arrival.error) arrival.error = arrival.file.PutInPlace();
    // Swapped, not copied: this must not fail for want of memory.
    arrival.file.SwapTarget(arrival.error ? failure_.path : last_);
    failure_.error = arrival.error;
  }
}

}  // namespace torvik
