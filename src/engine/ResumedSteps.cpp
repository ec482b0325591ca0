#include "engine/ResumedSteps.h"

#include <algorithm>
#include <utility>

#include "engine/model/Problems.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

/// Why a step that has succeeded cannot be left out; empty when it can.
std::string WhyNeeded(const PackageModel& package, const StepModel& step) {
  if (package.useTransaction && step.joinTransaction)
    return "it is part of the package's transaction";
  if (step.task->SetsVariables() || step.workflowScript)
    return "it sets variables that later steps may need";
  return {};
}

bool RunsEachTime(const StepModel& step) {
  return step.disabled || step.taskKind == "SetVariables";
}

}  // namespace

std::vector<std::size_t> StepsToLeaveOut(const PackageModel& package,
                                         const std::vector<std::string>& succeeded) {
  const std::vector<StepModel>& steps = package.steps;
  std::vector<bool> isLeftOut(steps.size());
  const auto mayBeLeftOut = [&](std::size_t i) {
    return !isLeftOut[i] && !RunsEachTime(steps[i]) &&
           std::ranges::find(succeeded, steps[i].name) != succeeded.end() &&
           std::ranges::all_of(steps[i].after, [&](const Constraint& constraint) {
             return constraint.outcome != Outcome::Failure &&
                    (isLeftOut[constraint.step] || RunsEachTime(steps[constraint.step]));
           });
  };
  std::vector<std::size_t> order;
  for (bool hasFound = true; std::exchange(hasFound, false);)
    for (std::size_t i = 0; i < steps.size(); ++i) {
      if (!mayBeLeftOut(i)) continue;
      if (const std::string why = WhyNeeded(package, steps[i]); !why.empty())
        throw PlatformError(0,
                            "step " + Quoted(steps[i].name) +
                                " can be neither left out nor run "
                                "again: " +
                                why + "; run the job anew",
                            "package engine");
      isLeftOut[i] = hasFound = true;
      order.push_back(i);
    }
  return order;
}

}  // namespace torvik::engine
