#include "admin/jobs/CronTimes.h"

#include <vector>

#include "platform/NumberText.h"
#include "platform/Text.h"

namespace torvik::admin {
namespace {

using Field = std::optional<std::string>;

constexpr const char* kDays[] = {"sun", "mon", "tue", "wed", "thu", "fri", "sat"};

std::vector<std::string_view> Split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(separator, begin), text.size());
    parts.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return parts;
}

Field DayNumber(std::string_view day) {
  for (int number = 0; number < 7; ++number) {
    const std::string name = LowerAscii(day);
    const bool isShort = name == kDays[number];
    const bool isLong = name.size() > 3 && name.starts_with(kDays[number]) && name.ends_with("day");
    if (isShort || isLong) return std::to_string(number);
  }
  return std::nullopt;
}

/// "A..B" or a single one; `number` makes the cron form of each end.
template <class Number>
Field Range(std::string_view text, const Number& number) {
  const std::size_t dots = text.find("..");
  const Field first = number(text.substr(0, dots));
  if (dots == text.npos || !first) return first;
  const Field last = number(text.substr(dots + 2));
  return last ? Field(*first + "-" + *last) : last;
}

template <class Each>
Field List(std::string_view text, const Each& each) {
  std::string list;
  for (const std::string_view part : Split(text, ',')) {
    const Field field = each(part);
    if (!field) return field;
    list += (list.empty() ? "" : ",") + *field;
  }
  return list;
}

Field DaysOfWeek(std::string_view text) {
  return List(text, [](std::string_view part) {
    // Cron's week begins with Sunday.
    if (LowerAscii(part) == "sat..sun") return Field("6,0");
    const Field range = Range(part, DayNumber);
    const bool endsOnSunday = range && range->size() == 3 && range->ends_with("-0");
    return endsOnSunday ? Field(range->substr(0, 2) + "7") : range;
  });
}

Field PlainNumber(std::string_view text, int smallest, int largest) {
  const auto number = NumberOf<int>(text);
  if (!number || *number < smallest || *number > largest) return std::nullopt;
  return std::to_string(*number);
}

/// "*", N, N..M, each with /STEP, and lists of them.
Field Numbers(std::string_view text, int smallest, int largest) {
  return List(text, [&](std::string_view part) -> Field {
    const std::size_t slash = part.find('/');
    std::string_view base = part.substr(0, slash);
    const auto number = [&](std::string_view one) { return PlainNumber(one, smallest, largest); };
    Field field = base == "*" ? Field("*") : Range(base, number);
    if (slash == part.npos || !field) return field;
    const Field step = PlainNumber(part.substr(slash + 1), 1, largest);
    if (!step) return step;
    if (base != "*" && base.find("..") == base.npos) *field += "-" + std::to_string(largest);
    return *field + "/" + *step;
  });
}

struct CronFields {
  Field minute = "0", hour = "0", day = "*", month = "*", weekday = "*";

  std::optional<std::string> Text() const {
    if (!minute || !hour || !day || !month || !weekday) return std::nullopt;
    if (*day != "*" && *weekday != "*") return std::nullopt;  // cron takes either, systemd both
    return *minute + " " + *hour + " " + *day + " " + *month + " " + *weekday;
  }
};

bool TakeTime(std::string_view text, CronFields& fields) {
  const auto parts = Split(text, ':');
  if (parts.size() < 2 || parts.size() > 3) return false;
  if (parts.size() == 3 && parts[2] != "00" && parts[2] != "0") return false;
  fields.hour = Numbers(parts[0], 0, 23);
  fields.minute = Numbers(parts[1], 0, 59);
  return true;
}

bool TakeDate(std::string_view text, CronFields& fields) {
  auto parts = Split(text, '-');
  if (parts.size() == 3 && parts[0] == "*") parts.erase(parts.begin());
  if (parts.size() != 2) return false;
  fields.month = Numbers(parts[0], 1, 12);
  fields.day = Numbers(parts[1], 1, 31);
  return true;
}

std::optional<std::string> Shorthand(std::string_view calendar) {
  constexpr std::pair<const char*, const char*> kKnown[] = {
      {"minutely", "* * * * *"},       {"hourly", "0 * * * *"},  {"daily", "0 0 * * *"},
      {"weekly", "0 0 * * 1"},         {"monthly", "0 0 1 * *"}, {"quarterly", "0 0 1 1,4,7,10 *"},
      {"semiannually", "0 0 1 1,7 *"}, {"yearly", "0 0 1 1 *"},  {"annually", "0 0 1 1 *"}};
  for (const auto& [word, times] : kKnown)
    if (EqualsIgnoringCase(calendar, word)) return times;
  return std::nullopt;
}

}  // namespace

std::optional<std::string> CronTimes(std::string_view calendar) {
  calendar = Trimmed(calendar);
  if (const auto known = Shorthand(calendar)) return known;
  CronFields fields;
  bool isFirst = true;
  for (const std::string_view word : Split(calendar, ' ')) {
    if (word.empty()) continue;
    const bool isTime = word.find(':') != word.npos;
    const bool isDays = isFirst && ((word[0] | 0x20) >= 'a' && (word[0] | 0x20) <= 'z');
    isFirst = false;
    if (isDays)
      fields.weekday = DaysOfWeek(word);
    else if (!(isTime ? TakeTime(word, fields) : TakeDate(word, fields)))
      return std::nullopt;
  }
  return isFirst ? std::nullopt : fields.Text();
}

}  // namespace torvik::admin
