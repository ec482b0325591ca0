#include "admin/common/RunTexts.h"

#include <cmath>
#include <cstdio>
#include <ctime>
#include <filesystem>

#include "platform/CountText.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::admin {
namespace {

using std::chrono::system_clock;

std::string Printed(const char* format, double number) {
  char text[64];
  std::snprintf(text, sizeof text, format, number);
  return text;
}

std::optional<Moment> Ago(const std::string& text) {
  if (text.size() < 2) return std::nullopt;
  const auto number = NumberOf<int>(text.substr(0, text.size() - 1));
  if (!number || *number < 0) return std::nullopt;
  constexpr std::pair<char, int> kUnits[] = {{'s', 1}, {'m', 60}, {'h', 3600}, {'d', 86400}};
  for (const auto& [letter, seconds] : kUnits)
    if (text.back() == letter)
      return system_clock::now() - std::chrono::seconds(std::int64_t{*number} * seconds);
  return std::nullopt;
}

Moment MidnightBefore(int days) {
  const std::time_t now = system_clock::to_time_t(system_clock::now());
  std::tm day{};
  localtime_r(&now, &day);
  day.tm_hour = day.tm_min = day.tm_sec = 0;
  day.tm_mday -= days;
  day.tm_isdst = -1;
  return system_clock::from_time_t(std::mktime(&day));
}

std::optional<Moment> OnDay(const std::string& text) {
  for (const char* format : {"%Y-%m-%d %H:%M:%S", "%Y-%m-%d %H:%M", "%Y-%m-%d"}) {
    std::tm time{};
    const char* const end = strptime(text.c_str(), format, &time);
    if (end == nullptr || *end != '\0') continue;
    time.tm_isdst = -1;
    return system_clock::from_time_t(std::mktime(&time));
  }
  return std::nullopt;
}

}  // namespace

std::string LocalTime(Moment moment) {
  const std::time_t seconds = system_clock::to_time_t(moment);
  std::tm time{};
  localtime_r(&seconds, &time);
  char text[40];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &time)};
}

std::string DurationText(double seconds) {
  if (seconds < 1) return Printed("%.0f ms", std::max(seconds, 0.0) * 1000);
  if (seconds < 59.95) return Printed("%.1f s", seconds);
  const auto whole = static_cast<long>(std::lround(seconds));
  const std::string minutes = std::to_string(whole % 3600 / 60);
  if (whole < 3600) return minutes + " min " + std::to_string(whole % 60) + " s";
  return std::to_string(whole / 3600) + " h " + (minutes.size() < 2 ? "0" : "") + minutes + " min";
}

std::optional<double> SecondsOf(const RunRecord& run) {
  if (!run.end && run.outcome != RunOutcome::Running) return std::nullopt;
  const Moment end = run.end.value_or(system_clock::now());
  return std::chrono::duration<double>(end - run.begin).count();
}

std::string RowsText(std::int64_t rows, double seconds) {
  if (rows == 0) return "";
  const auto rate = static_cast<std::int64_t>(static_cast<double>(rows) / std::max(seconds, 1e-3));
  return Counted(rows, "row") + ", " + Grouped(rate) + " rows/s";
}

std::string JobNameOf(const RunRecord& run) {
  // Either spelling of paths: "C:\\jobs\\sales.etl".
  const std::string file = run.job.substr(run.job.find_last_of("/\\") + 1);
  const std::string name = std::filesystem::path(file).stem().string();
  return name.empty() ? "(" + run.package + ")" : name;
}

std::string ReasonText(const RunRecord& run) {
  if (run.outcome != RunOutcome::Failure && run.outcome != RunOutcome::Lost) return "";
  return ControlsAsBlanks((run.failedStep.empty() ? "" : run.failedStep + ": ") + run.error);
}

Moment MomentOf(const std::string& text) {
  if (text == "today") return MidnightBefore(0);
  if (text == "yesterday") return MidnightBefore(1);
  if (const auto ago = Ago(text)) return *ago;
  if (const auto day = OnDay(text)) return *day;
  throw PlatformError(0,
                      "\"" + text +
                          "\" is no time; write 2026-11-25, \"2026-11-25 02:00\", today, "
                          "yesterday, or how long ago: 90s, 15m, 12h, 7d",
                      "history");
}

}  // namespace torvik::admin
