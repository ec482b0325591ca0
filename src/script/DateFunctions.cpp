#include <cmath>
#include <ctime>

#include "platform/Clock.h"
#include "platform/Text.h"
#include "script/Conversion.h"
#include "script/DateText.h"
#include "script/Functions.h"

namespace torvik::script {

namespace {

constexpr std::int64_t secondsOfDay = 86400;

double WholeDays(double date) {
  return std::trunc(date);
}

std::int64_t SecondsIn(double date) {
  const DateParts parts = PartsOfDate(date);
  return parts.hour * 3600 + parts.minute * 60 + parts.second;
}

std::int64_t DayNumber(double date) {
  const DateParts parts = PartsOfDate(date);
  return DaysOfDate(parts.year, parts.month, parts.day);
}

double LocalNow(Context& context) {
  const std::tm now = context.clock.LocalTime();
  return DateNumber(DaysOfDate(now.tm_year + 1900, now.tm_mon + 1, now.tm_mday),
                    now.tm_hour * 3600 + now.tm_min * 60 + now.tm_sec);
}

Value Now(Context& context, Arguments) {
  return Value::OfDate(LocalNow(context));
}
Value Date(Context& context, Arguments) {
  return Value::OfDate(WholeDays(LocalNow(context)));
}
Value Time(Context& context, Arguments) {
  return Value::OfDate(DateNumber(0, SecondsIn(LocalNow(context))));
}

Value Timer(Context& context, Arguments) {
  const auto sinceEpoch = context.clock.Now().time_since_epoch();
  const auto fraction = std::chrono::duration<double>(sinceEpoch).count();
  const double seconds = static_cast<double>(SecondsIn(LocalNow(context)));
  return Value::OfSingle(static_cast<float>(seconds + fraction - std::floor(fraction)));
}

enum class Interval : std::uint8_t {
  Year,
  Quarter,
  Month,
  DayOfYear,
  Day,
  Weekday,
  Week,
  Hour,
  Minute,
  Second
};

Interval IntervalArgument(Context&, const Value& value) {
  static constexpr std::string_view names[] = {"yyyy", "q",  "m", "y", "d",
                                               "w",    "ww", "h", "n", "s"};
  const std::string name = LowerAscii(ToText(value));
  for (std::size_t i = 0; i < std::size(names); ++i) {
    if (name == names[i]) return static_cast<Interval>(i);
  }
  throw InvalidCall();
}

double AddMonths(double date, std::int64_t months) {
  const DateParts parts = PartsOfDate(date);
  const std::int64_t all = parts.year * std::int64_t{12} + parts.month - 1 + months;
  const std::int64_t year = all / 12, month = all % 12 + 1;
  if (year < 100 || year > 9999 || month < 1) throw InvalidCall("DateAdd");
  const int days = DaysInMonth(static_cast<int>(year), static_cast<int>(month));
  return DateNumber(DaysOfDate(year, month, std::min(parts.day, days)), SecondsIn(date));
}

Value DateAdd(Context& context, Arguments a) {
  const Interval interval = IntervalArgument(context, a[0]);
  if (a[1].Is(Kind::Null) || a[2].Is(Kind::Null)) throw RuntimeError(94);
  const std::int64_t count = static_cast<std::int64_t>(ToLong(a[1]));
  const double date = ToDate(a[2]);
  const auto add = [&](std::int64_t days, std::int64_t seconds) {
    return Value::OfDate(DateNumber(DayNumber(date) + days, SecondsIn(date) + seconds));
  };
  switch (interval) {
    case Interval::Year: return Value::OfDate(AddMonths(date, count * 12));
    case Interval::Quarter: return Value::OfDate(AddMonths(date, count * 3));
    case Interval::Month: return Value::OfDate(AddMonths(date, count));
    case Interval::Week: return add(count * 7, 0);
    case Interval::Hour: return add(0, count * 3600);
    case Interval::Minute: return add(0, count * 60);
    case Interval::Second: return add(0, count);
    default: return add(count, 0);
  }
}

/// 1 to 7, from a first day of the week in the language's constants; 0 is Sunday here.
int WeekdayFrom(double date, std::int32_t firstDay) {
  if (firstDay < 0 || firstDay > 7) throw InvalidCall();
  if (firstDay == 0) firstDay = 1;
  return (WeekdayOfDate(date) - firstDay + 7) % 7 + 1;
}

std::int64_t WeekNumberSinceStart(double date, std::int32_t firstDay) {
  return (DayNumber(date) - WeekdayFrom(date, firstDay) + 1 + 70000000) / 7;
}

Value DateDiff(Context& context, Arguments a) {
  const Interval interval = IntervalArgument(context, a[0]);
  if (a[1].Is(Kind::Null) || a[2].Is(Kind::Null)) return Value::OfNull();
  const double from = ToDate(a[1]), to = ToDate(a[2]);
  const DateParts x = PartsOfDate(from), y = PartsOfDate(to);
  const std::int64_t days = DayNumber(to) - DayNumber(from);
  const std::int64_t seconds = days * secondsOfDay + SecondsIn(to) - SecondsIn(from);
  const std::int64_t months = (y.year - x.year) * 12 + y.month - x.month;
  std::int64_t result = days;
  switch (interval) {
    case Interval::Year: result = y.year - x.year; break;
    case Interval::Quarter:
      result = (y.year - x.year) * 4 + (y.month - 1) / 3 - (x.month - 1) / 3;
      break;
    case Interval::Month: result = months; break;
    case Interval::Weekday: result = days / 7; break;
    case Interval::Week:
      result =
          WeekNumberSinceStart(to, LongOr(a, 3, 1)) - WeekNumberSinceStart(from, LongOr(a, 3, 1));
      break;
    case Interval::Hour: result = days * 24 + y.hour - x.hour; break;
    case Interval::Minute:
      result = days * 1440 + (y.hour - x.hour) * 60 + y.minute - x.minute;
      break;
    case Interval::Second: result = seconds; break;
    default: break;
  }
  if (result != static_cast<std::int32_t>(result)) throw Overflow();
  return Value::OfLong(static_cast<std::int32_t>(result));
}

/// The day with which week 1 of a year begins.
std::int64_t FirstWeekStart(int year, std::int32_t firstDay, std::int32_t firstWeek) {
  const std::int64_t newYear = DaysOfDate(year, 1, 1);
  const int weekday = WeekdayFrom(static_cast<double>(newYear), firstDay);
  const std::int64_t start = newYear - weekday + 1;
  const int daysIn = 8 - weekday;  // of the week with January 1
  const bool isNext = (firstWeek == 2 && daysIn < 4) || (firstWeek == 3 && daysIn < 7);
  return isNext ? start + 7 : start;
}

std::int32_t WeekOfYear(double date, std::int32_t firstDay, std::int32_t firstWeek) {
  const std::int64_t day = DayNumber(date);
  const int year = PartsOfDate(date).year;
  std::int64_t start = FirstWeekStart(year, firstDay, firstWeek);
  if (day < start)
    start = FirstWeekStart(year - 1, firstDay, firstWeek);
  else if (firstWeek > 1 && day >= FirstWeekStart(year + 1, firstDay, firstWeek))
    return 1;
  return static_cast<std::int32_t>((day - start) / 7) + 1;
}

Value DatePart(Context& context, Arguments a) {
  const Interval interval = IntervalArgument(context, a[0]);
  if (a[1].Is(Kind::Null)) return Value::OfNull();
  const double date = ToDate(a[1]);
  const DateParts parts = PartsOfDate(date);
  const auto part = [&]() -> std::int64_t {
    switch (interval) {
      case Interval::Year: return parts.year;
      case Interval::Quarter: return (parts.month - 1) / 3 + 1;
      case Interval::Month: return parts.month;
      case Interval::DayOfYear: return DayNumber(date) - DaysOfDate(parts.year, 1, 1) + 1;
      case Interval::Weekday: return WeekdayFrom(date, LongOr(a, 2, 1));
      case Interval::Week: return WeekOfYear(date, LongOr(a, 2, 1), LongOr(a, 3, 1));
      case Interval::Hour: return parts.hour;
      case Interval::Minute: return parts.minute;
      case Interval::Second: return parts.second;
      default: return parts.day;
    }
  };
  return Value::OfInteger(static_cast<std::int16_t>(part()));
}

Value DateSerial(Context&, Arguments a) {
  return Value::OfDate(
      DateNumber(DaysOfDate(FullYear(ToInteger(a[0])), ToInteger(a[1]), ToInteger(a[2])), 0));
}

Value TimeSerial(Context&, Arguments a) {
  const std::int64_t seconds =
      ToInteger(a[0]) * std::int64_t{3600} + ToInteger(a[1]) * std::int64_t{60} + ToInteger(a[2]);
  return Value::OfDate(DateNumber(0, seconds));
}

Value DateValue(Context&, Arguments a) {
  return Value::OfDate(WholeDays(ToDate(a[0])));
}
Value TimeValue(Context&, Arguments a) {
  return Value::OfDate(DateNumber(0, SecondsIn(ToDate(a[0]))));
}

template <int DateParts::*part>
Value Part(Context&, Arguments a) {
  if (a[0].Is(Kind::Null)) return a[0];
  return Value::OfInteger(static_cast<std::int16_t>(PartsOfDate(ToDate(a[0])).*part));
}

Value Weekday(Context&, Arguments a) {
  if (a[0].Is(Kind::Null)) return a[0];
  return Value::OfInteger(static_cast<std::int16_t>(WeekdayFrom(ToDate(a[0]), LongOr(a, 1, 1))));
}

Value NameOf(Context& context, std::string_view name, bool isShort) {
  return Value::OfText(isShort ? name.substr(0, 3) : name, &context.heap);
}

Value WeekdayNameOf(Context& context, Arguments a) {
  const std::int32_t day = ToLong(a[0]);
  const std::int32_t first = LongOr(a, 2, 1) == 0 ? 1 : LongOr(a, 2, 1);
  if (day < 1 || day > 7 || first < 1 || first > 7) throw InvalidCall("WeekdayName");
  return NameOf(context, WeekdayName((day + first - 2) % 7 + 1), IsGiven(a, 1) && ToBoolean(a[1]));
}

Value MonthNameOf(Context& context, Arguments a) {
  const std::int32_t month = ToLong(a[0]);
  if (month < 1 || month > 12) throw InvalidCall("MonthName");
  return NameOf(context, MonthName(month), IsGiven(a, 1) && ToBoolean(a[1]));
}

Value IsDate(Context&, Arguments a) {
  const bool isDate =
      a[0].Is(Kind::Date) || (a[0].Is(Kind::Text) && DateOfText(a[0].View()).has_value());
  return Value::OfBoolean(isDate);
}

constexpr Function dateFunctions[] = {
    {"now", 0, 0, Now},
    {"date", 0, 0, Date},
    {"time", 0, 0, Time},
    {"timer", 0, 0, Timer},
    {"dateadd", 3, 3, DateAdd},
    {"datediff", 3, 5, DateDiff},
    {"datepart", 2, 4, DatePart},
    {"dateserial", 3, 3, DateSerial},
    {"timeserial", 3, 3, TimeSerial},
    {"datevalue", 1, 1, DateValue},
    {"timevalue", 1, 1, TimeValue},
    {"year", 1, 1, Part<&DateParts::year>},
    {"month", 1, 1, Part<&DateParts::month>},
    {"day", 1, 1, Part<&DateParts::day>},
    {"hour", 1, 1, Part<&DateParts::hour>},
    {"minute", 1, 1, Part<&DateParts::minute>},
    {"second", 1, 1, Part<&DateParts::second>},
    {"weekday", 1, 2, Weekday},
    {"weekdayname", 1, 3, WeekdayNameOf},
    {"monthname", 1, 2, MonthNameOf},
    {"isdate", 1, 1, IsDate},
};

}  // namespace

std::span<const Function> DateFunctions() {
  return dateFunctions;
}

}  // namespace torvik::script
