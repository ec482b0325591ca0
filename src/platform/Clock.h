#pragma once

#include <chrono>
#include <ctime>

namespace torvik {

/// Time as the user sees it, time that only moves forward, and waiting.
class Clock {
 public:
  virtual ~Clock() = default;

  virtual std::chrono::system_clock::time_point Now() = 0;

  /// Now() in the local time zone.
  virtual std::tm LocalTime() = 0;

  virtual std::chrono::steady_clock::time_point Steady() = 0;

  virtual void Sleep(std::chrono::milliseconds duration) = 0;
};

}  // namespace torvik
