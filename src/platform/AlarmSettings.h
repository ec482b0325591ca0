#pragma once

#include <map>
#include <string>
#include <vector>

namespace torvik {

/// How a job is watched: the sections [monitor] and [monitor JOB].
struct MonitorSettings {
  std::string textfileDirectory = {};  ///< Takes metrics; empty: there are none.
  std::string pingUrl = {};  ///< A secret, or a reference to it (Secrets.h); empty: no calls.
};

/// At which ends of runs a program is started: of each that failed; of those that a mail is sent
/// about; of each.
enum class NotifyOn { Failure, Change, Always };

/// Who is told how runs end: the sections [notify] and [notify JOB].
struct NotifySettings {
  std::string mailTo = {};                ///< Addresses, separated by commas; empty: no mail.
  std::vector<std::string> command = {};  ///< A program and its arguments; empty: none.
  NotifyOn commandOn = NotifyOn::Change;
};

/// By a job's name in small letters, those of the job; "" for all other jobs.
struct AlarmSettings {
  std::map<std::string, MonitorSettings> monitor;
  std::map<std::string, NotifySettings> notify;
};

}  // namespace torvik
