#pragma once

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "alarms/AlarmChannels.h"
#include "platform/AlarmSettings.h"
#include "platform/RunHistory.h"

namespace torvik {

class CodePage;
class Files;
class Lock;
class Locks;

struct AlarmServices {
  RunHistory& history;
  Files& files;
  const CodePage& ansi;  ///< Of logs.
  Locks& locks;
  Clock& clock;
  Mailer& mail;
  Pinger& pings;
  Processes& processes;
};

/// What came of raising alarms.
struct AlarmReport {
  std::size_t runs = 0;               ///< Those of which nothing is left to raise now.
  std::vector<std::string> problems;  ///< One line each.
};

/// Tells whoever the settings name how runs ended: by metrics, by calls of a monitoring service, by
/// mails and by programs. All of it is read from the history, so that a run whose process was
/// killed is announced by whoever comes next. Nothing is thrown, and no problem with it changes
/// what a run has come to.
class Alarms {
 public:
  static constexpr std::chrono::seconds kLimit{30};

  /// `turn` is the name of a file, by which processes take turns. `limit` bounds the time of
  /// RaiseDue.
  Alarms(AlarmSettings settings, const AlarmServices& services, std::string turn,
         std::chrono::milliseconds limit = kLimit);
  /// Gives the call of TellStart up.
  ~Alarms();
  Alarms(const Alarms&) = delete;
  Alarms& operator=(const Alarms&) = delete;

  /// Whether anybody is called about a run of this job.
  bool AreRaisedFor(const std::string& jobFile) const;

  /// Calls the monitoring service at the start of a run, on a thread of its own.
  void TellStart(const std::string& jobFile);

  /// Writes the metrics of a job by its last run; answers the empty text or what is wrong.
  std::string WriteMetrics(const std::string& jobFile);

  /// Raises what is due of every run that has ended and is not announced yet, and of `own`, one of
  /// this process that has ended, also when the history does not have its end. A mail that cannot
  /// be sent, and a program that fails, are tried again by the next call.
  AlarmReport RaiseDue(const RunRecord& own = {});

 private:
  std::string EndStart();
  std::unique_ptr<Lock> TakeTurn(std::string& problem);
  void RaiseAll(const RunRecord& own, AlarmReport& report);
  std::vector<RunRecord> Ended(const RunRecord& own, AlarmReport& report);
  bool IsMissing(const RunRecord& own);
  Announcements Plan(std::vector<RunRecord> ended);
  std::vector<RunRecord> RunsOf(const std::string& jobFile);
  std::string LogTail(const std::string& path) const;
  std::vector<std::string> RunChannels(Announcements& announcements);
  std::chrono::milliseconds TimeLeft() const;

  const AlarmSettings settings_;
  const AlarmServices services_;
  const std::string turn_;
  const std::chrono::milliseconds limit_;
  std::chrono::steady_clock::time_point begin_;
  std::atomic<bool> isTimeUp_ = false;
  std::atomic<bool> isStartOver_ = false;
  std::future<std::string> start_;
};

}  // namespace torvik
