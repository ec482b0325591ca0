#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "engine/model/Connections.h"
#include "engine/model/Task.h"
#include "engine/run/PackageExecution.h"
#include "engine/run/RunControl.h"
#include "engine/run/StepCancellation.h"
#include "engine/run/Transaction.h"
#include "platform/Ado.h"

namespace torvik::engine {

/// What the steps of one run share.
struct RunShared {
  const ExecutionRequest& request;
  EventSink tell;  ///< Safe for several threads.
  Connections connections;
  Transaction transaction;
  RunControl control;
};

/// What one attempt of a step sees of the package that runs it. Connections that it took are closed
/// with it unless they are given back.
class StepContext final : public TaskContext {
 public:
  /// `again`: an earlier attempt has failed, and its connections may be lost.
  StepContext(RunShared& shared, const StepModel& step, bool joined, bool again,
              StepCancellation& control)
      : shared_(shared), step_(step), joined_(joined), again_(again), control_(control) {}
  ~StepContext() override { control_.EndAttempt(); }  // before its connections close
  StepContext(const StepContext&) = delete;
  StepContext& operator=(const StepContext&) = delete;

  const EngineServices& Services() const override { return shared_.request.services; }
  Variables& GlobalVariables() override { return shared_.request.variables; }
  PackageControl& Package() override { return shared_.control; }
  const std::string& Step() const override { return step_.name; }
  const std::vector<std::string>& RunningPackages() const override {
    return shared_.request.runningPackages;
  }
  bool Joined() const override { return joined_; }
  const std::atomic<bool>& Cancelled() const override { return control_.Cancelled(); }

  ado::Connection& Database(const std::string& connection) override;
  ado::Connection& ReadDatabase(const std::string& connection) override;
  ado::Connection& FurtherDatabase(const std::string& connection, int number) override;
  void LetFinish(ado::Connection& connection) override { control_.Release(connection); }
  ConnectionSettings Settings(const std::string& connection) const override;
  void Progress(std::int64_t rows) override;
  void Fetched(std::int64_t files, std::int64_t bytes) override;
  void Output(std::string_view line) override;

  /// True when the step wrote beside the package's open transaction to the same database.
  bool BesideTransaction() const { return besideTransaction_; }

  /// Tells the progress that came too soon.
  void FinishProgress();

  /// Notes on which connections SQL text has begun a transaction that it has not ended. Throws when
  /// `areClosed`, since it is lost then.
  void LookForTransactions(bool areClosed);

  /// Keeps the connections for later steps, with the transactions that are open there.
  void GiveConnectionsBack();

 private:
  struct Taken {
    std::string name;
    int number;  ///< 0, and more than that of further connections.
    ConnectionSettings settings;
    std::unique_ptr<ado::Connection> connection;
    bool hasTransaction = false;
  };

  ado::Connection& OwnConnection(const std::string& name, const ConnectionSettings& settings,
                                 int number = 0);
  void TellNowAndThen(ExecutionEvent progress);

  RunShared& shared_;
  const StepModel& step_;
  const bool joined_;
  const bool again_;
  StepCancellation& control_;
  std::vector<Taken> taken_;
  bool besideTransaction_ = false;
  std::mutex progressMutex_;
  std::optional<std::chrono::steady_clock::time_point> told_;
  std::optional<ExecutionEvent> untold_;
};

}  // namespace torvik::engine
