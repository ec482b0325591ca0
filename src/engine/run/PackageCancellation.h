#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "engine/run/StepCancellation.h"
#include "platform/PlatformError.h"

namespace torvik::engine {

/// The steps of a package that run now, and the failure that ends the package: from then on every
/// step is to end. Safe for several threads.
class PackageCancellation {
 public:
  explicit PackageCancellation(Clock& clock) : clock_(clock) {}

  std::shared_ptr<StepCancellation> Add();
  void Remove(const std::shared_ptr<StepCancellation>& control);

  /// The first failure stays. `endReason` is what the steps that still run end for.
  void Fail(const PlatformError& failure, const std::string& endReason);

  std::optional<PlatformError> Failure() const;

  /// Looks at each step; to be called every few milliseconds.
  void Look();

 private:
  Clock& clock_;
  mutable std::mutex mutex_;  // of all below
  std::vector<std::shared_ptr<StepCancellation>> controls_;
  std::optional<PlatformError> failure_;
  std::string endReason_;
};

}  // namespace torvik::engine
