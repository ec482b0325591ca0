#include "admin/runs/AlarmsCommand.h"

#include <CLI/CLI.hpp>

#include "admin/common/Admin.h"
#include "admin/common/Secrets.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

int RaiseAlarms(LinuxPlatform& platform, bool json) {
  const AlarmReport report = RaiseDueAlarms(platform);
  if (!json)
    for (const std::string& problem : report.problems) Warn(problem);
  PrintResult(
      {{"announced", report.runs}, {"problems", report.problems}},
      std::to_string(report.runs) + (report.runs == 1 ? " run is" : " runs are") + " announced",
      json);
  return report.problems.empty() ? 0 : 1;
}

}  // namespace

AlarmReport RaiseDueAlarms(LinuxPlatform& platform) {
  Alarms alarms(platform.settings.alarms,
                {*platform.history, *platform.files, platform.codePages->Ansi(), *platform.locks,
                 *platform.clock, *platform.mail, *platform.pings, *platform.processes},
                platform.settings.stateDirectory + "/alarms");
  return alarms.RaiseDue();
}

void AddAlarmsCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* alarms = app.add_subcommand(
      "alarms", "raise the alarms of runs that have ended and are not announced yet");
  AddJsonOption(*alarms, invocation);
  alarms->footer(
      "A run raises its own at its end; this is for those that were killed, and for a mail that "
      "could not be sent. Exit code: 0 done, 1 a problem.");
  alarms->callback([&invocation] {
    invocation.command = [&invocation](LinuxPlatform& platform) {
      return RaiseAlarms(platform, invocation.json);
    };
  });
}

}  // namespace torvik::admin
