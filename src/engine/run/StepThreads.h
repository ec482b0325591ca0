#pragma once

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "engine/run/Workflow.h"

namespace torvik::engine {

/// Brings the steps of a workflow to threads: as many at once as the package allows, the next one
/// as soon as there is room. Steps that are kept on the main thread run on the one that calls
/// RunAll, one after the other; the others on threads of their own, which are reused. Of the steps
/// that use the package's transaction one runs at a time.
class StepThreads {
 public:
  struct Limits {
    std::size_t concurrent;    ///< From 1.
    bool sharesTransaction;    ///< False: steps have no transaction to take turns for.
    bool onOneThread = false;  ///< Every step runs on the one that calls RunAll.
  };
  /// Runs a step, on any thread, and answers how it ended.
  using Run = std::function<StepEnd(std::size_t)>;
  StepThreads(Workflow& workflow, Limits limits, Run run);

  /// Returns when no step can start and none runs. Throws what `run` threw, which stops the steps.
  void RunAll();

  /// Looks at the workflow or changes it; what is ready then is started. Any thread may call it,
  /// `run` too.
  void With(const std::function<void(Workflow&)>& change);

  /// No further step starts. Any thread may call it, `run` too.
  void Stop();

 private:
  using Lock = std::unique_lock<std::mutex>;

  void Work();
  bool TryOne(Lock& lock, bool onMainThread);
  void End(std::size_t step, StepEnd end, const std::exception_ptr& failure);
  bool IsFinished() const;
  StepChoice Choice(bool onMainThread) const;
  void AddThreads(std::size_t free);

  const Limits limits_;
  const Run run_;
  std::mutex mutex_;  // of all below
  std::condition_variable changed_;
  Workflow& workflow_;
  std::vector<std::thread> threads_;
  std::size_t idle_ = 0;  // threads that wait for a step
  std::size_t running_ = 0;
  bool transactionInUse_ = false;
  bool noMoreThreads_ = false;
  bool stopped_ = false;
  bool finished_ = false;
  std::exception_ptr failure_;
};

}  // namespace torvik::engine
