#include "history/SendRuns.h"

#include <exception>
#include <memory>

#include "history/SharedHistory.h"
#include "platform/Ado.h"
#include "platform/Clock.h"
#include "platform/Locks.h"
#include "platform/PlatformError.h"
#include "platform/RunHistory.h"
#include "platform/Text.h"

namespace torvik {
namespace {

/// Runs that are held at a time.
constexpr std::size_t kAtATime = 100;

/// So many runs that a server does not take are the server's fault.
constexpr std::size_t kMostRefused = 3;

class Sender {
 public:
  Sender(const SendingServices& services, const HistoryPlace& place, std::chrono::seconds limit)
      : services_(services), place_(place), end_(services.clock.Steady() + limit) {}

  SentRuns Send(const std::string& turn) {
    try {
      if (TakeTurn(turn)) SendAll();
    } catch (const std::exception& error) {
      Tell(WordsOf(error));
    }
    return std::move(answer_);
  }

 private:
  bool IsTimeUp() const { return services_.clock.Steady() >= end_; }

  /// Two processes would both send what neither has noted yet.
  bool TakeTurn(const std::string& turn) {
    for (;;) {
      LockAnswer answer = services_.locks.LockName(turn);
      lock_ = std::move(answer.lock);
      if (lock_ || answer.error) return true;
      if (IsTimeUp()) break;
      services_.clock.Sleep(std::chrono::milliseconds(100));
    }
    Tell("another process is sending");
    return false;
  }

  void SendAll() {
    std::int64_t last = 0;
    std::unique_ptr<SharedHistory> shared;
    for (;;) {
      const auto runs = services_.history.Unsent(last, kAtATime);
      if (runs.empty()) return;
      if (!shared) shared = std::make_unique<SharedHistory>(services_.databases, place_);
      for (const RunRecord& run : runs) {
        if (IsTimeUp()) return Tell("there are too many of them for the time that a run takes");
        if (!SendOne(*shared, run)) return;
        last = run.id;
      }
    }
  }

  /// False when there is no point in going on. A run that the server does not take keeps no other
  /// from it.
  bool SendOne(SharedHistory& shared, const RunRecord& run) {
    try {
      shared.Add(run);
    } catch (const PlatformError& error) {
      Tell("run " + std::to_string(run.id) + ": " + error.Description());
      return !error.isTransient && ++refused_ < kMostRefused;
    }
    ++answer_.sent;
    const std::string problem = services_.history.NoteSent(run.id);
    if (!problem.empty()) Tell(problem);
    return problem.empty();
  }

  void Tell(const std::string& reason) {
    if (!answer_.problem.empty()) return;
    answer_.problem = "the history on the server \"" + place_.server + "\", database \"" +
                      place_.database + "\": " + ControlsAsBlanks(reason) +
                      "; what it lacks is sent with the next run, or by torvik-admin history send";
  }

  const SendingServices& services_;
  const HistoryPlace& place_;
  const std::chrono::steady_clock::time_point end_;
  std::unique_ptr<Lock> lock_;
  std::size_t refused_ = 0;
  SentRuns answer_;
};

}  // namespace

SentRuns SendRuns(const SendingServices& services, const HistoryPlace& place,
                  const std::string& turn, std::chrono::seconds limit) {
  if (place.server.empty()) return {};
  return Sender(services, place, limit).Send(turn);
}

}  // namespace torvik
