#include "nights/NightSteps.h"

#include <algorithm>
#include <functional>

#include "engine/model/Variables.h"
#include "platform/PlatformError.h"

namespace torvik::nights {
namespace {

/// Why a batch system cannot do the step; empty when it can.
std::string WhyNotAlone(const engine::StepModel& step) {
  if (!step.task->Job())
    return "it is no job (" + step.taskKind +
           "); put it into the package of a job, and run that by RunJob";
  if (step.workflowScript)
    return "its workflow script decides while the night runs; put it into the job's own package";
  return {};
}

NightStep StepOf(const engine::StepModel& step, const engine::Variables& values) {
  const engine::JobCall call = *step.task->Job();
  NightStep made;
  made.name = step.name;
  made.job = values.Substitute(call.file);
  made.statusFile = values.Substitute(call.statusFile);
  for (const auto& [name, text] : call.variables)
    made.variables.emplace_back(name, values.Substitute(text));
  made.after = step.after;
  made.limits = step.limits;
  made.retries = step.retries;
  made.retryDelay = step.retryDelay;
  made.timeout = step.timeout;
  made.priority = step.priority;
  made.isDisabled = step.disabled;
  return made;
}

/// The answer for each step, from those for the steps before it. Packages have no circles.
template <typename Answer>
std::vector<Answer> FromThoseBefore(
    const std::vector<NightStep>& steps,
    const std::function<Answer(std::size_t, const std::vector<Answer>&)>& answer) {
  std::vector<Answer> answers(steps.size());
  std::vector<bool> isDone(steps.size());
  std::vector<std::size_t> open;
  for (std::size_t first = 0; first < steps.size(); ++first) {
    open.push_back(first);
    while (!open.empty()) {
      const std::size_t at = open.back();
      const std::size_t waiting = open.size();
      if (!isDone[at])
        for (const engine::Constraint& one : steps[at].after)
          if (!isDone[one.step]) open.push_back(one.step);
      if (open.size() > waiting) continue;
      open.pop_back();
      if (!isDone[at]) answers[at] = answer(at, answers);
      isDone[at] = true;
    }
  }
  return answers;
}

}  // namespace

std::vector<NightStep> NightStepsOf(const engine::PackageModel& package,
                                    const engine::Variables& values) {
  std::vector<NightStep> steps;
  std::string problems;
  for (const engine::StepModel& step : package.steps) {
    if (const std::string reason = WhyNotAlone(step); !reason.empty())
      problems +=
          (problems.empty() ? "" : "\n") + std::string("the step \"") + step.name + "\": " + reason;
    else
      steps.push_back(StepOf(step, values));
  }
  if (!problems.empty()) throw PlatformError(0, problems, "night");
  return steps;
}

std::vector<bool> NeverReached(const std::vector<NightStep>& steps,
                               const std::vector<bool>& isDone) {
  return FromThoseBefore<bool>(steps, [&](std::size_t at, const std::vector<bool>& before) {
    if (isDone[at] || steps[at].isDisabled) return !isDone[at];
    return std::ranges::any_of(steps[at].after, [&](const engine::Constraint& one) {
      return before[one.step] || (isDone[one.step] && one.outcome == engine::Outcome::Failure);
    });
  });
}

std::vector<std::size_t> LevelsOf(const std::vector<NightStep>& steps) {
  return FromThoseBefore<std::size_t>(steps,
                                      [&](std::size_t at, const std::vector<std::size_t>& before) {
                                        std::size_t level = 0;
                                        for (const engine::Constraint& one : steps[at].after)
                                          level = std::max(level, before[one.step] + 1);
                                        return level;
                                      });
}

}  // namespace torvik::nights
