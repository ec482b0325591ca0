#include "alarms/AlarmPlan.h"

#include <algorithm>

#include "alarms/AlarmTexts.h"
#include "alarms/JobName.h"

namespace torvik {
namespace {

constexpr std::chrono::hours kWorthTelling{7 * 24};

template <class Section>
const Section& SectionOf(const std::map<std::string, Section>& sections,
                         const std::string& jobFile) {
  static const Section none;
  auto found = sections.find(LowerAscii(JobName(jobFile)));
  if (found == sections.end()) found = sections.find("");
  return found == sections.end() ? none : found->second;
}

bool IsLastOf(const std::vector<RunRecord>& runs, const RunRecord& run) {
  return std::none_of(runs.begin(), runs.end(), [&](const RunRecord& other) {
    return run.id != 0 && other.id > run.id && HasEnded(other);
  });
}

ProcessRequest ProgramFor(const NotifySettings& notify, const RunRecord& run, RunChange change) {
  ProcessRequest request;
  request.program = notify.command.front();
  request.arguments.assign(notify.command.begin() + 1, notify.command.end());
  request.input = JsonLineOf(run, change);
  return request;
}

}  // namespace

const MonitorSettings& MonitorOf(const AlarmSettings& settings, const std::string& jobFile) {
  return SectionOf(settings.monitor, jobFile);
}

const NotifySettings& NotifyOf(const AlarmSettings& settings, const std::string& jobFile) {
  return SectionOf(settings.notify, jobFile);
}

bool AreRaisedFor(const AlarmSettings& settings, const std::string& jobFile) {
  const NotifySettings& notify = NotifyOf(settings, jobFile);
  const MonitorSettings& monitor = MonitorOf(settings, jobFile);
  return !jobFile.empty() && (!monitor.pingUrl.empty() || !monitor.textfileDirectory.empty() ||
                              !notify.mailTo.empty() || !notify.command.empty());
}

Announcement PlanFor(const AlarmSettings& settings, RunRecord run,
                     const std::vector<RunRecord>& runs, Moment now, const std::string& logTail) {
  Announcement planned{std::move(run)};
  const RunRecord& told = planned.run;
  if (told.isAttended || told.end.value_or(told.begin) + kWorthTelling < now) return planned;
  planned.change = ChangeBy(told, runs);
  const MonitorSettings& monitor = MonitorOf(settings, told.job);
  const NotifySettings& notify = NotifyOf(settings, told.job);
  const auto isOpen = [&](AlarmBit alarm) { return (told.alarms & alarm) == 0; };
  if (isOpen(kServiceCalled) && IsLastOf(runs, told)) planned.serviceUrl = monitor.pingUrl;
  if (!notify.mailTo.empty() && isOpen(kMailSent) && planned.change != RunChange::None) {
    const std::size_t failures = FailuresBefore(runs, told.id);
    planned.mail = MailAbout(told, planned.change, failures, IsLastOf(runs, told) ? logTail : "");
    planned.mail->to = {notify.mailTo};
  }
  if (!notify.command.empty() && isOpen(kProgramEnded) &&
      IsAmong(notify.commandOn, told, planned.change))
    planned.program = ProgramFor(notify, told, planned.change);
  return planned;
}

}  // namespace torvik
