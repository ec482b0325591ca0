#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace torvik {

inline char LowerAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

/// The text with its ASCII letters in lower case.
inline std::string LowerAscii(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) { return LowerAscii(c); });
  return lower;
}

/// Equality without regard to the case of ASCII letters.
inline bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return LowerAscii(x) == LowerAscii(y); });
}

}  // namespace torvik
