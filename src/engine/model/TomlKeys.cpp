#include "engine/model/TomlKeys.h"

#include <algorithm>

namespace torvik::engine {
namespace {

constexpr int kMostParts = 32;

/// The length of the string that `text` begins with, its quotes included.
std::size_t StringLength(std::string_view text) {
  const char quote = text[0];
  const bool isLong = text.size() > 2 && text[1] == quote && text[2] == quote;
  const std::string end(isLong ? 3 : 1, quote);
  for (std::size_t at = end.size(); at < text.size(); ++at) {
    if (text.substr(at).starts_with(end)) return at + end.size();
    if (!isLong && text[at] == '\n') return at;  // it is not closed
    if (quote == '"' && text[at] == '\\') ++at;
  }
  return text.size();
}

std::size_t CommentLength(std::string_view text) {
  return std::min(text.find('\n'), text.size());
}

TextPlace PlaceAt(std::string_view text, std::size_t at) {
  const std::string_view before = text.substr(0, at);
  const std::size_t lineBegin = before.rfind('\n') + 1;  // of the first line: npos + 1
  return {1 + static_cast<int>(std::count(before.begin(), before.end(), '\n')),
          1 + static_cast<int>(at - lineBegin)};
}

}  // namespace

std::optional<TextPlace> FindLongKey(std::string_view document) {
  constexpr std::string_view kBetweenKeys = "=,[]{}\n";
  int parts = 1;
  for (std::size_t at = 0; at < document.size();) {
    const char c = document[at];
    if (c == '"' || c == '\'') {
      at += StringLength(document.substr(at));
    } else if (c == '#') {
      at += CommentLength(document.substr(at));
    } else {
      if (c == '.' && ++parts > kMostParts) return PlaceAt(document, at);
      if (kBetweenKeys.find(c) != kBetweenKeys.npos) parts = 1;
      ++at;
    }
  }
  return std::nullopt;
}

std::string WhyNoUtf8(std::string_view document) {
  const bool hasMark = document.starts_with("\xFF\xFE") || document.starts_with("\xFE\xFF");
  const std::string_view begin = document.substr(0, 2);
  if (hasMark || (begin.size() == 2 && begin.find('\0') != begin.npos))
    return "the document is UTF-16 text";
  return {};
}

}  // namespace torvik::engine
