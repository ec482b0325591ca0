#include "platform/linux/tables/common/SerialDate.h"

#include <chrono>
#include <cmath>
#include <cstdio>

#include "platform/Text.h"

namespace torvik {
namespace {

using namespace std::chrono;

constexpr double kDaysFrom1900To1904 = 1462;
constexpr auto kDayZero = sys_days(year(1899) / December / 30);
constexpr auto kFirstDay = sys_days(year(100) / January / 1);
constexpr auto kLastDay = sys_days(year(9999) / December / 31);
constexpr double kFirst = static_cast<double>((kFirstDay - kDayZero).count());
constexpr double kBehindLast = static_cast<double>((kLastDay - kDayZero).count() + 1);

/// A date that a workbook shows as one that it cannot be: 29 February 1900, and those before it are
/// one day off.
constexpr double kLeapDayOf1900 = 60;

std::optional<std::string> Text(sys_days day, long secondOfDay, bool withTime) {
  if (day < kFirstDay || day > kLastDay) return {};
  const year_month_day date(day);
  char text[64];
  const int length =
      std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(date.year()),
                    static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
  if (withTime)
    std::snprintf(text + length, sizeof text - static_cast<std::size_t>(length),
                  " %02ld:%02ld:%02ld", secondOfDay / 3600, secondOfDay / 60 % 60,
                  secondOfDay % 60);
  return text;
}

std::optional<std::string> Text(double date, bool withTime) {
  if (!(date >= kFirst && date < kBehindLast)) return {};
  const double wholeDays = std::trunc(date);
  // The time is rounded to seconds, of which the last of a day may reach the next one.
  const long second = std::lround(std::abs(date - wholeDays) * 86400);
  const auto day = kDayZero + days(static_cast<int>(wholeDays)) + days(second / 86400);
  return Text(day, second % 86400, withTime || second % 86400 != 0);
}

/// The first of the format's sections without what it shows as it stands: texts in quotes, escaped
/// characters, colours and conditions. A count of hours as "[h]" stays.
std::string Placeholders(std::string_view code) {
  std::string placeholders;
  for (std::size_t i = 0; i < code.size() && code[i] != ';'; ++i) {
    const char c = LowerAscii(code[i]);
    if (c == '"') {
      i = std::min(code.find('"', i + 1), code.size());
    } else if (c == '\\' || c == '_' || c == '*') {
      ++i;
    } else if (c == '[') {
      const std::size_t end = std::min(code.find(']', i), code.size());
      const std::string inside = LowerAscii(code.substr(i + 1, end - i - 1));
      if (inside.find_first_not_of("hms") == std::string::npos) placeholders += inside;
      i = end;
    } else {
      placeholders += c;
    }
  }
  return placeholders;
}

/// Digits belong to a number, but for those of a second's fraction.
bool HasDigits(std::string_view placeholders) {
  for (std::size_t i = 0; i < placeholders.size(); ++i) {
    if (placeholders[i] == '#' || placeholders[i] == '?') return true;
    if (placeholders.substr(i).starts_with("s.0"))
      i = std::min(placeholders.find_first_not_of('0', i + 2), placeholders.size()) - 1;
    else if (placeholders[i] == '0')
      return true;
  }
  return false;
}

}  // namespace

std::optional<std::string> OleDateText(double date) {
  return Text(date, true);
}

std::optional<std::string> SheetDateText(double serial, bool countsFrom1904, bool withTime) {
  if (!(serial >= 0)) return {};
  if (countsFrom1904) return Text(serial + kDaysFrom1900To1904, withTime);
  return Text(serial >= 1 && serial < kLeapDayOf1900 ? serial + 1 : serial, withTime);
}

std::optional<double> SheetDateIn(std::string_view text, bool countsFrom1904) {
  int yearNumber = 0;
  unsigned monthNumber = 0, dayNumber = 0;
  int hours = 0, minutes = 0;
  double seconds = 0;
  if (std::sscanf(std::string(text).c_str(), "%4d-%2u-%2uT%2d:%2d:%lf", &yearNumber, &monthNumber,
                  &dayNumber, &hours, &minutes, &seconds) < 3)
    return {};
  const auto date = year(yearNumber) / month(monthNumber) / day(dayNumber);
  if (!date.ok()) return {};
  auto serial = static_cast<double>((sys_days(date) - kDayZero).count());
  if (countsFrom1904)
    serial -= kDaysFrom1900To1904;
  else if (serial <= kLeapDayOf1900)
    serial -= 1;
  return serial + (hours * 3600 + minutes * 60 + seconds) / 86400;
}

NumberKind NumberKindOf(std::string_view formatCode) {
  const std::string placeholders = Placeholders(formatCode);
  const auto has = [&](std::string_view letters) {
    return placeholders.find_first_of(letters) != std::string::npos;
  };
  if (placeholders == "general" || HasDigits(placeholders)) return NumberKind::Number;
  if (has("hs")) return NumberKind::DateTime;
  return has("ymd") ? NumberKind::Date : NumberKind::Number;
}

NumberKind NumberKindOf(int builtInFormat) {
  const auto isFrom = [&](int first, int last) {
    return builtInFormat >= first && builtInFormat <= last;
  };
  if (isFrom(18, 22) || isFrom(32, 33) || isFrom(45, 47)) return NumberKind::DateTime;
  return isFrom(14, 17) || isFrom(27, 36) || isFrom(50, 58) ? NumberKind::Date : NumberKind::Number;
}

}  // namespace torvik
