#pragma once

#include <string>
#include <string_view>

namespace torvik {

/// A text as one word of a POSIX shell, for commands that are shown or run: in single quotes where
/// it needs them.
inline std::string ShellWord(std::string_view text) {
  constexpr std::string_view kPlain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-+=./:,@%";
  if (!text.empty() && text.find_first_not_of(kPlain) == text.npos) return std::string(text);
  std::string word = "'";
  for (const char c : text) word.append(c == '\'' ? "'\\''" : std::string(1, c));
  return word + "'";
}

}  // namespace torvik
