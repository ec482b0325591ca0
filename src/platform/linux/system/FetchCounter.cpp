#include "platform/linux/system/FetchCounter.h"

namespace torvik {

using SteadyClock = std::chrono::steady_clock;

void FetchCounter::BeginDirectory() {
  progress_ = {};
  lastTold_ = SteadyClock::now();
}

void FetchCounter::BeginFile(std::string_view name) {
  file_ = name;
  before_ = progress_.bytes;
}

void FetchCounter::BeginFileAgain() {
  progress_.bytes = before_;
}

void FetchCounter::Add(std::size_t bytes) {
  progress_.bytes += static_cast<std::int64_t>(bytes);
  TellNowAndThen();
}

void FetchCounter::EndFile() {
  ++progress_.files;
  TellNowAndThen();
}

void FetchCounter::EndDirectory() {
  if (progress_.files > 0) Tell();
}

void FetchCounter::TellNowAndThen() {
  constexpr std::chrono::milliseconds kApart{100};
  if (SteadyClock::now() - lastTold_ >= kApart) Tell();
}

void FetchCounter::Tell() {
  lastTold_ = SteadyClock::now();
  progress_.file = file_;
  if (observer_) observer_(progress_);
}

}  // namespace torvik
