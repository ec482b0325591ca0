#pragma once

#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

/// Moments as texts that every server takes and gives, in UTC.
namespace torvik {

/// "2026-11-25 02:00:07.250"; `separator` stands between day and time.
inline std::string MomentText(std::chrono::system_clock::time_point moment, char separator = ' ') {
  const auto whole = std::chrono::floor<std::chrono::seconds>(moment);
  const auto part = std::chrono::floor<std::chrono::milliseconds>(moment - whole);
  const std::time_t seconds = whole.time_since_epoch().count();
  std::tm utc{};
  gmtime_r(&seconds, &utc);
  char text[40];
  const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &utc);
  text[std::string_view("2026-11-25").size()] = separator;
  const std::string milliseconds = std::to_string(1000 + part.count());
  return std::string(text, length) + "." + milliseconds.substr(1);
}

/// The moment of such a text, whatever the separator and however many digits are behind the second;
/// to the millisecond. Nothing for any other text.
inline std::optional<std::chrono::system_clock::time_point> MomentOfText(const std::string& text) {
  std::tm utc{};
  double seconds = 0;
  char separator = 0;
  if (std::sscanf(text.c_str(), "%d-%d-%d%c%d:%d:%lf", &utc.tm_year, &utc.tm_mon, &utc.tm_mday,
                  &separator, &utc.tm_hour, &utc.tm_min, &seconds) != 7)
    return std::nullopt;
  utc.tm_year -= 1900;
  utc.tm_mon -= 1;
  return std::chrono::system_clock::time_point(
      std::chrono::seconds(timegm(&utc)) + std::chrono::milliseconds(std::llround(seconds * 1000)));
}

}  // namespace torvik
