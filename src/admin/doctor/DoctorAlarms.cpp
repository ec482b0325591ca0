// Whether those who are called when a job fails can be.

#include <unistd.h>

#include <cstdlib>

#include "admin/doctor/Doctor.h"
#include "platform/Secrets.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/system/ChildProcess.h"
#include "platform/linux/system/Posix.h"
#include "platform/linux/system/WhoRuns.h"

namespace torvik::admin {
namespace {

void CheckTextfileDirectory(const std::string& section, const std::string& directory,
                            CheckReport& report) {
  const std::string what = "metrics of [" + section + "]";
  if (directory.empty()) return;
  if (access(directory.c_str(), W_OK | X_OK) == 0) return report.Ok(what, directory + " is there");
  const std::string reason = LastSystemError().message();
  report.Problem(what, directory + ": " + reason + "; make it, and let the user " + UserName() +
                           " write there");
}

void CheckPingUrl(LinuxPlatform& platform, const std::string& section, const std::string& url,
                  CheckReport& report) {
  const std::string what = "monitoring service of [" + section + "]";
  if (url.empty()) return;
  const bool isCredential = url.starts_with("credential:");
  if (isCredential && std::getenv("CREDENTIALS_DIRECTORY") == nullptr)
    return report.NotChecked(what, "the " + url + " is there for the service alone");
  std::string known;
  const std::string problem = RefersToSecret(url) ? platform.secrets->Read(url, known) : "";
  if (!problem.empty()) return report.Problem(what, problem);
  report.Ok(what, "its URL is known; it is called when a job runs");
}

void CheckMailTo(const MailSettings& mail, const std::string& section, const std::string& addresses,
                 CheckReport& report) {
  const std::string what = "mail of [" + section + "]";
  if (addresses.empty()) return;
  if (addresses.find('@') == addresses.npos)
    return report.Problem(what, "mail_to holds no address; write a@example.com, b@example.com");
  if (mail.server.empty() || mail.from.empty())
    return report.Problem(what,
                          "the mails have no server or no sender; name them by server and "
                          "from in [mail]");
  report.Ok(what, "it goes to " + addresses + " by " + mail.server);
}

void CheckCommand(const std::string& section, const std::vector<std::string>& command,
                  CheckReport& report) {
  const std::string what = "program of [" + section + "]";
  if (command.empty()) return;
  const std::string program = FindProgram(command.front());
  if (!program.empty() && access(program.c_str(), X_OK) == 0)
    return report.Ok(what, program + " is there");
  report.Problem(what, command.front() + " cannot be started; give its full path, and the user " +
                           UserName() + " the right to start it");
}

}  // namespace

void CheckAlarms(LinuxPlatform& platform, CheckReport& report) {
  const auto named = [](const char* kind, const std::string& job) {
    return job.empty() ? std::string(kind) : kind + (" " + job);
  };
  for (const auto& [job, monitor] : platform.settings.alarms.monitor) {
    CheckTextfileDirectory(named("monitor", job), monitor.textfileDirectory, report);
    CheckPingUrl(platform, named("monitor", job), monitor.pingUrl, report);
  }
  for (const auto& [job, notify] : platform.settings.alarms.notify) {
    CheckMailTo(platform.settings.mail, named("notify", job), notify.mailTo, report);
    CheckCommand(named("notify", job), notify.command, report);
  }
}

}  // namespace torvik::admin
