#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Dates as numbers of days since 1899-12-30, and as US English text.
namespace torvik::script {

/// A date's parts; the month from 1, the weekday from 1 for Sunday.
struct DateParts {
  int year = 1899, month = 12, day = 30, hour = 0, minute = 0, second = 0;

  bool operator==(const DateParts&) const = default;
};

/// True for the years 100 to 9999.
bool IsDateNumber(double days);

/// `days` must be a date number.
DateParts PartsOfDate(double days);
int WeekdayOfDate(double days);

/// Whole days of a date in the proleptic Gregorian calendar; months and days may lie outside their
/// ranges and carry over.
std::int64_t DaysOfDate(std::int64_t year, std::int64_t month, std::int64_t day);

/// A date number of whole days and of seconds that may carry over. Throws Overflow outside the
/// years 100 to 9999.
double DateNumber(std::int64_t days, std::int64_t seconds);

/// 0 to 29 are 2000 to 2029, 30 to 99 are 1930 to 1999; others as they stand.
int FullYear(int year);

int DaysInMonth(int year, int month);
std::string_view MonthName(int month);
std::string_view WeekdayName(int weekday);

/// The date, the time or both: "1/31/2024", "10:30 PM", "Jan 31, 2024 22:30:05", "2024-01-31".
/// Nothing when the text is no date; a date needs its year.
std::optional<double> DateOfText(std::string_view text);

enum class DateFormat : std::uint8_t { General, LongDate, ShortDate, LongTime, ShortTime };
std::string TextOfDate(double days, DateFormat format = DateFormat::General);

}  // namespace torvik::script
