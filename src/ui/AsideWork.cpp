#include "ui/AsideWork.h"

#include <chrono>
#include <future>
#include <system_error>
#include <utility>

#include "platform/Messages.h"

namespace torvik {
namespace {

/// Short enough for a window to look alive.
constexpr std::chrono::milliseconds kSlice{15};

}  // namespace

void AsideWork::Do(const std::function<void()>& work, const std::function<void()>& tell) {
  if (isOn_) return;
  WaitFor(work);
  tell();
  if (const auto next = std::exchange(next_, nullptr)) next();
}

void AsideWork::WaitFor(const std::function<void()>& work) {
  std::future<void> done;
  try {
    done = std::async(std::launch::async, work);
  } catch (const std::system_error&) {  // there is no thread to be had
    done = std::async(std::launch::deferred, work);
  }
  isOn_ = true;
  hourglass_.Set(true);
  while (done.wait_for(kSlice) == std::future_status::timeout) messages_.PumpEvents();
  done.wait();
  hourglass_.Set(false);
  isOn_ = false;
  done.get();
}

}  // namespace torvik
