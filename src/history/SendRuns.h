#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace torvik {

namespace ado {
class Provider;
}
class Clock;
class Locks;
class RunHistory;
struct HistoryPlace;

struct SendingServices {
  RunHistory& history;  ///< This machine's.
  ado::Provider& databases;
  Locks& locks;
  Clock& clock;
};

struct SentRuns {
  std::size_t sent = 0;
  std::string problem;  ///< Empty: every run that has ended is there now.
};

/// Sends the runs of this machine that have ended and are not in the shared history yet, the
/// earliest first, as far as `limit` lets it. What cannot be sent stays for the next call. `turn`
/// is the name of a file, by which processes take turns. Throws nothing.
SentRuns SendRuns(const SendingServices& services, const HistoryPlace& place,
                  const std::string& turn, std::chrono::seconds limit);

}  // namespace torvik
