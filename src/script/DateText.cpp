#include "script/DateText.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <vector>

#include "platform/Text.h"
#include "script/ScriptError.h"

namespace torvik::script {

namespace {

constexpr std::array<std::string_view, 12> months = {
    "January", "February", "March",     "April",   "May",      "June",
    "July",    "August",   "September", "October", "November", "December"};
constexpr std::array<std::string_view, 7> weekdays = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                      "Thursday", "Friday", "Saturday"};

constexpr double firstDate = -657434;    // 0100-01-01
constexpr double afterDates = 2958466;   // 10000-01-01
constexpr std::int64_t unixDay = 25569;  // 1970-01-01

std::int64_t SecondsOfDay(double days) {
  return std::llround(std::abs(days - std::trunc(days)) * 86400);
}

/// A piece of a date text.
struct Word {
  int number = -1;  ///< -1: a name or a separator.
  std::size_t digits = 0;
  std::string text = {};
};

std::vector<Word> WordsOf(std::string_view text) {
  std::vector<Word> words;
  for (std::size_t at = 0; at < text.size();) {
    const char c = LowerAscii(text[at]);
    std::size_t end = at + 1;
    if (c >= '0' && c <= '9') {
      while (end < text.size() && text[end] >= '0' && text[end] <= '9') ++end;
      Word word{.number = 0, .digits = end - at};
      if (end - at > 4) return {};
      std::from_chars(text.data() + at, text.data() + end, word.number);
      words.push_back(word);
    } else if (c >= 'a' && c <= 'z') {
      while (end < text.size() && LowerAscii(text[end]) >= 'a' && LowerAscii(text[end]) <= 'z')
        ++end;
      words.push_back({.text = LowerAscii(text.substr(at, end - at))});
      if (end < text.size() && text[end] == '.') ++end;
    } else if (c == '/' || c == '-' || c == ':' || c == '.') {
      words.push_back({.text = std::string(1, c)});
    } else if (c != ' ' && c != ',' && c != '\t') {
      return {};
    }
    at = end;
  }
  return words;
}

int MonthOf(const std::string& name) {
  if (name.size() < 3) return 0;
  for (std::size_t i = 0; i < months.size(); ++i) {
    const std::string month = LowerAscii(months[i]);
    if (name == month || name == month.substr(0, 3)) return static_cast<int>(i) + 1;
  }
  return name == "sept" ? 9 : 0;
}

/// Takes the time out of the words: "h:m[:s] [am|pm]" or "h am".
std::optional<std::int64_t> TakeTime(std::vector<Word>& words) {
  for (std::size_t at = 0; at < words.size(); ++at) {
    if (words[at].number < 0) continue;
    std::size_t end = at + 1;
    int parts[3] = {words[at].number, 0, 0};
    int count = 1;
    while (count < 3 && end + 1 < words.size() && words[end].text == ":" &&
           words[end + 1].number >= 0) {
      parts[count++] = words[end + 1].number;
      end += 2;
    }
    const bool am = end < words.size() && (words[end].text == "am" || words[end].text == "a");
    const bool pm = end < words.size() && (words[end].text == "pm" || words[end].text == "p");
    if (count == 1 && !am && !pm) continue;
    if (am || pm) {
      if (parts[0] > 12) return {};
      parts[0] = parts[0] % 12 + (pm ? 12 : 0);
      ++end;
    }
    if (parts[0] > 23 || parts[1] > 59 || parts[2] > 59) return {};
    words.erase(words.begin() + static_cast<std::ptrdiff_t>(at),
                words.begin() + static_cast<std::ptrdiff_t>(end));
    return parts[0] * 3600 + parts[1] * 60 + parts[2];
  }
  return -1;  // there is none
}

std::optional<std::int64_t> CheckedDays(int year, int month, int day) {
  if (month < 1 || month > 12 || day < 1 || year < 100 || year > 9999) return {};
  if (day > DaysInMonth(year, month)) return {};
  return DaysOfDate(year, month, day);
}

/// A date of numbers, and perhaps of a month's name.
std::optional<std::int64_t> DaysOfWords(const std::vector<Word>& words) {
  std::vector<Word> numbers;
  int month = 0;
  for (const Word& word : words) {
    if (word.number >= 0) {
      numbers.push_back(word);
    } else if (const int named = MonthOf(word.text); named > 0 && month == 0) {
      month = named;
    } else if (word.text != "/" && word.text != "-" && word.text != ".") {
      return {};
    }
  }
  if (month > 0) {
    if (numbers.size() == 1) return CheckedDays(FullYear(numbers[0].number), month, 1);
    if (numbers.size() != 2) return {};
    if (numbers[0].digits > 2) std::swap(numbers[0], numbers[1]);
    return CheckedDays(FullYear(numbers[1].number), month, numbers[0].number);
  }
  if (numbers.size() != 3) return {};
  const int a = numbers[0].number, b = numbers[1].number, c = numbers[2].number;
  if (numbers[0].digits > 2) return CheckedDays(a, b, c);
  if (const auto days = CheckedDays(FullYear(c), a, b)) return days;
  return CheckedDays(FullYear(c), b, a);
}

std::string TimeText(const DateParts& parts) {
  char buffer[40];
  std::snprintf(buffer, sizeof buffer, "%d:%02d:%02d %s", (parts.hour + 11) % 12 + 1, parts.minute,
                parts.second, parts.hour < 12 ? "AM" : "PM");
  return buffer;
}

std::string ShortDateText(const DateParts& parts) {
  return std::to_string(parts.month) + "/" + std::to_string(parts.day) + "/" +
         std::to_string(parts.year);
}

}  // namespace

bool IsDateNumber(double days) {
  return days > firstDate - 1 && days < afterDates;
}

DateParts PartsOfDate(double days) {
  std::int64_t whole = static_cast<std::int64_t>(std::trunc(days));
  std::int64_t seconds = SecondsOfDay(days);
  if (seconds >= 86400) {
    seconds -= 86400;
    whole += 1;
  }
  // Days to a date by the method of counting years from March.
  const std::int64_t z = whole - unixDay + 719468;
  const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const std::int64_t dayOfEra = z - era * 146097;
  const std::int64_t yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const std::int64_t fromMarch = (5 * dayOfYear + 2) / 153;
  const auto month = static_cast<int>(fromMarch < 10 ? fromMarch + 3 : fromMarch - 9);
  return {.year = static_cast<int>(yearOfEra + era * 400 + (month <= 2 ? 1 : 0)),
          .month = month,
          .day = static_cast<int>(dayOfYear - (153 * fromMarch + 2) / 5 + 1),
          .hour = static_cast<int>(seconds / 3600),
          .minute = static_cast<int>(seconds / 60 % 60),
          .second = static_cast<int>(seconds % 60)};
}

int WeekdayOfDate(double days) {
  const auto fromSaturday = static_cast<std::int64_t>(std::trunc(days)) % 7;
  return static_cast<int>((fromSaturday + 13) % 7 + 1);
}

std::int64_t DaysOfDate(std::int64_t year, std::int64_t month, std::int64_t day) {
  year += (month - 1) / 12;
  month = (month - 1) % 12 + 1;
  if (month < 1) {
    month += 12;
    --year;
  }
  if (month <= 2) --year;
  const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
  const std::int64_t yearOfEra = year - era * 400;
  const std::int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5;
  const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + dayOfEra - 719468 + unixDay + day - 1;
}

double DateNumber(std::int64_t days, std::int64_t seconds) {
  days += seconds / 86400;
  seconds %= 86400;
  if (seconds < 0) {
    seconds += 86400;
    --days;
  }
  const double part = static_cast<double>(seconds) / 86400;
  const double number = static_cast<double>(days) + (days < 0 ? -part : part);
  if (!IsDateNumber(number)) throw Overflow();
  return number;
}

int FullYear(int year) {
  if (year < 0 || year > 99) return year;
  return year < 30 ? 2000 + year : 1900 + year;
}

int DaysInMonth(int year, int month) {
  return static_cast<int>(DaysOfDate(year, month + 1, 1) - DaysOfDate(year, month, 1));
}

std::string_view MonthName(int month) {
  return months[static_cast<std::size_t>(month - 1)];
}
std::string_view WeekdayName(int weekday) {
  return weekdays[static_cast<std::size_t>(weekday - 1)];
}

std::optional<double> DateOfText(std::string_view text) {
  if (text.size() > 100) return {};
  std::vector<Word> words = WordsOf(text);
  if (words.empty()) return {};
  const auto seconds = TakeTime(words);
  if (!seconds) return {};
  if (words.empty()) return DateNumber(0, *seconds);
  const auto days = DaysOfWords(words);
  if (!days) return {};
  return DateNumber(*days, *seconds < 0 ? 0 : *seconds);
}

std::string TextOfDate(double days, DateFormat format) {
  const DateParts parts = PartsOfDate(days);
  char buffer[40];
  switch (format) {
    case DateFormat::LongDate:
      std::snprintf(buffer, sizeof buffer, " %d, %d", parts.day, parts.year);
      return std::string(WeekdayName(WeekdayOfDate(days))) + ", " +
             std::string(MonthName(parts.month)) + buffer;
    case DateFormat::ShortDate: return ShortDateText(parts);
    case DateFormat::LongTime: return TimeText(parts);
    case DateFormat::ShortTime:
      std::snprintf(buffer, sizeof buffer, "%02d:%02d", parts.hour, parts.minute);
      return buffer;
    default: break;
  }
  const bool hasTime = parts.hour != 0 || parts.minute != 0 || parts.second != 0;
  if (!hasTime && std::trunc(days) != 0) return ShortDateText(parts);
  if (std::trunc(days) == 0) return TimeText(parts);
  return ShortDateText(parts) + " " + TimeText(parts);
}

}  // namespace torvik::script
