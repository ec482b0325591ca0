#include "engine/run/PackageExecution.h"

#include <chrono>
#include <mutex>

#include "engine/model/PeriodicThread.h"
#include "engine/model/Problems.h"
#include "engine/run/PackageCancellation.h"
#include "engine/run/PackageLog.h"
#include "engine/run/StepRun.h"
#include "engine/run/StepThreads.h"
#include "platform/Ado.h"
#include "platform/Clock.h"
#include "platform/EventLog.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

using Kind = ExecutionEvent::Kind;

class PackageExecution {
 public:
  explicit PackageExecution(const ExecutionRequest& request)
      : request_(request),
        package_(request.package),
        workflow_(request.workflow),
        shared_{request, [this](ExecutionEvent event) { Tell(std::move(event)); },
                Connections(request.services.databases), Transaction(request.services.databases),
                RunControl(request, [this](ExecutionEvent event) { Tell(std::move(event)); })},
        running_(request.services.clock),
        threads_(workflow_,
                 {static_cast<std::size_t>(package_.maxConcurrentSteps), package_.useTransaction,
                  request.onOneThread},
                 [this](std::size_t step) { return TryStepAt(step); }) {
    shared_.control.Attach(threads_);
  }

  void Run() {
    const auto begin = Now();
    Tell({.kind = Kind::PackageStarted});
    RunSteps();
    EndTransaction();
    NameStepsNotRun();
    const auto failure = running_.Failure();
    const bool failed = failure || workflow_.AnyFailed();
    const double seconds = SecondsSince(begin);
    Tell({.kind = Kind::PackageEnded, .failed = failed, .seconds = seconds});
    WriteEvent(failed, seconds);
    if (failure) throw *failure;
  }

 private:
  void RunSteps() {
    const PeriodicThread watch([this] { Look(); });
    isWatched_ = watch.Runs();
    if (!isWatched_)
      Tell({.kind = Kind::Note,
            .text = "the system allows no further thread: timeout_seconds is looked at when a step "
                    "tells of its progress, and not within a statement"});
    threads_.RunAll();
    isWatched_ = true;
  }

  void Look() {
    if (request_.cancelled) EndCancelled();
    running_.Look();
  }

  /// What fails outside a task, as for want of memory, ends the package and not the process.
  StepEnd TryStepAt(std::size_t position) {
    try {
      return RunStepAt(position);
    } catch (const std::exception& error) {
      End(PlatformError(0, WordsOf(error), "package engine"), "the package failed");
      return StepEnd::Failed;
    }
  }

  StepEnd RunStepAt(std::size_t position) {
    const StepModel& step = package_.steps[position];
    const auto begin = Now();
    Tell({.kind = Kind::StepStarted, .step = step.name});
    const auto control = running_.Add();
    StepOutcome outcome = RunStep(shared_, step, *control);
    running_.Remove(control);
    if (outcome.leftOut) {
      Tell({.kind = Kind::StepNotRun,
            .step = step.name,
            .text = "its workflow script wants it left out"});
      return StepEnd::LeftOut;
    }
    if (!outcome.failure && step.commitSuccess) CommitAfter(step, outcome);
    ExecutionEvent ended{.kind = Kind::StepEnded, .step = step.name};
    ended.failed = outcome.failure.has_value();
    ended.text = outcome.failure ? outcome.failure->Description() : outcome.result.details;
    ended.rows = outcome.result.rows;
    ended.rejected = outcome.result.rejected;
    ended.seconds = SecondsSince(begin);
    Tell(ended);
    if (outcome.failure) StepFailed(step, outcome);
    if (request_.cancelled) EndCancelled();
    return outcome.failure ? StepEnd::Failed : StepEnd::Succeeded;
  }

  void StepFailed(const StepModel& step, const StepOutcome& outcome) {
    const std::string failed = "step " + Quoted(step.name) + " failed";
    if (step.rollbackFailure) Rollback(failed);
    const std::string text = "package " + Quoted(package_.name) + " failed because ";
    const std::string words = failed + ": " + outcome.failure->Description();
    if (outcome.lostEarlierSteps) {
      // A new transaction would hold later steps without the earlier ones that they build on.
      End(outcome.failure->Saying(text +
                                  "the work of earlier steps in its transaction is lost: " + words),
          failed);
    } else if (package_.failOnError || step.failPackageOnError) {
      End(PlatformError(static_cast<long>(dts::Error::FailedOnStepError), text + words,
                        "package engine"),
          failed);
    }
  }

  /// Ends the package: no further step starts, and those that run are cancelled.
  void End(const PlatformError& failure, const std::string& because) {
    threads_.Stop();
    running_.Fail(failure, "cancelled because " + because);
  }

  void EndCancelled() {
    threads_.Stop();
    const char* const reason = "the execution was cancelled";
    running_.Fail(
        PlatformError(static_cast<long>(dts::Error::ExecutionCanceled), reason, "package engine"),
        reason);
  }

  /// A commit that fails fails the package as well as the step.
  void CommitAfter(const StepModel& step, StepOutcome& outcome) {
    outcome.failure = Commit();
    if (outcome.failure) End(*outcome.failure, "step " + Quoted(step.name) + " failed");
  }

  /// What refused; what is not committed is rolled back then.
  std::optional<PlatformError> Commit() {
    try {
      if (shared_.transaction.Active()) shared_.transaction.Commit();
      return std::nullopt;
    } catch (const PlatformError& error) {
      return error.Saying(request_.variables.WithoutPasswords(error.what()));
    }
  }

  void Rollback(const std::string& reason) {
    if (!shared_.transaction.Active()) return;
    shared_.transaction.Rollback();
    Tell({.kind = Kind::Note, .text = "the package's transaction is rolled back: " + reason});
  }

  void EndTransaction() {
    if (const std::string open = shared_.connections.OpenTransaction(); !open.empty()) {
      End(PlatformError(0, open, "package engine"), "");
      Tell({.kind = Kind::Error, .text = open});
    }
    if (running_.Failure() || workflow_.AnyFailed()) return Rollback("a step failed");
    if (!package_.autoCommitTransaction) return Rollback("auto_commit_transaction is false");
    const auto failure = Commit();
    if (!failure) return;
    End(*failure, "");
    Tell({.kind = Kind::Error, .text = failure->Description()});
  }

  void NameStepsNotRun() {
    const char* const reason = running_.Failure() ? "the package ended before it could start"
                                                  : "its constraints did not come to hold";
    for (std::size_t i = 0; i < package_.steps.size(); ++i) {
      const StepModel& step = package_.steps[i];
      if (workflow_.IsDisabled(i))
        Tell({.kind = Kind::StepNotRun, .step = step.name, .text = "it is disabled"});
      else if (workflow_.States()[i].status == dts::StepExecutionStatus::Waiting)
        Tell({.kind = Kind::StepNotRun, .step = step.name, .text = reason});
    }
  }

  void WriteEvent(bool failed, double seconds) {
    if (!package_.writeCompletionStatusToNTEventLog &&
        !request_.variables.IsTrue("WriteCompletionStatusToNT"))
      return;
    request_.services.eventLog.Write("Package " + Quoted(package_.name) +
                                         (failed ? " failed after " : " succeeded after ") +
                                         SecondsText(seconds) + (failed ? Culprits() : "") + ".",
                                     failed);
  }

  /// The failed steps, by name as far as a line of a log has room for them; without one the reason.
  std::string Culprits() const {
    constexpr int kNamed = 20;
    std::string names;
    int count = 0;
    for (const StepState& state : workflow_.States())
      if (state.result == dts::StepExecutionResult::Failure && ++count <= kNamed)
        names += (names.empty() ? "" : ", ") + Quoted(state.name);
    if (count > kNamed) names += " and " + std::to_string(count - kNamed) + " others";
    if (count > 0) return "; failed steps: " + names;
    return ": " + running_.Failure()->Description();
  }

  void Tell(ExecutionEvent event) {
    const bool isProgress = event.kind == Kind::StepProgress || event.kind == Kind::StepFetches;
    if (!isWatched_ && isProgress) Look();
    const std::lock_guard lock(tellMutex_);
    request_.sink(std::move(event));
  }

  std::chrono::steady_clock::time_point Now() const { return request_.services.clock.Steady(); }
  double SecondsSince(std::chrono::steady_clock::time_point begin) const {
    return std::chrono::duration<double>(Now() - begin).count();
  }

  const ExecutionRequest& request_;
  const PackageModel& package_;
  Workflow& workflow_;
  std::mutex tellMutex_;
  RunShared shared_;
  PackageCancellation running_;
  StepThreads threads_;
  std::atomic<bool> isWatched_ = true;  // by a thread of its own
};

}  // namespace

void ExecutePackage(const ExecutionRequest& request) {
  PackageExecution(request).Run();
}

}  // namespace torvik::engine
