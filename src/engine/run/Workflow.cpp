#include "engine/run/Workflow.h"

#include <utility>

namespace torvik::engine {

using dts::StepExecutionResult;
using dts::StepExecutionStatus;

namespace {

/// Whether a step that has ended lets a constraint on it hold.
bool Holds(Outcome wanted, bool failed) {
  switch (wanted) {
    case Outcome::Success: return !failed;
    case Outcome::Failure: return failed;
    case Outcome::Completion: break;
  }
  return true;
}

}  // namespace

Workflow::Workflow(const std::vector<StepModel>& steps)
    : states_(steps.size()), rules_(steps.size()) {
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const StepModel& step = steps[i];
    states_[i].name = step.name;
    Rule& rule = rules_[i];
    rule.priority = step.priority;
    rule.disabledAtFirst = step.disabled;
    rule.mainThread = step.executeInMainThread;
    rule.usesTransaction = step.joinTransaction || step.commitSuccess || step.rollbackFailure;
    rule.constraints = step.after.size();
    for (const Constraint& constraint : step.after)
      rules_[constraint.step].before.push_back({i, constraint.outcome});
  }
  Reset();
}

void Workflow::Reset() {
  failures_ = 0;
  open_.assign(states_.size(), 0);
  last_.assign(states_.size(), {});
  for (Ready& ready : ready_) ready.clear();
  for (std::size_t i = 0; i < states_.size(); ++i) {
    rules_[i].disabled = rules_[i].disabledAtFirst;
    states_[i].status =
        rules_[i].disabled ? StepExecutionStatus::Inactive : StepExecutionStatus::Waiting;
    states_[i].result = StepExecutionResult::Success;
    open_[i] = rules_[i].constraints;
    if (open_[i] == 0) MakeReady(i);
  }
}

Workflow::Ready& Workflow::ReadyOf(std::size_t step) {
  return ready_[(rules_[step].mainThread ? 1u : 0u) + (rules_[step].usesTransaction ? 2u : 0u)];
}

std::pair<int, std::size_t> Workflow::Rank(std::size_t step) const {
  return {-rules_[step].priority, step};
}

void Workflow::MakeReady(std::size_t step) {
  if (!rules_[step].disabled) ReadyOf(step).insert(Rank(step));
}

template <typename Look>
void Workflow::ForEachChosen(const StepChoice& choice, const Look& look) const {
  for (std::size_t kind = 0; kind < ready_.size(); ++kind) {
    const bool isMain = (kind & 1) != 0;
    if (!(isMain ? choice.mainThread : choice.anyThread)) continue;
    if ((kind & 2) == 0 || choice.transaction) look(ready_[kind]);
  }
}

std::optional<std::size_t> Workflow::Next(const StepChoice& choice) const {
  std::optional<std::pair<int, std::size_t>> best;
  ForEachChosen(choice, [&](const Ready& ready) {
    if (!ready.empty() && (!best || *ready.begin() < *best)) best = *ready.begin();
  });
  if (!best) return std::nullopt;
  return best->second;
}

std::size_t Workflow::ReadyCount(const StepChoice& choice) const {
  std::size_t count = 0;
  ForEachChosen(choice, [&](const Ready& ready) { count += ready.size(); });
  return count;
}

void Workflow::Start(std::size_t step) {
  ReadyOf(step).erase(Rank(step));
  states_[step].status = StepExecutionStatus::InProgress;
}

void Workflow::End(std::size_t step, StepEnd end) {
  const bool again = std::exchange(last_[step].again, false);
  if (end == StepEnd::LeftOut) {
    states_[step].status = StepExecutionStatus::Inactive;
  } else {
    const bool failed = end == StepEnd::Failed;
    states_[step].status = StepExecutionStatus::Completed;
    if (failed) states_[step].result = StepExecutionResult::Failure;
    if (failed) ++failures_;
    last_[step].failed = failed;
    for (const Constraint& later : rules_[step].before)
      if (Holds(later.outcome, failed) && --open_[later.step] == 0) MakeReady(later.step);
  }
  if (again) RunAgain(step);
}

void Workflow::RunAgain(std::size_t step) {
  StepState& state = states_[step];
  if (state.status == StepExecutionStatus::InProgress) last_[step].again = true;
  const bool hasEnded = state.status == StepExecutionStatus::Completed ||
                        (state.status == StepExecutionStatus::Inactive && !rules_[step].disabled);
  if (!hasEnded) return;
  const bool hasRun = state.status == StepExecutionStatus::Completed;
  state.status =
      rules_[step].disabled ? StepExecutionStatus::Inactive : StepExecutionStatus::Waiting;
  if (open_[step] == 0) MakeReady(step);
  if (!hasRun) return;
  for (const Constraint& later : rules_[step].before) {
    if (!Holds(later.outcome, last_[step].failed)) continue;
    if (open_[later.step]++ == 0) ReadyOf(later.step).erase(Rank(later.step));
    RunAgain(later.step);
  }
}

void Workflow::SetDisabled(std::size_t step, bool disabled) {
  StepState& state = states_[step];
  rules_[step].disabled = disabled;
  if (disabled && state.status == StepExecutionStatus::Waiting) {
    ReadyOf(step).erase(Rank(step));
    state.status = StepExecutionStatus::Inactive;
  } else if (!disabled && state.status == StepExecutionStatus::Inactive) {
    state.status = StepExecutionStatus::Waiting;
    if (open_[step] == 0) MakeReady(step);
  }
}

}  // namespace torvik::engine
