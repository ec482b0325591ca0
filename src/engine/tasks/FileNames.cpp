#include "engine/tasks/FileNames.h"

#include <algorithm>

#include "platform/Text.h"

namespace torvik::engine {
namespace {

std::string DateText(const std::string& format, const std::tm& time) {
  char text[256];
  return std::string(text, std::strftime(text, sizeof text, format.c_str(), &time));
}

/// What stands for one "{...}".
std::optional<std::string> ValueOf(std::string_view field, const std::string& name,
                                   const std::tm& time) {
  constexpr std::string_view kDate = "date:";
  // A name that begins with its only point has no extension.
  const std::size_t point = name.rfind('.');
  const std::size_t stem = point == std::string::npos || point == 0 ? name.size() : point;
  if (field == "stem") return name.substr(0, stem);
  if (field == "extension") return name.substr(stem);
  if (!field.starts_with(kDate)) return std::nullopt;
  const std::string date = DateText(std::string(field.substr(kDate.size())), time);
  return date.empty() ? std::nullopt : std::optional(date);
}

}  // namespace

SplitPath Split(const std::string& path) {
  const std::size_t last = path.find_last_of("/\\");
  if (last == std::string::npos) return {"", path};
  return {path.substr(0, last + 1), path.substr(last + 1)};
}

bool IsPattern(std::string_view name) {
  return name.find_first_of("*?") != std::string_view::npos;
}

bool Matches(std::string_view pattern, std::string_view name) {
  if (name.starts_with('.') != pattern.starts_with('.')) return false;
  // After the last '*' that was met, and what it stood for: the rest is tried from there on.
  std::size_t at = 0, in = 0, afterStar = std::string_view::npos, resume = 0;
  while (in < name.size()) {
    if (at < pattern.size() && pattern[at] == '*') {
      afterStar = ++at;
      resume = in;
    } else if (at < pattern.size() && pattern[at] == '?') {
      ++at;
      in += std::max<std::size_t>(1, CharacterLength(name.substr(in)));
    } else if (at < pattern.size() && pattern[at] == name[in]) {
      ++at;
      ++in;
    } else if (afterStar != std::string_view::npos) {
      at = afterStar;
      in = ++resume;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', at) == std::string_view::npos;
}

std::optional<std::string> NameByTemplate(std::string_view text, const std::string& name,
                                          const std::tm& time) {
  std::string result;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t open = std::min(text.find('{', at), text.size());
    result += text.substr(at, open - at);
    if (open == text.size()) break;
    const std::size_t close = text.find('}', open);
    if (close == std::string_view::npos) return std::nullopt;
    const auto value = ValueOf(text.substr(open + 1, close - open - 1), name, time);
    if (!value) return std::nullopt;
    result += *value;
    at = close + 1;
  }
  return result;
}

}  // namespace torvik::engine
