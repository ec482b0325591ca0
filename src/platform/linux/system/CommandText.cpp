#include "platform/linux/system/CommandText.h"

namespace torvik {

std::vector<std::string> SplitCommandText(std::string_view text) {
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
