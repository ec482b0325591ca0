#pragma once

#include <string>
#include <vector>

#include "alarms/Announcement.h"
#include "platform/AlarmSettings.h"

namespace torvik {

/// What the settings say for a job.
const MonitorSettings& MonitorOf(const AlarmSettings& settings, const std::string& jobFile);
const NotifySettings& NotifyOf(const AlarmSettings& settings, const std::string& jobFile);

/// Whether anybody is called about a run of this job.
bool AreRaisedFor(const AlarmSettings& settings, const std::string& jobFile);

/// What is still to be done about a run that has ended. `runs` are those of its job, the latest
/// first; `logTail` are the last lines of its log. A service hears of a job's last run alone, and
/// once: it misses calls by itself. Runs from the form, and those of a week ago, are left alone.
Announcement PlanFor(const AlarmSettings& settings, RunRecord run,
                     const std::vector<RunRecord>& runs, Moment now, const std::string& logTail);

}  // namespace torvik
