#include <CLI/CLI.hpp>

#include "admin/common/Admin.h"
#include "admin/doctor/Doctor.h"
#include "admin/jobs/JobTimer.h"
#include "platform/Version.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

int Examine(LinuxPlatform& platform, const std::string& jobs, bool json) {
  CheckReport report;
  report.Ok("version", std::string("torvik-admin ") + kVersion);
  const std::string& file = platform.settings.sourceFile;
  report.Ok("settings", file.empty() ? "there is no settings file; all has its default"
                                     : file + " has no fault");
  CheckPrograms(report);
  CheckDirectories(platform, report);
  CheckClock(platform, report);
  CheckStoredSecrets(platform, report);
  CheckJobFiles(platform, jobs, report);
  CheckAlarms(platform, report);
  CheckSharedHistory(platform, report);
  CheckNetwork(platform, report);
  report.Print("machine", "this machine", json);
  return report.HasProblems() ? 1 : 0;
}

}  // namespace

void AddDoctorCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* doctor = app.add_subcommand(
      "doctor", "look at all that jobs need of this machine, as the user who runs them");
  auto jobs = std::make_shared<std::string>(UnitPlaces().Jobs());
  doctor->add_option("--jobs", *jobs, "directory of job files")->capture_default_str();
  AddJsonOption(*doctor, invocation);
  doctor->footer("Exit code: 0 no problem, 1 a problem.");
  doctor->callback([&invocation, jobs] {
    invocation.command = [&invocation, jobs](LinuxPlatform& platform) {
      return Examine(platform, *jobs, invocation.json);
    };
  });
}

}  // namespace torvik::admin
