#include "platform/linux/sqlite/SqliteDecimal.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>

#include "platform/NumberText.h"
#include "platform/Text.h"

namespace torvik {
namespace {

/// The digits that make a number, without those that only say how large it is; the exponent is left
/// out. Empty when it is no plain number.
std::string Significant(std::string_view text) {
  std::string digits;
  for (const char c : text.substr(0, text.find('e'))) {
    if (c >= '0' && c <= '9') {
      if (c != '0' || !digits.empty()) digits += c;
    } else if (c != '.' && c != '-') {
      return "";
    }
  }
  digits.erase(digits.find_last_not_of('0') + 1);
  return digits;
}

}  // namespace

std::string RoundedDecimal(std::string_view text, std::size_t scale) {
  const std::string_view digits = text.substr(text.starts_with('-') ? 1 : 0);
  const std::size_t point = digits.find('.');
  if (point == std::string_view::npos || digits.size() - point - 1 <= scale) return "";
  const auto isPlain = [](char c) { return c == '.' || IsDigit(c); };
  if (!std::ranges::all_of(digits, isPlain)) return "";
  std::string kept = "0" + std::string(digits.substr(0, point + 1 + scale));
  bool carries = digits[point + 1 + scale] >= '5';
  for (auto digit = kept.rbegin(); carries && digit != kept.rend(); ++digit) {
    if (*digit == '.') continue;
    carries = *digit == '9';
    *digit = carries ? '0' : static_cast<char>(*digit + 1);
  }
  return (text.starts_with('-') ? "-" : "") + kept;
}

bool IsKeptDecimal(std::string_view text) {
  constexpr std::size_t kSure = 15;
  if (text.size() <= kSure) return true;
  const auto real = NumberOf<double>(text);
  const std::string digits = Significant(text);
  if (digits.size() <= kSure || NumberOf<std::int64_t>(text) || !real) return true;
  char back[80];
  const auto end = std::to_chars(back, std::end(back), *real, std::chars_format::scientific,
                                 static_cast<int>(digits.size() - 1));
  return end.ec == std::errc() &&
         digits == Significant({back, static_cast<std::size_t>(end.ptr - back)});
}

}  // namespace torvik
