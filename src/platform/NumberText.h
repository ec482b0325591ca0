#pragma once

#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace torvik {

/// The whole of `text` as a number, spelled as programs do: "-12", "1.5e3". Nothing when it is
/// none, is not in the range of the type, or has a '+' or blanks.
template <typename Number>
std::optional<Number> NumberOf(std::string_view text) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return number;
}

/// With commas between the thousands, for people; not negative.
inline std::string Grouped(std::int64_t number) {
  std::string text = std::to_string(number);
  for (auto at = static_cast<std::ptrdiff_t>(text.size()) - 3; at > 0; at -= 3)
    text.insert(static_cast<std::size_t>(at), ",");
  return text;
}

/// 10 to a power. A call of pow() for each value of a column would be a good part of a load; a
/// double holds the powers of the table exactly.
inline double PowerOfTen(int exponent) {
  static constexpr double kExact[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                      1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                      1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  const bool isExact = exponent >= 0 && exponent < static_cast<int>(std::size(kExact));
  return isExact ? kExact[exponent] : std::pow(10.0, exponent);
}

}  // namespace torvik
