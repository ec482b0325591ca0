#include "platform/linux/text/ErrorText.h"

namespace torvik {

std::string OneLine(const std::string& text) {
  std::string line;
  for (const char c : text) {
    const bool isBlank = c == '\r' || c == '\n' || c == '\t' || c == ' ';
    if (!isBlank) line += c;
    if (isBlank && !line.empty() && line.back() != ' ') line += ' ';
  }
  if (!line.empty() && line.back() == ' ') line.pop_back();
  return line;
}

std::string InOneLine(const std::vector<ado::ProviderError>& errors) {
  std::string line;
  for (const ado::ProviderError& error : errors)
    line += (line.empty() ? "" : "; ") + error.description;
  return line.empty() ? "the driver gives no reason" : line;
}

}  // namespace torvik
