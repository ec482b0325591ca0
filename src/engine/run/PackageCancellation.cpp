#include "engine/run/PackageCancellation.h"

namespace torvik::engine {

std::shared_ptr<StepCancellation> PackageCancellation::Add() {
  const std::lock_guard lock(mutex_);
  auto control = std::make_shared<StepCancellation>(clock_);
  if (failure_) control->Cancel(endReason_);
  controls_.push_back(control);
  return control;
}

void PackageCancellation::Remove(const std::shared_ptr<StepCancellation>& control) {
  const std::lock_guard lock(mutex_);
  std::erase(controls_, control);
}

void PackageCancellation::Fail(const PlatformError& failure, const std::string& endReason) {
  const std::lock_guard lock(mutex_);
  if (failure_) return;
  failure_ = failure;
  endReason_ = endReason;
  for (const auto& control : controls_) control->Cancel(endReason);
}

std::optional<PlatformError> PackageCancellation::Failure() const {
  const std::lock_guard lock(mutex_);
  return failure_;
}

void PackageCancellation::Look() {
  // Outside the lock: to cancel a statement may take as long as a server takes.
  std::vector<std::shared_ptr<StepCancellation>> controls;
  {
    const std::lock_guard lock(mutex_);
    controls = controls_;
  }
  for (const auto& control : controls) control->Look();
}

}  // namespace torvik::engine
