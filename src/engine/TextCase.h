#pragma once

#include <string>
#include <string_view>

namespace torvik::engine {

/// `text` with its ASCII letters in lower case.
inline std::string Lowered(std::string_view text) {
  std::string lowered(text);
  for (char& c : lowered)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return lowered;
}

/// Equality without regard to the case of ASCII letters.
inline bool SameText(std::string_view a, std::string_view b) {
  return a.size() == b.size() && Lowered(a) == Lowered(b);
}

}  // namespace torvik::engine
