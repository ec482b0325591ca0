#pragma once

#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "platform/Ping.h"
#include "platform/PlatformError.h"

namespace torvik {

/// Keeps what a service would have been told.
struct FakePinger final : Pinger {
  std::vector<std::string> calls;      ///< "fail http://x: body".
  std::deque<PlatformError> failures;  ///< Those of the next calls.

  void Send(const std::string& url, PingKind kind, const std::string& body,
            const std::atomic<bool>&) override {
    const std::lock_guard guard(mutex);
    const char* const words[] = {"start", "success", "fail"};
    calls.push_back(std::string(words[static_cast<int>(kind)]) + " " + url +
                    (body.empty() ? "" : ": " + body));
    if (failures.empty()) return;
    const PlatformError failure = failures.front();
    failures.pop_front();
    throw failure;
  }

  std::mutex mutex;
};

}  // namespace torvik
