#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "platform/Text.h"

/// Dates and times as servers take them.
namespace torvik {

/// The number that the two digits at `at` make; a hundred or more when one of them is none.
inline unsigned TwoDigits(const char* at) {
  const auto digit = [](char c) {
    const auto value = static_cast<unsigned>(static_cast<unsigned char>(c)) - '0';
    return value > 9 ? 1000 : value;
  };
  return 10 * digit(at[0]) + digit(at[1]);
}

inline unsigned DaysOf(unsigned month, unsigned year) {
  constexpr std::array<unsigned char, 13> kDays = {0,  31, 28, 31, 30, 31, 30,
                                                   31, 31, 30, 31, 30, 31};
  const bool isLeap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
  return month == 2 && isLeap ? 29 : kDays[month];
}

/// YYYY-MM-DD.
inline bool IsDate(std::string_view text) {
  if (text.size() != 10 || text[4] != '-' || text[7] != '-') return false;
  const unsigned century = TwoDigits(text.data()), yearOfIt = TwoDigits(text.data() + 2),
                 month = TwoDigits(text.data() + 5), day = TwoDigits(text.data() + 8);
  if (century > 99 || yearOfIt > 99 || month < 1 || month > 12 || day < 1) return false;
  const unsigned year = 100 * century + yearOfIt;
  return year > 0 && day <= DaysOf(month, year);
}

/// HH:MM, HH:MM:SS, or that with a fraction of one to nine digits.
inline bool IsTime(std::string_view text) {
  constexpr std::size_t kMinutesEnd = 5, kSecondsEnd = 8, kMaxFraction = 9;
  const bool hasSeconds = text.size() >= kSecondsEnd && text[kMinutesEnd] == ':';
  if ((!hasSeconds && text.size() != kMinutesEnd) || text[2] != ':') return false;
  if (TwoDigits(text.data()) > 23 || TwoDigits(text.data() + 3) > 59) return false;
  if (!hasSeconds) return true;
  if (TwoDigits(text.data() + 6) > 59) return false;
  const std::string_view fraction = text.substr(kSecondsEnd);
  if (fraction.empty()) return true;
  std::size_t digits = 0;
  while (digits + 1 < fraction.size() && IsDigit(fraction[digits + 1])) ++digits;
  return fraction[0] == '.' && digits > 0 && digits <= kMaxFraction &&
         digits + 1 == fraction.size();
}

/// "YYYY-MM-DD HH:MM:SS", with or without a fraction.
inline bool IsDateTime(std::string_view text) {
  constexpr std::size_t kDateEnd = 10, kLeast = 19;
  return text.size() >= kLeast && text[kDateEnd] == ' ' && IsDate(text.substr(0, kDateEnd)) &&
         IsTime(text.substr(kDateEnd + 1));
}

}  // namespace torvik
