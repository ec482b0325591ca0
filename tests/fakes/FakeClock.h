#pragma once

#include <chrono>
#include <ctime>
#include <vector>

#include "platform/Clock.h"

namespace torvik {

/// A clock that stands still until it is slept on or moved. Its time zone is UTC.
struct FakeClock final : Clock {
  /// 2001-01-08 10:20:30, a Monday.
  std::chrono::system_clock::time_point now = std::chrono::system_clock::from_time_t(978949230);
  std::chrono::steady_clock::time_point steady{};
  std::vector<std::chrono::milliseconds> sleeps;

  void Advance(std::chrono::milliseconds duration) {
    now += duration;
    steady += duration;
  }

  std::chrono::system_clock::time_point Now() override { return now; }

  std::tm LocalTime() override {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm time{};
    gmtime_r(&seconds, &time);
    return time;
  }

  std::chrono::steady_clock::time_point Steady() override { return steady; }

  void Sleep(std::chrono::milliseconds duration) override {
    sleeps.push_back(duration);
    Advance(duration);
  }
};

}  // namespace torvik
