#include "admin/jobs/ScheduleCommands.h"

#include <filesystem>

#include "admin/common/RunTexts.h"
#include "admin/jobs/CronTimes.h"
#include "admin/jobs/JobTimer.h"
#include "admin/jobs/Systemd.h"
#include "engine/model/Problems.h"
#include "history/RunJson.h"
#include "platform/PlatformError.h"
#include "platform/ShellWord.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

constexpr int kShownTimes = 3;

/// A percent sign ends the command of a crontab line unless it is escaped (crontab(5)).
std::string CronCommand(const JobTimer& timer) {
  std::string command = ShellWord(std::filesystem::read_symlink("/proc/self/exe").string()) +
                        " run " + ShellWord(timer.JobFile());
  for (std::size_t at = 0; (at = command.find('%', at)) != command.npos; at += 2)
    command.insert(at, "\\");
  return command;
}

std::vector<std::string> CronLines(const JobTimer& timer, const std::vector<std::string>& times) {
  std::vector<std::string> lines;
  for (const std::string& time : times) {
    const auto fields = CronTimes(time);
    if (!fields)
      throw PlatformError(0,
                          engine::Quoted(time) +
                              ": systemd is not installed here, and cron has no line for these "
                              "times; \"Mon..Fri 02:00\", \"*-*-01 04:30\" and \"*:0/15\" it has",
                          "schedule");
    lines.push_back(*fields + "  " + CronCommand(timer));
  }
  return lines;
}

int TellCronLines(const JobTimer& timer, const std::vector<std::string>& times, bool json) {
  const std::vector<std::string> lines = CronLines(timer, times);
  std::string sentence =
      "systemd is not installed here; add to the crontab of the user that runs jobs (crontab -u "
      "torvik -e):";
  for (const std::string& line : lines) sentence += "\n" + line;
  PrintResult({{"job", timer.Job()}, {"crontab", lines}}, sentence, json);
  return 0;
}

void Enable(const Systemd& systemd, const UnitPlaces& places, const JobTimer& timer) {
  if (!places.IsThisMachine() || !Systemd::IsRunning())
    return systemd.Control({"--root=" + places.root, "enable", timer.Unit()});
  systemd.Control({"daemon-reload"});
  systemd.Control({"enable", "--now", timer.Unit()});
  systemd.Control({"restart", timer.Unit()});  // it may have been started with other times
}

void Disable(const Systemd& systemd, const UnitPlaces& places, const JobTimer& timer) {
  if (!places.IsThisMachine() || !Systemd::IsRunning())
    return systemd.Control({"--root=" + places.root, "disable", timer.Unit()});
  systemd.Control({"disable", "--now", timer.Unit()});
}

/// What was set before comes back when the timer cannot be started.
void PutInForce(const Systemd& systemd, const UnitPlaces& places, const JobTimer& timer,
                const std::vector<std::string>& times) {
  const std::vector<std::string> before = timer.Times();
  timer.SetTimes(times);
  try {
    Enable(systemd, places, timer);
  } catch (const PlatformError&) {
    if (before.empty())
      timer.RemoveTimes();
    else
      timer.SetTimes(before);
    throw;
  }
}

std::string NextOf(const Systemd& systemd, const std::vector<std::string>& times) {
  std::string next;
  for (const std::string& time : times)
    for (const std::string& one : systemd.NextTimes(time, 1))
      next += (next.empty() ? "" : ", ") + one;
  return next;
}

std::string JoinedTimes(const std::vector<std::string>& texts) {
  std::string joined;
  for (const std::string& text : texts) joined += (joined.empty() ? "" : "; ") + text;
  return joined;
}

/// None of a job that no unit can have.
std::vector<std::string> TimesOf(const UnitPlaces& places, const std::string& job) {
  try {
    return JobTimer(places, job + ".etl").Times();
  } catch (const PlatformError&) {
    return {};
  }
}

}  // namespace

int ScheduleJob(LinuxPlatform& platform, const ScheduleOptions& options, bool json) {
  const UnitPlaces places{options.root};
  const JobTimer timer(places, options.job);
  const Systemd systemd(*platform.processes);
  if (!systemd.IsInstalled()) return TellCronLines(timer, options.times, json);
  Json next = Json::array();
  std::string sentence = timer.Unit() + " starts " + timer.JobFile() + ":";
  for (const std::string& time : options.times)
    for (const std::string& one : systemd.NextTimes(time, kShownTimes)) {
      next.push_back(one);
      sentence += "\n  " + one;
    }
  if (next.empty())
    throw PlatformError(0, JoinedTimes(options.times) + ": that time never comes again",
                        "schedule");
  PutInForce(systemd, places, timer, options.times);
  if (places.IsThisMachine() && !Systemd::IsRunning())
    sentence += "\nsystemd does not run here now; the timer counts from its next start on";
  PrintResult({{"job", timer.Job()}, {"unit", timer.Unit()}, {"next", next}}, sentence, json);
  return 0;
}

int UnscheduleJob(LinuxPlatform& platform, const ScheduleOptions& options, bool json) {
  const UnitPlaces places{options.root};
  const JobTimer timer(places, options.job);
  const Systemd systemd(*platform.processes);
  if (systemd.IsInstalled()) Disable(systemd, places, timer);
  const bool was = timer.RemoveTimes();
  if (systemd.IsInstalled() && places.IsThisMachine() && Systemd::IsRunning())
    systemd.Control({"daemon-reload"});
  PrintResult({{"job", timer.Job()}, {"unit", timer.Unit()}, {"was_scheduled", was}},
              timer.Job() + (was ? " is no longer scheduled; a run that is under way goes on"
                                 : " was not scheduled"),
              json);
  return 0;
}

int ListJobs(LinuxPlatform& platform, const ScheduleOptions& options, bool json) {
  const UnitPlaces places{options.root};
  const Systemd systemd(*platform.processes);
  std::vector<JsonRow> rows;
  for (const std::string& job : JobsIn(places.Jobs())) {
    const std::vector<std::string> times = TimesOf(places, job);
    const auto last =
        platform.history->Runs({.job = places.Jobs() + "/" + job + ".etl", .limit = 1});
    rows.push_back({job, JoinedTimes(times), systemd.IsInstalled() ? NextOf(systemd, times) : "",
                    last.empty() ? "" : LocalTime(last[0].begin),
                    last.empty() ? "" : WordOf(last[0].outcome)});
  }
  PrintRows({"job", "schedule", "next", "last", "verdict"}, rows, json);
  return 0;
}

}  // namespace torvik::admin
