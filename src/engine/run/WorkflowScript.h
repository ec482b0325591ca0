#pragma once

#include "engine/run/StepContext.h"

namespace torvik::engine {

/// Asks the step's workflow script, again and again while it wants the step later. True: the task
/// is to run; false: the step is left out. Throws PlatformError when the script fails, answers
/// something else, or never comes to an end of its waiting.
bool WantsToRun(RunShared& shared, const StepModel& step, StepCancellation& control);

}  // namespace torvik::engine
