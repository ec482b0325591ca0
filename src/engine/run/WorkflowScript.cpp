#include "engine/run/WorkflowScript.h"

#include "engine/model/EngineServices.h"
#include "engine/model/PackageScript.h"
#include "engine/model/PeriodicThread.h"
#include "engine/model/Problems.h"
#include "platform/Ado.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

/// DTSStepScriptResult of the package object model.
enum class StepScriptResult : long { ExecuteTask = 0, DontExecuteTask = 1, RetryLater = 2 };

/// A script that has not made up its mind by then never will.
constexpr int kMostTimes = 10'000;

}  // namespace

bool WantsToRun(RunShared& shared, const StepModel& step, StepCancellation& control) {
  PackageScript script(*step.workflowScript, {shared.request.variables, shared.request.services,
                                              shared.control, step.name});
  const PeriodicThread watch([&] {
    if (control.Cancelled()) script.Cancel();
  });
  for (int times = 1; times <= kMostTimes; ++times) {
    const long result = script.CallForNumber("the workflow script failed");
    switch (static_cast<StepScriptResult>(result)) {
      case StepScriptResult::ExecuteTask: return true;
      case StepScriptResult::DontExecuteTask: return false;
      case StepScriptResult::RetryLater: break;
      default:
        throw PlatformError(0,
                            "the workflow script answers " + std::to_string(result) +
                                ", which is no DTSStepScriptResult; answer "
                                "DTSStepScriptResult_ExecuteTask",
                            "script");
    }
    if (!control.Wait(step.retryDelay) || control.Cancelled())
      throw PlatformError(0, "its workflow script was still waiting", "script");
  }
  throw PlatformError(
      0, "the workflow script has asked " + std::to_string(kMostTimes) + " times to be run later",
      "script");
}

}  // namespace torvik::engine
