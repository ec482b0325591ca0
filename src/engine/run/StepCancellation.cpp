#include "engine/run/StepCancellation.h"

#include <algorithm>

#include "engine/model/Problems.h"
#include "platform/Ado.h"
#include "platform/Clock.h"
#include "platform/PlatformError.h"

namespace torvik::engine {

void StepCancellation::BeginAttempt(std::optional<std::chrono::seconds> timeout) {
  const std::lock_guard lock(mutex_);
  timeout_ = timeout;
  began_ = clock_.Steady();
  attemptReason_.clear();
  cancelled_ = !endReason_.empty();
}

std::string StepCancellation::EndAttempt() {
  const std::lock_guard lock(mutex_);
  held_.clear();
  timeout_.reset();
  return endReason_.empty() ? attemptReason_ : endReason_;
}

void StepCancellation::Hold(ado::Connection& connection) {
  const std::lock_guard lock(mutex_);
  if (std::ranges::find(held_, &connection) == held_.end()) held_.push_back(&connection);
}

void StepCancellation::Release(ado::Connection& connection) {
  const std::lock_guard lock(mutex_);
  std::erase(held_, &connection);
}

void StepCancellation::Cancel(const std::string& reason) {
  const std::lock_guard lock(mutex_);
  if (endReason_.empty()) endReason_ = reason;
  cancelled_ = true;
  changed_.notify_all();
}

void StepCancellation::Look() {
  const std::lock_guard lock(mutex_);
  if (timeout_ && !cancelled_ && clock_.Steady() - began_ >= *timeout_) {
    attemptReason_ = "the step took longer than its " + CountOf(timeout_->count(), "second") +
                     " (timeout_seconds)";
    cancelled_ = true;
  }
  if (!cancelled_) return;
  for (ado::Connection* connection : held_) {
    try {
      connection->Cancel();
    } catch (const PlatformError&) {
      // The next look tries again.
    }
  }
}

bool StepCancellation::Wait(std::chrono::milliseconds duration) {
  constexpr std::chrono::milliseconds kSlice(20);  // the clock may run at a pace of its own
  const auto begin = clock_.Steady();
  std::unique_lock lock(mutex_);
  while (endReason_.empty()) {
    if (clock_.Steady() - begin >= duration) return true;
    changed_.wait_for(lock, kSlice);
  }
  return false;
}

}  // namespace torvik::engine
