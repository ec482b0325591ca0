#include "platform/linux/sqlite/SqliteDecimal.h"

#include <algorithm>
#include <charconv>
#include <cmath>
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

/// A double as its decimal digits; a text as it is.
std::string DigitsOf(const ado::LoadValue& value) {
  if (value.IsText()) return std::string(value.Text());
  char text[400];  // the longest double in fixed notation has 309 digits and a fraction
  const auto end = std::to_chars(text, std::end(text), value.Real(), std::chars_format::fixed);
  return {text, end.ptr};
}

}  // namespace

bool HasMoreDigits(const ado::LoadValue& value, std::size_t scale) {
  if (value.GetKind() == ado::LoadValue::Kind::Real) {
    const double unit = PowerOfTen(static_cast<int>(scale));
    return std::isfinite(value.Real()) &&
           std::nearbyint(value.Real() * unit) / unit != value.Real();
  }
  if (!value.IsText()) return false;
  const std::string_view text = value.Text();
  const std::size_t point = text.find('.');
  if (point == std::string_view::npos || text.size() - point - 1 <= scale) return false;
  const auto isPlain = [](char c) { return c == '.' || IsDigit(c); };
  return std::ranges::all_of(text.substr(text.starts_with('-') ? 1 : 0), isPlain);
}

std::string RoundedDecimal(const ado::LoadValue& value, std::size_t scale) {
  const std::string text = DigitsOf(value);
  const std::string_view digits = std::string_view(text).substr(text.starts_with('-') ? 1 : 0);
  const std::size_t point = digits.find('.');
  if (point == std::string_view::npos || digits.size() - point - 1 <= scale) return text;
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
