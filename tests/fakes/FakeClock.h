#pragma once

#include "platform/Clock.h"

namespace torvik {

/// A clock that stands still until it is slept on or set. Its time zone is UTC.
struct FakeClock : Clock {
  /// 2001-01-08 10:20:30, a Monday.
  std::chrono::system_clock::time_point now = std::chrono::system_clock::from_time_t(978949230);
  std::chrono::steady_clock::time_point steady{};

  std::chrono::system_clock::time_point Now() override { return now; }
  std::tm LocalTime() override {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm time{};
    gmtime_r(&seconds, &time);
    return time;
  }
  std::chrono::steady_clock::time_point Steady() override { return steady; }
  void Sleep(std::chrono::milliseconds duration) override {
    now += duration;
    steady += duration;
  }
};

}  // namespace torvik
