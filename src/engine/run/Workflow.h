#pragma once

#include <array>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "engine/model/PackageModel.h"
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

/// How a step that was started has ended; one that was left out is inactive.
enum class StepEnd { Succeeded, Failed, LeftOut };

/// Which of the steps that are ready may be taken.
struct StepChoice {
  bool anyThread = true;    ///< Those that run on any thread.
  bool mainThread = true;   ///< Those that are kept on the package's own thread.
  bool transaction = true;  ///< Those that use the package's transaction, besides the others.
};

/// Which step may run next, and how those that ran have ended. A step whose constraint can no
/// longer hold stays waiting; a disabled one is inactive. Used by one thread at a time.
class Workflow {
 public:
  Workflow() = default;
  explicit Workflow(const std::vector<StepModel>& steps);

  /// Every step stands as before the first execution.
  void Reset();

  /// Of the steps that wait and whose constraints all hold, the one with the highest priority;
  /// among equals the first in the order of the document.
  std::optional<std::size_t> Next(const StepChoice& choice = {}) const;
  /// How many there are to choose from.
  std::size_t ReadyCount(const StepChoice& choice) const;

  void Start(std::size_t step);
  void End(std::size_t step, StepEnd end);

  /// A step that has ended waits once more, and so do those whose constraints on it held; one that
  /// runs does so after its end. A step that has failed once counts as failed.
  void RunAgain(std::size_t step);
  /// Until Reset; a step that runs goes on.
  void SetDisabled(std::size_t step, bool disabled);
  bool IsDisabled(std::size_t step) const { return rules_[step].disabled; }

  /// True for a step that joins the package's transaction, commits it or rolls it back.
  bool UsesTransaction(std::size_t step) const { return rules_[step].usesTransaction; }

  bool AnyFailed() const { return failures_ > 0; }
  const std::vector<StepState>& States() const { return states_; }

 private:
  /// What the document says of one step.
  struct Rule {
    int priority = 3;
    bool disabled = false, disabledAtFirst = false;
    bool mainThread = false;
    bool usesTransaction = false;
    std::size_t constraints = 0;
    std::vector<Constraint> before;  ///< Those of later steps on this one; `step` is the later one.
  };
  /// The steps that are ready, of one kind: the highest priority first, then by position.
  using Ready = std::set<std::pair<int, std::size_t>>;

  template <typename Look>
  void ForEachChosen(const StepChoice& choice, const Look& look) const;
  Ready& ReadyOf(std::size_t step);
  std::pair<int, std::size_t> Rank(std::size_t step) const;
  void MakeReady(std::size_t step);

  std::vector<StepState> states_;
  std::vector<Rule> rules_;
  /// How the last run of a step has ended, and whether it is to run again after this one.
  struct LastRun {
    bool failed = false, again = false;
  };

  std::vector<std::size_t> open_;  // of each step: constraints that do not hold yet
  std::vector<LastRun> last_;
  std::array<Ready, 4> ready_;  // by thread and use of the transaction
  std::size_t failures_ = 0;
};

}  // namespace torvik::engine
