#include "engine/run/StepRun.h"

#include "engine/model/Problems.h"
#include "engine/model/Variables.h"
#include "engine/run/StepPlaces.h"
#include "engine/run/WorkflowScript.h"
#include "platform/Ado.h"
#include "platform/Clock.h"

namespace torvik::engine {
namespace {

PlatformError AsPlatformError(const std::exception& error) {
  if (const auto* known = dynamic_cast<const PlatformError*>(&error)) return *known;
  return PlatformError(0, WordsOf(error), "package engine");
}

class StepRun {
 public:
  StepRun(RunShared& shared, const StepModel& step, StepCancellation& control)
      : shared_(shared),
        step_(step),
        control_(control),
        joined_(step.joinTransaction && shared.request.package.useTransaction) {}

  StepOutcome Run() {
    if (step_.workflowScript) {
      StepOutcome outcome = AskScript();
      if (outcome.leftOut || outcome.failure) return outcome;
    }
    try {
      const StepPlaces places(shared_.request.services.limits, step_.limits,
                              [this](const std::string& line) { return WaitForPlace(line); });
      return places.AreTaken() ? TryUntilItEnds() : NotBegun();
    } catch (const std::exception& error) {
      return {.failure = Told(AsPlatformError(error), "")};
    }
  }

 private:
  StepOutcome TryUntilItEnds() {
    for (std::int64_t attempt = 1;; ++attempt) {
      const auto begin = Now();
      StepOutcome outcome = Attempt(attempt > 1);
      // A step that was to end, also because its time had passed, is not tried again.
      const bool again = outcome.failure && outcome.failure->isTransient &&
                         attempt <= step_.retries && !control_.Cancelled();
      if (!again) return outcome;
      TellRetry(*outcome.failure, attempt + 1, begin);
      if (!control_.Wait(step_.retryDelay)) {
        outcome.failure = Told(*outcome.failure, control_.EndAttempt());
        return outcome;
      }
    }
  }

  /// Says once that it waits.
  bool WaitForPlace(const std::string& line) {
    if (waitsFor_ != line)
      shared_.tell({.kind = ExecutionEvent::Kind::StepOutput, .step = step_.name, .text = line});
    waitsFor_ = line;
    return control_.Wait(std::chrono::milliseconds(100));
  }

  StepOutcome NotBegun() {
    return {.failure = Told(PlatformError(0, "it has not begun", "package engine"),
                            control_.EndAttempt())};
  }

  StepOutcome AskScript() {
    StepOutcome outcome;
    control_.BeginAttempt(step_.timeout);
    try {
      outcome.leftOut = !WantsToRun(shared_, step_, control_);
    } catch (const std::exception& error) {
      outcome.failure = AsPlatformError(error);
    }
    const std::string endReason = control_.EndAttempt();
    if (outcome.failure) outcome.failure = Told(*outcome.failure, endReason);
    return outcome;
  }

  StepOutcome Attempt(bool again) {
    StepOutcome outcome;
    StepContext context(shared_, step_, joined_, again, control_);
    control_.BeginAttempt(step_.timeout);
    if (joined_) shared_.transaction.BeginStep();
    try {
      if (control_.Cancelled()) throw PlatformError(0, "it has not begun", "package engine");
      outcome.result = shared_.control.TaskOf(step_)->Run(context);
      context.LookForTransactions(step_.closeConnection);
    } catch (const std::exception& error) {
      outcome.failure = AsPlatformError(error);
    }
    // From here on nothing is cancelled: neither what undoes the step nor what closes connections.
    const std::string endReason = control_.EndAttempt();
    context.FinishProgress();
    if (outcome.failure) {
      outcome.failure = Told(*outcome.failure, endReason, context.BesideTransaction());
      if (joined_) Undo(outcome);
    } else {
      if (joined_) shared_.transaction.KeepStep();
      // Nobody knows in which state a failed step left them.
      if (!step_.closeConnection) context.GiveConnectionsBack();
    }
    return outcome;
  }

  /// The failure as the log has it.
  PlatformError Told(const PlatformError& failure, const std::string& endReason,
                     bool besideTransaction = false) const {
    std::string text = endReason + (endReason.empty() ? "" : ": ") + failure.what();
    if (besideTransaction && endReason.empty())
      text +=
          "; the package's own transaction is open on the same database: let this step join it, or "
          "commit it before (commit_success)";
    return failure.Saying(shared_.request.variables.WithoutPasswords(text));
  }

  void Undo(StepOutcome& outcome) {
    const auto loss = shared_.transaction.UndoStep();
    if (!loss) return;
    outcome.failure = outcome.failure->Saying(
        outcome.failure->Description() +
        "; the package's whole transaction is rolled back, because the step cannot be undone "
        "alone: " +
        shared_.request.variables.WithoutPasswords(loss->reason));
    outcome.failure->isTransient = false;
    outcome.lostEarlierSteps = loss->earlierSteps;
  }

  void TellRetry(const PlatformError& failure, std::int64_t next,
                 std::chrono::steady_clock::time_point begin) const {
    shared_.tell({.kind = ExecutionEvent::Kind::StepRetried,
                  .step = step_.name,
                  .text = failure.Description() + "; attempt " + std::to_string(next) + " of " +
                          std::to_string(step_.retries + 1) + " follows in " +
                          CountOf(step_.retryDelay.count(), "second"),
                  .seconds = std::chrono::duration<double>(Now() - begin).count()});
  }

  std::chrono::steady_clock::time_point Now() const {
    return shared_.request.services.clock.Steady();
  }

  RunShared& shared_;
  const StepModel& step_;
  StepCancellation& control_;
  const bool joined_;
  std::string waitsFor_;
};

}  // namespace

StepOutcome RunStep(RunShared& shared, const StepModel& step, StepCancellation& control) {
  return StepRun(shared, step, control).Run();
}

}  // namespace torvik::engine
