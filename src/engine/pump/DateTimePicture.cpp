#include "engine/pump/DateTimePicture.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

constexpr std::string_view kLetters = "yMdHhmsft";
constexpr std::array<std::string_view, 12> kMonths = {
    "January", "February", "March",     "April",   "May",      "June",
    "July",    "August",   "September", "October", "November", "December"};
constexpr std::size_t kShortName = 3;

/// Years of two digits lie between 1950 and 2049, as the server's own setting has them.
int FullYear(int twoDigits) {
  return twoDigits + (twoDigits < 50 ? 2000 : 1900);
}

/// Takes `least` to `most` digits off the text; -1 when there are fewer.
int TakeNumber(std::string_view& text, std::size_t least, std::size_t most) {
  int number = 0;
  std::size_t digits = 0;
  for (; digits < most && digits < text.size() && text[digits] >= '0' && text[digits] <= '9';
       ++digits)
    number = number * 10 + (text[digits] - '0');
  if (digits < least) return -1;
  text.remove_prefix(digits);
  return number;
}

/// The number, from 1, of the month whose name the text begins with; -1 when there is none.
int TakeMonth(std::string_view& text, bool isShort) {
  for (std::size_t month = 0; month < kMonths.size(); ++month) {
    const std::string_view name = isShort ? kMonths[month].substr(0, kShortName) : kMonths[month];
    if (!EqualsIgnoringCase(text.substr(0, name.size()), name)) continue;
    text.remove_prefix(name.size());
    return static_cast<int>(month) + 1;
  }
  return -1;
}

/// Digits behind the point, as nanoseconds.
int TakeFraction(std::string_view& text, std::size_t most) {
  const std::size_t before = text.size();
  int number = TakeNumber(text, 1, std::min<std::size_t>(most, 9));
  for (std::size_t digits = before - text.size(); number > 0 && digits < 9; ++digits) number *= 10;
  return number;
}

bool IsReal(const CivilTime& time) {
  const std::chrono::year_month_day day{std::chrono::year(time.year),
                                        std::chrono::month(static_cast<unsigned>(time.month)),
                                        std::chrono::day(static_cast<unsigned>(time.day))};
  return day.ok() && time.year >= 1 && time.year <= 9999 && time.hour <= 23 && time.minute <= 59 &&
         time.second <= 59;
}

std::string Padded(int number, std::size_t digits) {
  char text[32];
  std::snprintf(text, sizeof text, "%0*d", static_cast<int>(digits), number);
  return text;
}

}  // namespace

DateTimePicture::DateTimePicture(const std::string& picture) : picture_(picture) {
  for (std::size_t at = 0; at < picture.size();) {
    const char c = picture[at];
    if (kLetters.find(c) != std::string_view::npos) {
      const std::size_t end = std::min(picture.find_first_not_of(c, at), picture.size());
      const std::size_t most = c == 'y' || c == 'M' ? 4 : c == 'f' ? 9 : 2;
      if (end - at > most || (c == 'y' && end - at != 2 && end - at != 4))
        throw PlatformError(0,
                            "the date picture \"" + picture + "\" has the unknown part \"" +
                                picture.substr(at, end - at) +
                                "\"; parts are yyyy yy MMMM MMM "
                                "MM M dd d HH H hh h mm m ss s f tt",
                            "data pump");
      parts_.push_back({c, end - at});
      at = end;
    } else {
      const std::size_t close = c == '\'' ? picture.find('\'', at + 1) : std::string::npos;
      const bool quoted = close != std::string::npos;
      parts_.push_back({0, 0, quoted ? picture.substr(at + 1, close - at - 1) : std::string(1, c)});
      at = quoted ? close + 1 : at + 1;
    }
  }
  if (std::ranges::none_of(parts_, [](const Part& part) { return part.letter != 0; }))
    throw PlatformError(0, "the date picture \"" + picture + "\" has no part of a date",
                        "data pump");
}

std::optional<CivilTime> DateTimePicture::Read(std::string_view text) const {
  CivilTime time;
  bool isAfternoon = false, hasHalf = false;
  for (const Part& part : parts_) {
    int number = 0;
    switch (part.letter) {
      case 0:
        if (!text.starts_with(part.text)) return std::nullopt;
        text.remove_prefix(part.text.size());
        break;
      case 'y':
        number = TakeNumber(text, part.count, part.count);
        time.year = number < 0 || part.count == 4 ? number : FullYear(number);
        break;
      case 'M':
        time.month = number =
            part.count > 2 ? TakeMonth(text, part.count == 3) : TakeNumber(text, part.count, 2);
        break;
      case 'd': time.day = number = TakeNumber(text, part.count, 2); break;
      case 'H':
      case 'h': time.hour = number = TakeNumber(text, part.count, 2); break;
      case 'm': time.minute = number = TakeNumber(text, part.count, 2); break;
      case 's': time.second = number = TakeNumber(text, part.count, 2); break;
      case 'f': time.nanosecond = number = TakeFraction(text, part.count); break;
      case 't':
        hasHalf = true;
        isAfternoon = EqualsIgnoringCase(text.substr(0, part.count), part.count == 1 ? "p" : "pm");
        if (!isAfternoon &&
            !EqualsIgnoringCase(text.substr(0, part.count), part.count == 1 ? "a" : "am"))
          return std::nullopt;
        text.remove_prefix(part.count);
        break;
      default: break;
    }
    if (number < 0) return std::nullopt;
  }
  if (hasHalf && (time.hour < 1 || time.hour > 12)) return std::nullopt;
  if (hasHalf) time.hour = time.hour % 12 + (isAfternoon ? 12 : 0);
  if (!text.empty() || !IsReal(time)) return std::nullopt;
  return time;
}

std::string DateTimePicture::Write(const CivilTime& time) const {
  std::string text;
  for (const Part& part : parts_) {
    switch (part.letter) {
      case 0: text += part.text; break;
      case 'y': text += Padded(part.count == 4 ? time.year : time.year % 100, part.count); break;
      case 'M': {
        const std::string_view name = kMonths[static_cast<std::size_t>(time.month) - 1];
        if (part.count < 3) {
          text += Padded(time.month, part.count);
        } else {
          text += part.count == 3 ? name.substr(0, kShortName) : name;
        }
        break;
      }
      case 'd': text += Padded(time.day, part.count); break;
      case 'H': text += Padded(time.hour, part.count); break;
      case 'h': text += Padded((time.hour + 11) % 12 + 1, part.count); break;
      case 'm': text += Padded(time.minute, part.count); break;
      case 's': text += Padded(time.second, part.count); break;
      case 'f': text += Padded(time.nanosecond, 9).substr(0, part.count); break;
      case 't': text += std::string_view(time.hour < 12 ? "AM" : "PM").substr(0, part.count); break;
      default: break;
    }
  }
  return text;
}

}  // namespace torvik::engine
