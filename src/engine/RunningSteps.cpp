#include "engine/RunningSteps.h"

namespace torvik::engine {

std::shared_ptr<StepControl> RunningSteps::Add() {
  const std::lock_guard lock(mutex_);
  auto control = std::make_shared<StepControl>(clock_);
  if (failure_) control->Cancel(endReason_);
  controls_.push_back(control);
  return control;
}

void RunningSteps::Remove(const std::shared_ptr<StepControl>& control) {
  const std::lock_guard lock(mutex_);
  std::erase(controls_, control);
}

void RunningSteps::Fail(const PlatformError& failure, const std::string& endReason) {
  const std::lock_guard lock(mutex_);
  if (failure_) return;
  failure_ = failure;
  endReason_ = endReason;
  for (const auto& control : controls_) control->Cancel(endReason);
}

std::optional<PlatformError> RunningSteps::Failure() const {
  const std::lock_guard lock(mutex_);
  return failure_;
}

void RunningSteps::Look() {
  // Outside the lock: to cancel a statement may take as long as a server takes.
  std::vector<std::shared_ptr<StepControl>> controls;
  {
    const std::lock_guard lock(mutex_);
    controls = controls_;
  }
  for (const auto& control : controls) control->Look();
}

}  // namespace torvik::engine
