#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace torvik {

namespace ado {
class Connection;
}
class Clock;

namespace engine {

/// How one running step is ended from outside: by the time of its attempt, or with its package. The
/// step's thread uses it, and another one looks at it every few milliseconds.
class StepCancellation {
 public:
  explicit StepCancellation(Clock& clock) : clock_(clock) {}

  /// True while the attempt is to end early.
  const std::atomic<bool>& Cancelled() const { return cancelled_; }

  /// From now on the connections that are named to Hold are cancelled when they have to be.
  void BeginAttempt(std::optional<std::chrono::seconds> timeout);

  /// When this returns, no connection is cancelled any more. Answers why the attempt was to end
  /// early; empty when nobody wanted that.
  std::string EndAttempt();

  /// A connection that the attempt uses; once is enough. It must live until EndAttempt or Release.
  void Hold(ado::Connection& connection);
  void Release(ado::Connection& connection);

  /// Ends the step for good. The first reason stays.
  void Cancel(const std::string& reason);

  /// Ends the attempt when its time has passed, and cancels what runs on its connections when it is
  /// to end. Once is not enough: between two statements there is nothing to cancel.
  void Look();

  /// Waits before the next attempt. False as soon as the step is ended for good.
  bool Wait(std::chrono::milliseconds duration);

 private:
  Clock& clock_;
  std::atomic<bool> cancelled_ = false;
  std::mutex mutex_;  // of all below
  std::condition_variable changed_;
  std::string endReason_;      // of the step, for good
  std::string attemptReason_;  // of this attempt
  std::optional<std::chrono::seconds> timeout_;
  std::chrono::steady_clock::time_point began_;
  std::vector<ado::Connection*> held_;
};

}  // namespace engine
}  // namespace torvik
