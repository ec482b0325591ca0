#include "alarms/AlarmChannels.h"

#include <exception>

#include "alarms/AlarmTexts.h"
#include "alarms/JobName.h"
#include "platform/Clock.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik {
namespace {

constexpr int kTries = 3;
constexpr std::chrono::seconds kBetweenTries{1};

std::string Named(const RunRecord& run) {
  return (run.id == 0 ? "a run" : "the run " + std::to_string(run.id)) + " of " + JobName(run.job);
}

/// The history alone knows of it later.
std::string Later(const RunRecord& run) {
  return run.id == 0 ? "" : "; the next run, or torvik-admin alarms, tries it again";
}

/// The empty text, or why the mail is not sent.
std::string SendMail(Mailer& mailer, const MailMessage& mail, const std::atomic<bool>& cancelled,
                     bool& isTransient) {
  try {
    mailer.Send(mail, {}, cancelled);
    return {};
  } catch (const PlatformError& error) {
    isTransient = error.isTransient;
    return error.Description();
  } catch (const std::exception& error) {
    return WordsOf(error);
  }
}

/// The empty text, or why the program has not done what it is for.
std::string RunProgram(Processes& processes, const ProcessRequest& request) {
  std::string lastLine;
  const ProcessExit end = processes.Run(request, [&lastLine](std::string_view line) {
    if (!Trimmed(line, kWhiteSpace).empty()) lastLine = line;
  });
  if (!end.started) return "cannot be started: " + end.error;
  if (end.cancelled) return "was ended, because it took too long";
  if (end.exitCode == 0) return {};
  return "ended with the exit code " + std::to_string(end.exitCode) +
         (lastLine.empty() ? "" : ": " + lastLine);
}

}  // namespace

std::string CallService(Pinger& pings, Clock& clock, const std::string& url, PingKind kind,
                        const std::string& body, const std::atomic<bool>& cancelled) {
  std::string reason;
  for (int attempt = 1; attempt <= kTries && !cancelled; ++attempt) {
    if (attempt > 1) clock.Sleep(kBetweenTries);
    try {
      pings.Send(url, kind, body, cancelled);
      return {};
    } catch (const PlatformError& error) {
      reason = error.Description();
      if (!error.isTransient) break;
    } catch (const std::exception& error) {
      return WordsOf(error);
    }
  }
  return reason;
}

std::vector<std::string> CallServices(Pinger& pings, Clock& clock,
                                      const Announcements& announcements,
                                      const std::atomic<bool>& cancelled) {
  std::vector<std::string> problems;
  for (const Announcement& announcement : announcements) {
    if (announcement.serviceUrl.empty() || cancelled) continue;
    const RunRecord& run = announcement.run;
    const bool hasFailed = HasFailed(run);
    const std::string reason = CallService(pings, clock, announcement.serviceUrl,
                                           hasFailed ? PingKind::Fail : PingKind::Success,
                                           hasFailed ? ReasonOf(run) : std::string(), cancelled);
    if (!reason.empty())
      problems.push_back("no monitoring service was told of " + Named(run) + ": " + reason);
  }
  return problems;
}

std::vector<std::string> SendMails(Mailer& mailer, Announcements& announcements,
                                   const std::atomic<bool>& cancelled) {
  std::vector<std::string> problems;
  for (Announcement& announcement : announcements) {
    if (!announcement.mail) continue;
    bool isTransient = false;
    const std::string reason = SendMail(mailer, *announcement.mail, cancelled, isTransient);
    announcement.isMailSent = reason.empty();
    if (reason.empty()) continue;
    problems.push_back("the mail about " + Named(announcement.run) + " is not sent: " + reason +
                       Later(announcement.run));
    if (isTransient || cancelled) break;  // the server is not there for the others either
  }
  return problems;
}

std::vector<std::string> StartPrograms(Processes& processes, Announcements& announcements,
                                       const std::atomic<bool>& cancelled) {
  std::vector<std::string> problems;
  for (Announcement& announcement : announcements) {
    if (!announcement.program || cancelled) continue;
    announcement.program->cancelled = &cancelled;
    const std::string reason = RunProgram(processes, *announcement.program);
    announcement.hasProgramEnded = reason.empty();
    if (!reason.empty())
      problems.push_back(announcement.program->program + ", started for " +
                         Named(announcement.run) + ", " + reason + Later(announcement.run));
  }
  return problems;
}

}  // namespace torvik
