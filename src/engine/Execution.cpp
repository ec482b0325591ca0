#include "engine/Execution.h"

#include <chrono>

#include "engine/Connections.h"
#include "engine/Problems.h"
#include "engine/Transaction.h"
#include "platform/Ado.h"
#include "platform/Clock.h"
#include "platform/EventLog.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

using Kind = ExecutionEvent::Kind;

/// The package object model's number for it.
constexpr long kExecutionCanceled = 1063;

/// What one step sees of the package that runs it.
class StepContext final : public TaskContext {
 public:
  StepContext(const Execution& execution, const StepModel& step, bool joined,
              Connections& connections, Transaction& transaction)
      : execution_(execution),
        step_(step),
        joined_(joined),
        connections_(connections),
        transaction_(transaction) {}

  const EngineServices& Services() const override { return execution_.services; }
  Variables& GlobalVariables() override { return execution_.variables; }
  const std::vector<std::string>& RunningPackages() const override {
    return execution_.runningPackages;
  }
  bool Joined() const override { return joined_; }
  const std::atomic<bool>& Cancelled() const override { return execution_.cancelled; }

  ado::Connection& Database(const std::string& connection) override {
    const ConnectionSettings settings = Settings(connection);
    if (joined_) return transaction_.Join(connection, settings);
    besideTransaction_ = besideTransaction_ || transaction_.Find(settings) != nullptr;
    return connections_.Use(connection, settings);
  }

  ado::Connection& ReadDatabase(const std::string& connection) override {
    const ConnectionSettings settings = Settings(connection);
    ado::Connection* shared = joined_ ? transaction_.Find(settings) : nullptr;
    return shared ? *shared : connections_.Use(connection, settings);
  }

  ConnectionSettings Settings(const std::string& connection) const override {
    return ResolveConnection(execution_.package, connection, execution_.variables);
  }

  void Progress(std::int64_t rows) override {
    execution_.sink({.kind = Kind::StepProgress, .step = step_.name, .rows = rows});
  }
  void Output(std::string_view line) override {
    execution_.sink({.kind = Kind::StepOutput,
                     .step = step_.name,
                     .text = execution_.variables.WithoutPasswords(std::string(line))});
  }

  /// True when the step wrote beside the package's open transaction to the same database.
  bool BesideTransaction() const { return besideTransaction_; }

 private:
  const Execution& execution_;
  const StepModel& step_;
  const bool joined_;
  Connections& connections_;
  Transaction& transaction_;
  bool besideTransaction_ = false;
};

class PackageRun {
 public:
  explicit PackageRun(const Execution& execution)
      : execution_(execution),
        package_(execution.package),
        workflow_(execution.workflow),
        connections_(execution.services.databases),
        transaction_(execution.services.databases) {}

  void Run() {
    const auto begin = Now();
    execution_.sink({.kind = Kind::PackageStarted});
    RunSteps();
    EndTransaction();
    NameStepsNotRun();
    const bool failed = failure_ || workflow_.AnyFailed();
    execution_.sink({.kind = Kind::PackageEnded, .failed = failed, .seconds = SecondsSince(begin)});
    WriteEvent(failed);
    if (failure_) throw *failure_;
  }

 private:
  void RunSteps() {
    for (auto next = workflow_.Next(); next && !failure_; next = workflow_.Next()) {
      RunStep(*next);
      if (execution_.cancelled && !failure_)
        failure_.emplace(kExecutionCanceled, "the execution was cancelled", "package engine");
    }
  }

  void RunStep(std::size_t position) {
    const StepModel& step = package_.steps[position];
    const auto begin = Now();
    workflow_.Start(position);
    execution_.sink({.kind = Kind::StepStarted, .step = step.name});
    ExecutionEvent ended{.kind = Kind::StepEnded, .step = step.name};
    try {
      ended.rows = RunTask(step);
      if (step.commitSuccess) Commit();
    } catch (const std::exception& error) {
      ended.failed = true;
      ended.text = execution_.variables.WithoutPasswords(error.what());
    }
    workflow_.End(position, ended.failed);
    ended.seconds = SecondsSince(begin);
    execution_.sink(ended);
    if (ended.failed) StepFailed(step, ended.text);
  }

  std::optional<std::int64_t> RunTask(const StepModel& step) {
    const bool joined = step.joinTransaction && package_.useTransaction;
    StepContext context(execution_, step, joined, connections_, transaction_);
    if (joined) transaction_.BeginStep();
    try {
      return step.task->Run(context);
    } catch (const std::exception& error) {
      std::string reason = error.what();
      if (context.BesideTransaction())
        reason +=
            "; the package's own transaction is open on the same database: let this step join it, "
            "or commit it before (commit_success)";
      if (joined) transaction_.UndoStep(reason);
      throw PlatformError(0, reason, "package engine");
    }
  }

  void StepFailed(const StepModel& step, const std::string& reason) {
    if (step.rollbackFailure) Rollback("step " + Quoted(step.name) + " failed");
    if (failure_ || !(package_.failOnError || step.failPackageOnError)) return;
    failure_.emplace(static_cast<long>(dts::Error::FailedOnStepError),
                     "package " + Quoted(package_.name) + " failed because step " +
                         Quoted(step.name) + " failed: " + reason,
                     "package engine");
  }

  /// A commit that fails fails the package.
  void Commit() {
    try {
      if (transaction_.Active()) transaction_.Commit();
    } catch (const PlatformError& error) {
      failure_.emplace(error.number, execution_.variables.WithoutPasswords(error.what()),
                       error.source);
      throw;
    }
  }

  void Rollback(const std::string& reason) {
    if (!transaction_.Active()) return;
    transaction_.Rollback();
    execution_.sink(
        {.kind = Kind::Note, .text = "the package's transaction is rolled back: " + reason});
  }

  void EndTransaction() {
    if (failure_ || workflow_.AnyFailed()) return Rollback("a step failed");
    if (!package_.autoCommitTransaction) return Rollback("auto_commit_transaction is false");
    try {
      Commit();
    } catch (const PlatformError&) {
      execution_.sink({.kind = Kind::Error, .text = failure_->what()});
    }
  }

  void NameStepsNotRun() {
    for (const StepState& state : workflow_.States()) {
      if (state.status == dts::StepExecutionStatus::Completed) continue;
      const bool disabled = state.status == dts::StepExecutionStatus::Inactive;
      execution_.sink(
          {.kind = Kind::StepNotRun,
           .step = state.name,
           .text = disabled ? "it is disabled" : "its constraints did not come to hold"});
    }
  }

  void WriteEvent(bool failed) {
    if (!execution_.variables.IsTrue("WriteCompletionStatusToNT")) return;
    execution_.services.eventLog.Write(
        "Package " + Quoted(package_.name) + (failed ? " failed." : " succeeded."), failed);
  }

  std::chrono::steady_clock::time_point Now() const { return execution_.services.clock.Steady(); }
  double SecondsSince(std::chrono::steady_clock::time_point begin) const {
    return std::chrono::duration<double>(Now() - begin).count();
  }

  const Execution& execution_;
  const PackageModel& package_;
  Workflow& workflow_;
  Connections connections_;
  Transaction transaction_;
  std::optional<PlatformError> failure_;  // of the package as a whole
};

}  // namespace

void RunExecution(const Execution& execution) {
  PackageRun(execution).Run();
}

}  // namespace torvik::engine
