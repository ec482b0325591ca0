#include <algorithm>
#include <cstdio>
#include <map>

#include "migrate/AgentJob.h"

namespace torvik::migrate {
namespace {

constexpr int kMinutesOfDay = 24 * 60;
constexpr std::size_t kMostTimes = 8;  // what a reader of a timer can still check

enum Type { kOnce = 1, kDaily = 4, kWeekly = 8, kMonthly = 16, kMonthlyRelative = 32 };
constexpr int kAtAgentStart = 64, kWhenIdle = 128;
enum Subday { kSeconds = 2, kMinutes = 4, kHours = 8 };

/// Days in front of the time, and what they say otherwise.
struct Days {
  std::string text, problem;
  bool isNone = false;  ///< A timer has no words for them.
};

Days NoDays(const std::string& problem) {
  return {"", problem, true};
}

std::string Format(const char* format, int number) {
  char text[32];
  std::snprintf(text, sizeof text, format, number);
  return text;
}

constexpr const char* kDayNames[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

Days WeekDays(const AgentSchedule& schedule) {
  std::string days;
  // A week begins on Monday for timers.
  for (const int day : {1, 2, 3, 4, 5, 6, 0})
    if (schedule.interval >> day & 1)
      days += (days.empty() ? "" : ",") + std::string(kDayNames[day]);
  if (days.empty()) return NoDays("it names no day of the week");
  if (days == "Mon,Tue,Wed,Thu,Fri") days = "Mon..Fri";
  if (days == "Mon,Tue,Wed,Thu,Fri,Sat,Sun") return {};
  if (schedule.recurrence > 1)
    return {days, "it ran only every " + std::to_string(schedule.recurrence) +
                      " weeks, which a timer cannot say; this one starts every week"};
  return {days, ""};
}

/// "*" or the months in which it runs, counted from that of its first day.
Days Months(const AgentSchedule& schedule) {
  const int every = schedule.recurrence;
  if (every <= 1) return {"*", ""};
  if (every > 12 || 12 % every != 0)
    return NoDays("every " + std::to_string(every) + " months do not repeat in a year");
  const int first = (std::max(schedule.startDate / 100 % 100, 1) - 1) % every + 1;
  std::string months;
  for (int month = first; month <= 12; month += every)
    months += (months.empty() ? "" : ",") + Format("%02d", month);
  return {months, ""};
}

Days DayOfMonth(const AgentSchedule& schedule) {
  Days months = Months(schedule);
  if (months.isNone) return months;
  if (schedule.interval < 1 || schedule.interval > 31)
    return NoDays("it names no day of the month");
  return {"*-" + months.text + Format("-%02d", schedule.interval), ""};
}

/// "the second Tuesday", "the last day".
Days RelativeDay(const AgentSchedule& schedule) {
  Days months = Months(schedule);
  if (months.isNone) return months;
  constexpr int kLast = 16, kAnyDay = 8;
  const std::map<int, int> weeks = {{1, 0}, {2, 1}, {4, 2}, {8, 3}};
  const auto week = weeks.find(schedule.relative);
  const bool isLast = schedule.relative == kLast;
  if (!isLast && week == weeks.end()) return NoDays("it names no week of the month");
  const std::string month = "*-" + months.text;
  if (schedule.interval == kAnyDay)
    return {isLast ? month + "~01" : month + Format("-%02d", week->second + 1), ""};
  if (schedule.interval < 1 || schedule.interval > kAnyDay)
    return NoDays("a timer cannot say the n-th weekday, or day of the weekend, of a month");
  const std::string day = kDayNames[schedule.interval - 1];
  if (isLast) return {day + " " + month + "~07/1", ""};
  const int first = 7 * week->second + 1;
  return {day + " " + month + Format("-%02d..", first) + Format("%02d", first + 6), ""};
}

std::string DateText(int date) {
  return Format("%04d-", date / 10000) + Format("%02d-", date / 100 % 100) +
         Format("%02d", date % 100);
}

Days OneDay(const AgentSchedule& schedule) {
  return {DateText(schedule.startDate), "it ran once, on that day"};
}

Days DaysOf(const AgentSchedule& schedule) {
  switch (schedule.type) {
    case kOnce: return OneDay(schedule);
    case kDaily:
      if (schedule.interval <= 1) return {};
      return {"", "it ran only every " + std::to_string(schedule.interval) +
                      " days, which a timer cannot say; this one starts every day"};
    case kWeekly: return WeekDays(schedule);
    case kMonthly: return DayOfMonth(schedule);
    case kMonthlyRelative: return RelativeDay(schedule);
    case kAtAgentStart: return NoDays("it ran when the Agent started");
    case kWhenIdle: return NoDays("it ran when the server was idle");
    default: return NoDays("its kind (freq_type) is not known");
  }
}

int MinuteOf(int time) {
  return std::clamp(time / 10000, 0, 23) * 60 + std::clamp(time / 100 % 100, 0, 59);
}

/// "0,15,30,45" as "00/15" when the steps go on to the end of the range, else in full.
std::string ListOf(const std::vector<int>& numbers, int range) {
  if (numbers.size() > 2) {
    const int step = numbers[1] - numbers[0];
    bool isEven = numbers.back() + step >= range;
    for (std::size_t i = 1; i < numbers.size(); ++i)
      isEven = isEven && numbers[i] - numbers[i - 1] == step;
    if (isEven)
      return numbers[0] == 0 && step == 1 ? "*"
                                          : Format("%02d/", numbers[0]) + std::to_string(step);
    if (numbers.back() - numbers[0] + 1 == static_cast<int>(numbers.size()))
      return Format("%02d..", numbers[0]) + Format("%02d", numbers.back());
  }
  std::string list;
  for (const int number : numbers) list += (list.empty() ? "" : ",") + Format("%02d", number);
  return list;
}

/// Hours that have the same minutes share an expression.
std::vector<std::string> TimesWithin(int first, int last, int step) {
  std::map<int, std::vector<int>> minutes;
  for (int at = first; at <= last; at += step) minutes[at / 60].push_back(at % 60);
  std::map<std::vector<int>, std::vector<int>> hours;
  for (const auto& [hour, list] : minutes) hours[list].push_back(hour);
  std::vector<std::string> times;
  for (const auto& [list, hourList] : hours)
    times.push_back(ListOf(hourList, 24) + ":" + ListOf(list, 60));
  std::ranges::sort(times);
  return times;
}

/// Within the day.
CalendarTimes DayTimes(const AgentSchedule& schedule) {
  const int first = MinuteOf(schedule.startTime), last = MinuteOf(schedule.endTime);
  if (schedule.subdayType == kSeconds)
    return {{},
            "it ran every " + std::to_string(schedule.subdayInterval) +
                " seconds; jobs are started by the minute"};
  const bool isRepeated = schedule.subdayType == kMinutes || schedule.subdayType == kHours;
  const int step = schedule.subdayInterval * (schedule.subdayType == kHours ? 60 : 1);
  if (!isRepeated || step < 1 || step >= kMinutesOfDay)
    return {TimesWithin(first, first, kMinutesOfDay), ""};
  if (last < first) return {{}, "it ran over midnight; make two schedules of it, to 23:59 and on"};
  CalendarTimes times = {TimesWithin(first, last, step), ""};
  if (times.times.size() > kMostTimes)
    return {{}, "every " + std::to_string(step) + " minutes do not repeat in an hour"};
  return times;
}

}  // namespace

CalendarTimes TimesOf(const AgentSchedule& schedule) {
  if (!schedule.isEnabled) return {{}, "it is disabled"};
  const Days days = DaysOf(schedule);
  if (days.isNone) return {{}, days.problem};
  CalendarTimes times = DayTimes(schedule);
  if (times.times.empty()) return times;
  if (!days.text.empty())
    for (std::string& time : times.times) time = days.text + " " + time;
  times.problem = days.problem;
  constexpr int kNoLastDay = 99991231;
  if (schedule.endDate > 0 && schedule.endDate != kNoLastDay && schedule.type != kOnce)
    times.problem += (times.problem.empty() ? "" : "; ") +
                     ("its last day was " + DateText(schedule.endDate)) + ", and a timer goes on";
  return times;
}

}  // namespace torvik::migrate
