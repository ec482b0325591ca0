#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace torvik::engine {

/// A path's last part and what stands before it, either separator at its end. "C:\in\a.txt" is
/// "C:\in\" and "a.txt".
struct SplitPath {
  std::string directory;
  std::string name;
};
SplitPath Split(const std::string& path);

/// True when a last part holds '*' or '?'.
bool IsPattern(std::string_view name);

/// '*' stands for any characters, '?' for one; letter case counts. A name that begins with '.' is
/// matched only by a pattern that does: such files are hidden, or not complete yet.
bool Matches(std::string_view pattern, std::string_view name);

/// The name that a file called `name` gets by a template: "{stem}" and "{extension}" are its parts
/// ("a.tar" and ".gz"), "{date:FORMAT}" is `time` by the format of strftime. Nothing when the
/// template has another "{...}", an open one, or a format that gives nothing.
std::optional<std::string> NameByTemplate(std::string_view text, const std::string& name,
                                          const std::tm& time);

}  // namespace torvik::engine
