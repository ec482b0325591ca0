#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace torvik {

/// What the command line asks for.
struct CommandLineSettings {
  std::string ConfigFile;       ///< Job file to load.
  std::string QXJobConfigFile;  ///< Hand-off file of the scheduler that wants a job prepared.
  bool StartInConfigMode = false;
  bool StartInQXJobConfigMode = false;
  std::string StatusFile;  ///< Completion status file.
  std::string LogFile;     ///< Receives a copy of the exception log after a run.
  bool HelpRequested = false;
  bool OptionSeen = false;  ///< Some known option was applied.
};

inline constexpr int kDefaultMaxArgs = 50;

/// The argument text of a program whose arguments the platform has split already: joined with
/// blanks; an argument that is empty or holds a blank or a tab is put in double quotes, one that
/// holds a double quote stays as it stands. CR and LF at an argument's end are dropped.
std::string JoinArguments(const std::vector<std::string>& arguments);

/// The tokens of an argument text. Blanks and tabs separate; a double quote is dropped and turns
/// that off or on again. What follows the first `maxArgs` tokens is ignored.
std::vector<std::string> Tokens(std::string_view argumentText, int maxArgs = kDefaultMaxArgs);

/// Applies one option. The name is lower-cased in place; unknown names are ignored.
void ApplyOption(std::string& name, const std::string& value, CommandLineSettings& settings);

/// Applies every option of the argument text; without any token the program starts interactively.
void SplitCommandLine(std::string_view argumentText, CommandLineSettings& settings,
                      int maxArgs = kDefaultMaxArgs);

}  // namespace torvik
