#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace torvik {

/// The words of a command line: split at blanks and tabs, double quotes keep them together and are
/// dropped. An empty pair of quotes is an empty word; a quote that is not closed goes to the end.
inline std::vector<std::string> SplitCommandText(std::string_view text) {
  std::vector<std::string> words;
  bool inWord = false;
  bool inQuotes = false;
  for (const char c : text) {
    if ((c == ' ' || c == '\t') && !inQuotes) {
      inWord = false;
      continue;
    }
    if (!inWord) words.emplace_back();
    inWord = true;
    if (c == '"') {
      inQuotes = !inQuotes;
    } else {
      words.back() += c;
    }
  }
  return words;
}

}  // namespace torvik
