#include "engine/run/StepThreads.h"

#include <exception>

namespace torvik::engine {

StepThreads::StepThreads(Workflow& workflow, Limits limits, Run run)
    : limits_(limits),
      run_(std::move(run)),
      workflow_(workflow),
      noMoreThreads_(limits.onOneThread) {}

void StepThreads::RunAll() {
  Lock lock(mutex_);
  AddThreads(0);
  while (!IsFinished())
    if (!TryOne(lock, true)) changed_.wait(lock);
  finished_ = true;
  changed_.notify_all();
  lock.unlock();
  for (std::thread& thread : threads_) thread.join();
  if (failure_) std::rethrow_exception(failure_);
}

void StepThreads::With(const std::function<void(Workflow&)>& change) {
  const std::lock_guard lock(mutex_);
  change(workflow_);
  AddThreads(0);
  changed_.notify_all();
}

void StepThreads::Stop() {
  const std::lock_guard lock(mutex_);
  stopped_ = true;
  changed_.notify_all();
}

void StepThreads::Work() {
  Lock lock(mutex_);
  while (!finished_) {
    if (TryOne(lock, false)) continue;
    ++idle_;
    changed_.wait(lock);
    --idle_;
  }
}

/// Runs a step if there is one for this thread.
bool StepThreads::TryOne(Lock& lock, bool onMainThread) {
  if (stopped_ || running_ >= limits_.concurrent) return false;
  const auto step = workflow_.Next(Choice(onMainThread));
  if (!step) return false;
  const bool takesTransaction = limits_.sharesTransaction && workflow_.UsesTransaction(*step);
  workflow_.Start(*step);
  ++running_;
  if (takesTransaction) transactionInUse_ = true;
  lock.unlock();
  StepEnd end = StepEnd::Failed;
  std::exception_ptr failure;
  try {
    end = run_(*step);
  } catch (...) {
    failure = std::current_exception();
  }
  lock.lock();
  if (takesTransaction) transactionInUse_ = false;
  --running_;
  End(*step, end, failure);
  AddThreads(onMainThread ? 0 : 1);
  changed_.notify_all();
  return true;
}

/// An exception must not end a thread: RunAll throws it when no step runs any more.
void StepThreads::End(std::size_t step, StepEnd end, const std::exception_ptr& failure) {
  try {
    if (failure) std::rethrow_exception(failure);
    workflow_.End(step, end);
  } catch (...) {
    stopped_ = true;
    failure_ = std::current_exception();
  }
}

bool StepThreads::IsFinished() const {
  return running_ == 0 && (stopped_ || !workflow_.Next());
}

StepChoice StepThreads::Choice(bool onMainThread) const {
  // Without a thread of its own a step is better run here than not at all.
  const bool any = !onMainThread || (noMoreThreads_ && threads_.empty());
  return {any, onMainThread, !transactionInUse_};
}

/// Makes a thread for each step that is ready, beside the threads that are free for one.
void StepThreads::AddThreads(std::size_t free) {
  const std::size_t ready = stopped_ ? 0 : workflow_.ReadyCount(Choice(false));
  for (free += idle_; free < ready && threads_.size() < limits_.concurrent && !noMoreThreads_;
       ++free) {
    try {
      threads_.emplace_back([this] { Work(); });
    } catch (const std::exception&) {
      noMoreThreads_ = true;  // the ones that are there go on with the work
    }
  }
}

}  // namespace torvik::engine
