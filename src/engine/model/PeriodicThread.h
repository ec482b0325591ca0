#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace torvik::engine {

/// A thread that calls `look` every 20 ms, from its making to its end.
class PeriodicThread {
 public:
  explicit PeriodicThread(std::function<void()> look)
      : thread_([look = std::move(look)](std::stop_token stop) {
          constexpr std::chrono::milliseconds kInterval(20);
          std::mutex mutex;
          std::condition_variable_any changed;
          std::unique_lock lock(mutex);
          while (!stop.stop_requested()) {
            changed.wait_for(lock, stop, kInterval, [] { return false; });
            if (!stop.stop_requested()) look();
          }
        }) {}

 private:
  std::jthread thread_;
};

}  // namespace torvik::engine
