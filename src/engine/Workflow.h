#pragma once

#include <optional>
#include <string>
#include <vector>

#include "engine/PackageModel.h"
#include "platform/Dts.h"

namespace torvik::engine {

/// How one step stands.
struct StepState final : dts::Step {
  const std::string& Name() const override { return name; }
  dts::StepExecutionStatus ExecutionStatus() const override { return status; }
  dts::StepExecutionResult ExecutionResult() const override { return result; }

  std::string name;
  dts::StepExecutionStatus status = dts::StepExecutionStatus::Waiting;
  dts::StepExecutionResult result = dts::StepExecutionResult::Success;
};

/// Which step may run next, and how those that ran have ended. A step whose constraint can no
/// longer hold stays waiting; a disabled one is inactive.
class Workflow {
 public:
  Workflow() = default;
  explicit Workflow(const std::vector<StepModel>& steps);

  /// Every step stands as before the first execution.
  void Reset();

  /// The first step, in the order of the document, that waits and whose constraints all hold.
  std::optional<std::size_t> Next() const;

  void Start(std::size_t step);
  void End(std::size_t step, bool failed);

  bool AnyFailed() const;
  const std::vector<StepState>& States() const { return states_; }

 private:
  bool Holds(const Constraint& constraint) const;

  std::vector<StepState> states_;
  std::vector<std::vector<Constraint>> after_;  // of each step
  std::vector<bool> disabled_;
};

}  // namespace torvik::engine
