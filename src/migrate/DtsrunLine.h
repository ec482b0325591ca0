#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace torvik::migrate {

/// What a command line of the package runner "dtsrun" says, as schedules and batch files have it.
struct DtsrunLine {
  std::string server, user, password;
  bool isTrusted = false;
  std::string package, version, log;
  std::vector<std::pair<std::string, std::string>> variables;  ///< Names and values.
  bool writesEvent = false;
  std::vector<std::string> remarks;  ///< What has no counterpart.
};

/// Reads one: options begin with '/' or '-', and their values stand behind them with or without a
/// blank; quotes hold blanks together. Throws PlatformError for encrypted options, for packages of
/// files and repositories, and for what is no such line; no message holds a value.
DtsrunLine ReadDtsrunLine(std::string_view line);

}  // namespace torvik::migrate
