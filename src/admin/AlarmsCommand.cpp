#include <CLI/CLI.hpp>

#include "admin/Admin.h"
#include "admin/Alarms.h"
#include "admin/Secrets.h"
#include "alarms/Alarms.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {

AlarmReport RaiseAlarms(LinuxPlatform& platform) {
  Alarms alarms(platform.settings.alarms,
                {*platform.history, *platform.files, platform.codePages->Ansi(), *platform.locks,
                 *platform.clock, *platform.mail, *platform.pings, *platform.processes},
                platform.settings.stateDirectory + "/alarms");
  return alarms.RaiseDue();
}

void AddAlarmsCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* alarms = app.add_subcommand(
      "alarms", "tell whoever the settings name of runs that ended and were not announced");
  alarms->footer(
      "Each run does this at its end; the command does it for runs whose process was killed, and "
      "tries again what could not be delivered. Exit code: 0 nothing is left, 1 something failed.");
  AddJsonOption(*alarms, invocation);
  alarms->callback([&invocation] {
    invocation.command = [&invocation](LinuxPlatform& platform) {
      const AlarmReport report = RaiseAlarms(platform);
      for (const std::string& problem : report.problems) Warn(problem);
      PrintResult({{"announced", report.runs}, {"problems", report.problems}},
                  std::to_string(report.runs) +
                      (report.runs == 1 ? " run was announced" : " runs were announced"),
                  invocation.json);
      return report.problems.empty() ? 0 : 1;
    };
  });
}

}  // namespace torvik::admin
