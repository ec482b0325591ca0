#include "alarms/Alarms.h"

#include <algorithm>
#include <exception>
#include <map>
#include <set>
#include <system_error>
#include <utility>

#include "alarms/AlarmPlan.h"
#include "alarms/JobMetrics.h"
#include "platform/Clock.h"
#include "platform/CodePage.h"
#include "platform/Files.h"
#include "platform/Locks.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik {
namespace {

using std::chrono::milliseconds;

/// How long the call at the start may still take when the run is over.
constexpr std::chrono::seconds kStartPatience{2};
constexpr std::size_t kTailLines = 20, kTailBytes = 8000;

/// The last whole lines of a text.
std::string_view LastLines(std::string_view text) {
  text = text.substr(text.size() - std::min(text.size(), kTailBytes));
  std::size_t begin = text.size();
  for (std::size_t lines = 0; begin > 0; --begin)
    if (text[begin - 1] == '\n' && begin < text.size() && ++lines == kTailLines) break;
  return text.substr(begin);
}

}  // namespace

Alarms::Alarms(AlarmSettings settings, const AlarmServices& services, std::string turn,
               milliseconds limit)
    : settings_(std::move(settings)), services_(services), turn_(std::move(turn)), limit_(limit) {}

Alarms::~Alarms() {
  isStartOver_ = true;
}

bool Alarms::AreRaisedFor(const std::string& jobFile) const {
  return torvik::AreRaisedFor(settings_, jobFile);
}

void Alarms::TellStart(const std::string& jobFile) {
  const MonitorSettings& monitor = MonitorOf(settings_, jobFile);
  if (monitor.pingUrl.empty() || jobFile.empty()) return;
  const auto call = [this, url = monitor.pingUrl] {
    return CallService(services_.pings, services_.clock, url, PingKind::Start, "", isStartOver_);
  };
  try {
    start_ = std::async(std::launch::async, call);
  } catch (const std::system_error&) {  // there is no thread; the end will be told
  }
}

/// What went wrong with the call at the start, before the run was over.
std::string Alarms::EndStart() {
  if (!start_.valid()) return {};
  const bool hasEnded = start_.wait_for(kStartPatience) == std::future_status::ready;
  isStartOver_ = true;
  const std::string reason = start_.get();
  return hasEnded && !reason.empty()
             ? "no monitoring service was told of the start of the run: " + reason
             : std::string();
}

std::string Alarms::WriteMetrics(const std::string& jobFile) {
  const std::string& directory = MonitorOf(settings_, jobFile).textfileDirectory;
  if (directory.empty() || jobFile.empty()) return {};
  const std::string path = directory + "/" + MetricsFileName(jobFile);
  try {
    const std::string text = MetricsText(services_.history.Runs({.job = jobFile}));
    if (text.empty()) return {};
    std::error_code error = services_.files.ReplaceBytes(path, text);
    if (!error) error = services_.files.LetAllRead(path);
    return error ? "the metrics cannot be written to " + path + ": " + error.message() : "";
  } catch (const std::exception& error) {
    return "there are no metrics of " + jobFile + ": " + WordsOf(error);
  }
}

AlarmReport Alarms::RaiseDue(const RunRecord& own) {
  AlarmReport report;
  begin_ = services_.clock.Steady();
  isTimeUp_ = false;
  try {
    if (std::string problem = EndStart(); !problem.empty()) report.problems.push_back(problem);
    RaiseAll(own, report);
  } catch (const std::exception& error) {
    report.problems.push_back("no alarms can be raised: " + WordsOf(error));
  }
  for (std::string& problem : report.problems) problem = ControlsAsBlanks(std::move(problem));
  return report;
}

void Alarms::RaiseAll(const RunRecord& own, AlarmReport& report) {
  if (settings_.monitor.empty() && settings_.notify.empty()) return;
  const auto add = [&report](std::string problem) {
    if (!problem.empty()) report.problems.push_back(std::move(problem));
  };
  std::string problem;
  const auto turn = TakeTurn(problem);
  if (!problem.empty()) return add(problem);
  Announcements announcements = Plan(Ended(own, report));
  std::set<std::string> jobs;
  for (const Announcement& announcement : announcements) jobs.insert(announcement.run.job);
  for (const std::string& job : jobs) add(WriteMetrics(job));
  for (std::string& words : RunChannels(announcements)) add(std::move(words));
  for (const Announcement& announcement : announcements) {
    const RaisedAlarms raised = announcement.Raised();
    if (raised == kAllAlarms) ++report.runs;
    if (announcement.run.id != 0) add(services_.history.NoteAlarms(announcement.run.id, raised));
  }
}

/// Those of the history, and the own one where the history lacks it or its end: a full disk keeps
/// nobody from being called.
std::vector<RunRecord> Alarms::Ended(const RunRecord& own, AlarmReport& report) {
  std::vector<RunRecord> ended;
  bool isMissing = false;
  try {
    ended = services_.history.Unannounced();
    isMissing = IsMissing(own);
  } catch (const std::exception& error) {
    report.problems.push_back("the history: " + WordsOf(error));
    isMissing = true;
  }
  if (isMissing && HasEnded(own) && torvik::AreRaisedFor(settings_, own.job)) ended.push_back(own);
  return ended;
}

bool Alarms::IsMissing(const RunRecord& own) {
  if (own.id == 0) return true;
  const auto kept = services_.history.Run(own.id);
  return !kept || !HasEnded(*kept);
}

/// Two processes would both raise what neither has noted yet.
std::unique_ptr<Lock> Alarms::TakeTurn(std::string& problem) {
  for (;;) {
    LockAnswer answer = services_.locks.LockName(turn_);
    if (answer.lock || answer.error) return std::move(answer.lock);
    if (TimeLeft() <= milliseconds::zero()) {
      problem =
          "alarms are left to the next run or to torvik-admin alarms: they are being raised "
          "by another process";
      return nullptr;
    }
    services_.clock.Sleep(milliseconds(100));
  }
}

Announcements Alarms::Plan(std::vector<RunRecord> ended) {
  Announcements announcements;
  std::map<std::string, std::vector<RunRecord>> runsOfJobs;
  for (RunRecord& run : ended) {
    const auto [runs, isNew] = runsOfJobs.try_emplace(run.job);
    if (isNew) runs->second = RunsOf(run.job);
    const std::string tail = HasFailed(run) ? LogTail(run.logFile) : "";
    announcements.push_back(
        PlanFor(settings_, std::move(run), runs->second, services_.clock.Now(), tail));
  }
  return announcements;
}

/// None where they cannot be read; then each failure is taken for the first.
std::vector<RunRecord> Alarms::RunsOf(const std::string& jobFile) {
  try {
    return jobFile.empty() ? std::vector<RunRecord>() : services_.history.Runs({.job = jobFile});
  } catch (const std::exception&) {
    return {};
  }
}

/// The log may be long; what is not needed of it is not kept.
std::string Alarms::LogTail(const std::string& path) const {
  std::string text;
  std::error_code error;
  const auto file = path.empty() ? nullptr : services_.files.OpenRead(path, error);
  if (!file) return {};
  char block[16384];
  for (std::size_t length = 1; length > 0 && !error;) {
    length = file->Read(block, sizeof block, error);
    text.append(block, length);
    if (text.size() > 16 * kTailBytes) text.erase(0, text.size() - kTailBytes);
  }
  return services_.ansi.Decode(LastLines(text));
}

/// All at once, so that one that hangs leaves the others their time.
std::vector<std::string> Alarms::RunChannels(Announcements& announcements) {
  std::vector<std::future<std::vector<std::string>>> channels;
  channels.push_back(std::async(
      [&] { return CallServices(services_.pings, services_.clock, announcements, isTimeUp_); }));
  channels.push_back(
      std::async([&] { return SendMails(services_.mail, announcements, isTimeUp_); }));
  channels.push_back(
      std::async([&] { return StartPrograms(services_.processes, announcements, isTimeUp_); }));
  for (auto& channel : channels) {
    const auto left = std::max(TimeLeft(), milliseconds::zero());
    if (channel.wait_for(left) == std::future_status::timeout) isTimeUp_ = true;
  }
  std::vector<std::string> problems;
  for (auto& channel : channels)
    for (std::string& problem : channel.get()) problems.push_back(std::move(problem));
  return problems;
}

milliseconds Alarms::TimeLeft() const {
  return limit_ - std::chrono::duration_cast<milliseconds>(services_.clock.Steady() - begin_);
}

}  // namespace torvik
