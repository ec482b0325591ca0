#pragma once

#include <chrono>
#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>

namespace torvik::engine {

/// A thread that calls `look` every 20 ms, from its making to its end. Where no thread can be made,
/// nobody looks. A look that fails, as for want of memory, is made up for by the next one.
class PeriodicThread {
 public:
  explicit PeriodicThread(std::function<void()> look) {
    try {
      thread_ =
          std::jthread([look = std::move(look)](const std::stop_token& stop) { Run(look, stop); });
    } catch (const std::exception&) {
    }
  }

  /// Whether somebody looks.
  bool Runs() const { return thread_.joinable(); }

 private:
  static void Run(const std::function<void()>& look, const std::stop_token& stop) {
    while (!stop.stop_requested()) {
      try {
        LookUntilStopped(look, stop);
      } catch (const std::exception&) {
      }
    }
  }

  static void LookUntilStopped(const std::function<void()>& look, const std::stop_token& stop) {
    constexpr std::chrono::milliseconds kInterval(20);
    std::mutex mutex;
    std::condition_variable_any changed;
    std::unique_lock lock(mutex);
    while (!stop.stop_requested()) {
      changed.wait_for(lock, stop, kInterval, [] { return false; });
      if (!stop.stop_requested()) look();
    }
  }

  std::jthread thread_;
};

}  // namespace torvik::engine
