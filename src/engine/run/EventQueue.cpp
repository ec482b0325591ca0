#include "engine/run/EventQueue.h"

#include <chrono>

namespace torvik::engine {

void EventQueue::Post(ExecutionEvent event) {
  {
    const std::lock_guard lock(mutex_);
    events_.push_back(std::move(event));
  }
  changed_.notify_one();
}

void EventQueue::Close() {
  // Notified under the lock: once it is free, the waiting thread may destroy the queue.
  const std::lock_guard lock(mutex_);
  closed_ = true;
  changed_.notify_one();
}

void EventQueue::Deliver(const EventSink& handle, const std::function<void()>& idle) {
  using Time = std::chrono::steady_clock;
  constexpr std::chrono::milliseconds kSlice(10);  // a window that looks on is drawn smoothly
  auto nextIdle = Time::now() + kSlice;
  while (true) {
    std::deque<ExecutionEvent> arrived;
    bool closed;
    {
      std::unique_lock lock(mutex_);
      changed_.wait_until(lock, nextIdle, [&] { return closed_ || !events_.empty(); });
      arrived.swap(events_);
      closed = closed_;
    }
    for (ExecutionEvent& event : arrived) handle(std::move(event));
    if (closed) return;
    if (Time::now() < nextIdle) continue;
    idle();
    nextIdle = Time::now() + kSlice;
  }
}

}  // namespace torvik::engine
