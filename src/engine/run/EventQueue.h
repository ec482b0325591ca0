#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

#include "engine/run/PackageExecution.h"

namespace torvik::engine {

/// Carries events from the thread that runs a package to the one that waits for it.
class EventQueue {
 public:
  void Post(ExecutionEvent event);

  /// Nothing is posted after this.
  void Close();

  /// Hands every event to `handle` as it comes, and calls `idle` every 10 ms meanwhile. Returns as
  /// soon as the queue is closed and empty.
  void Deliver(const EventSink& handle, const std::function<void()>& idle);

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<ExecutionEvent> events_;
  bool closed_ = false;
};

}  // namespace torvik::engine
