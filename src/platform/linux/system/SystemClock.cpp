#include "platform/linux/system/SystemClock.h"

#include <thread>

namespace torvik {
namespace {

class SystemClock final : public Clock {
 public:
  std::chrono::system_clock::time_point Now() override { return std::chrono::system_clock::now(); }

  std::tm LocalTime() override {
    const std::time_t now = std::chrono::system_clock::to_time_t(Now());
    std::tm local{};
    localtime_r(&now, &local);
    return local;
  }

  std::chrono::steady_clock::time_point Steady() override {
    return std::chrono::steady_clock::now();
  }

  void Sleep(std::chrono::milliseconds duration) override { std::this_thread::sleep_for(duration); }
};

}  // namespace

std::unique_ptr<Clock> NewSystemClock() {
  return std::make_unique<SystemClock>();
}

}  // namespace torvik
