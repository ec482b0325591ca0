// Whether the history that machines share can be reached, and has all of this machine's runs.

#include "admin/doctor/Doctor.h"
#include "history/SharedHistory.h"
#include "platform/Ado.h"
#include "platform/PlatformError.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {

void CheckSharedHistory(LinuxPlatform& platform, CheckReport& report) {
  const HistorySettings& history = platform.settings.history;
  if (history.server.empty()) return;
  const std::string what = "shared history";
  const std::string place = "server " + history.server + ", database " + history.database;
  try {
    SharedHistory(*platform.databases, {history.server, history.database}).Runs({.limit = 1});
    if (platform.history->Unsent(0, 1).empty())
      return report.Ok(what, place + " has all runs of this machine");
    report.Warning(what, place + " lacks runs of this machine; torvik-admin history send");
  } catch (const std::exception& error) {
    report.Problem(what, place + ": " + WordsOf(error) +
                             "; correct [history] or the server's section in the settings");
  }
}

}  // namespace torvik::admin
