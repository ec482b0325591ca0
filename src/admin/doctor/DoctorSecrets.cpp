// Passwords: where they stand, and who may read them.

#include <cstdlib>

#include "admin/common/Secrets.h"
#include "admin/doctor/Doctor.h"
#include "admin/jobs/JobCheck.h"
#include "admin/jobs/JobTimer.h"
#include "platform/PlatformError.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/settings/Secret.h"
#include "platform/linux/settings/SmbLogon.h"

namespace torvik::admin {
namespace {

bool IsForService(const SecretReference& reference) {
  const char* const directory = std::getenv("CREDENTIALS_DIRECTORY");
  return !reference.credential.empty() && (directory == nullptr || *directory == '\0');
}

void CheckReference(const std::string& section, const SecretReference& reference,
                    CheckReport& report) {
  const std::string what = "password of [" + section + "]";
  if (reference.IsEmpty()) return;
  if (IsForService(reference))
    return report.NotChecked(
        what, "the credential " + reference.credential + " is there for the service alone");
  std::string secret;
  if (const std::string problem = ReadSecret(reference, secret); !problem.empty())
    return report.Problem(what, problem);
  report.Ok(what, reference.file.empty() ? "the credential " + reference.credential + " is there"
                                         : reference.file + " is for its owner alone");
}

void CheckShareLogon(const SmbSettings& settings, CheckReport& report) {
  CheckReference(settings.section, settings.passwordReference, report);
  if (settings.credentials.empty()) return;
  const std::string what = "password of [" + settings.section + "]";
  SmbLogon logon;
  if (const std::string problem = ReadSmbLogon(settings, logon); !problem.empty())
    return report.Problem(what, problem);
  report.Ok(what, settings.credentials + " is for its owner alone");
}

void CheckJobFile(LinuxPlatform& platform, const std::string& job, const std::string& path,
                  CheckReport& report) {
  const std::string what = "job " + job;
  try {
    const JobUnderCheck check(platform, path);
    if (const std::string open = OpenPasswords(check); !open.empty())
      return report.Warning(what, open);
    report.Ok(what, "torvik-admin job check " + path + " looks at all that it names");
  } catch (const PlatformError& error) {
    report.Problem(what, error.Description());
  }
}

}  // namespace

void CheckStoredSecrets(const LinuxPlatform& platform, CheckReport& report) {
  const Settings& settings = platform.settings;
  if (settings.HoldPassword()) {
    report.Warning("settings", settings.sourceFile +
                                   " holds a password in clear text; put it into a file and name "
                                   "that by password_file");
    const std::string open = OpenToOthers(settings.Paths(), settings.sourceFile);
    if (!open.empty()) report.Problem("settings", open);
  }
  for (const auto& [name, server] : settings.servers)
    CheckReference("server " + name, server.logon.password, report);
  for (const auto& [host, logon] : settings.ftp.logons)
    CheckReference("ftp " + host, logon.password, report);
  for (const auto& [host, smb] : settings.smb) CheckShareLogon(smb, report);
  CheckReference("mail", settings.mail.password, report);
}

void CheckJobFiles(LinuxPlatform& platform, const std::string& directory, CheckReport& report) {
  try {
    const std::vector<std::string> jobs = JobsIn(directory);
    for (const std::string& job : jobs)
      CheckJobFile(platform, job, directory + "/" + job + ".etl", report);
  } catch (const PlatformError& error) {
    report.NotChecked("job files", error.Description());
  }
}

}  // namespace torvik::admin
