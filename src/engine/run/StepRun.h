#pragma once

#include <optional>
#include <string>

#include "engine/run/StepContext.h"
#include "platform/PlatformError.h"

namespace torvik::engine {

/// How a step has ended.
struct StepOutcome {
  TaskResult result = {};
  std::optional<PlatformError> failure = {};  ///< Its words hold no passwords.
  bool leftOut = false;                       ///< The step's workflow script wants no run.
  /// The work of earlier steps in the package's transaction is lost.
  bool lostEarlierSteps = false;
};

/// Runs a step's task until it succeeds, fails for good or has no attempt left. A joined step that
/// fails has undone what it did in the transaction. Does not throw for what a task does.
StepOutcome RunStep(RunShared& shared, const StepModel& step, StepCancellation& control);

}  // namespace torvik::engine
