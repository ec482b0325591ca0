#include "engine/Workflow.h"

#include <algorithm>

namespace torvik::engine {

using dts::StepExecutionResult;
using dts::StepExecutionStatus;

Workflow::Workflow(const std::vector<StepModel>& steps) {
  for (const StepModel& step : steps) {
    states_.emplace_back().name = step.name;
    after_.push_back(step.after);
    disabled_.push_back(step.disabled);
  }
  Reset();
}

void Workflow::Reset() {
  for (std::size_t i = 0; i < states_.size(); ++i) {
    states_[i].status = disabled_[i] ? StepExecutionStatus::Inactive : StepExecutionStatus::Waiting;
    states_[i].result = StepExecutionResult::Success;
  }
}

std::optional<std::size_t> Workflow::Next() const {
  for (std::size_t i = 0; i < states_.size(); ++i) {
    if (states_[i].status == StepExecutionStatus::Waiting &&
        std::all_of(after_[i].begin(), after_[i].end(), [&](auto& one) { return Holds(one); }))
      return i;
  }
  return std::nullopt;
}

bool Workflow::Holds(const Constraint& constraint) const {
  const StepState& other = states_[constraint.step];
  if (other.status != StepExecutionStatus::Completed) return false;
  switch (constraint.outcome) {
    case Outcome::Success: return other.result == StepExecutionResult::Success;
    case Outcome::Failure: return other.result == StepExecutionResult::Failure;
    case Outcome::Completion: break;
  }
  return true;
}

void Workflow::Start(std::size_t step) {
  states_[step].status = StepExecutionStatus::InProgress;
}

void Workflow::End(std::size_t step, bool failed) {
  states_[step].status = StepExecutionStatus::Completed;
  states_[step].result = failed ? StepExecutionResult::Failure : StepExecutionResult::Success;
}

bool Workflow::AnyFailed() const {
  return std::any_of(states_.begin(), states_.end(), [](const StepState& state) {
    return state.result == StepExecutionResult::Failure;
  });
}

}  // namespace torvik::engine
