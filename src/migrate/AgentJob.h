#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace torvik::migrate {

/// When a SQL Server Agent job starts, by the columns of msdb.dbo.sysschedules and the arguments of
/// sp_add_jobschedule, which have the same names and numbers.
struct AgentSchedule {
  std::string name;
  bool isEnabled = true;
  int type = 0, interval = 0;              ///< freq_type, freq_interval.
  int subdayType = 0, subdayInterval = 0;  ///< Within the day.
  int relative = 0, recurrence = 0;        ///< Of months, and every how many weeks or months.
  int startDate = 0;                       ///< YYYYMMDD.
  int startTime = 0, endTime = 235959;     ///< HHMMSS.
  int endDate = 99991231;                  ///< Its last day; this one: none.
};

/// A schedule in the language of timers.
struct CalendarTimes {
  std::vector<std::string> times;  ///< Calendar expressions of systemd.time(7).
  std::string problem;             ///< Why there are none, or what they say otherwise.
};

/// Times are on the hour and minute; what a timer cannot say has its words.
CalendarTimes TimesOf(const AgentSchedule& schedule);

struct AgentStep {
  std::string name;
  std::string subsystem;  ///< "CmdExec", "TSQL", ...
  std::string command;    ///< May hold passwords: never to be shown.
  int line = 0;           ///< Of a script; 0 when it comes from a server.
};

struct AgentJob {
  std::string name;
  bool isEnabled = true;
  std::vector<AgentStep> steps;
  std::vector<AgentSchedule> schedules;
  int line = 0;
};

/// A dtsrun line as it stands in a command.
struct DtsrunText {
  std::string text;
  int line = 0;  ///< Of the command, from 1.
};

/// The dtsrun lines in a command of several lines, of a step or a batch file.
std::vector<DtsrunText> DtsrunLinesIn(std::string_view command);

}  // namespace torvik::migrate
