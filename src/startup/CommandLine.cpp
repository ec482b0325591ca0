#include "startup/CommandLine.h"

#include "platform/Text.h"

namespace torvik {

std::string JoinArguments(const std::vector<std::string>& arguments) {
  std::string text;
  for (std::string argument : arguments) {
    // A shell that takes them from a file leaves its line's end at the last one.
    while (!argument.empty() && (argument.back() == '\r' || argument.back() == '\n'))
      argument.pop_back();
    if (!text.empty()) text += ' ';
    const bool asItStands = argument.find('"') != std::string::npos;
    const bool quoted =
        !asItStands && (argument.empty() || argument.find_first_of(" \t") != std::string::npos);
    text += quoted ? '"' + argument + '"' : argument;
  }
  return text;
}

std::vector<std::string> Tokens(std::string_view argumentText, int maxArgs) {
  std::vector<std::string> tokens;
  bool inToken = false;
  bool inQuote = false;
  for (const char c : argumentText) {
    if (c == '"') {
      inQuote = !inQuote;
    } else if ((c == ' ' || c == '\t') && !inQuote) {
      inToken = false;
    } else {
      if (!inToken) {
        if (static_cast<int>(tokens.size()) == maxArgs) break;
        tokens.emplace_back();
        inToken = true;
      }
      tokens.back() += c;
    }
  }
  return tokens;
}

void ApplyOption(std::string& name, const std::string& value, CommandLineSettings& settings) {
  name = LowerAscii(name);
  if (name == "configfile") {
    settings.ConfigFile = value;
  } else if (name == "config") {
    settings.QXJobConfigFile = value;
    settings.StartInConfigMode = true;
    settings.StartInQXJobConfigMode = true;
  } else if (name == "statusfile") {
    settings.StatusFile = value;
  } else if (name == "logfile") {
    settings.LogFile = value;
  } else if (name == "help" || name == "?") {
    settings.HelpRequested = true;
  } else {
    return;
  }
  settings.OptionSeen = true;
}

void SplitCommandLine(std::string_view argumentText, CommandLineSettings& settings, int maxArgs) {
  const std::vector<std::string> tokens = Tokens(argumentText, maxArgs);
  settings.OptionSeen = false;
  settings.StartInConfigMode = tokens.empty();
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    if (tokens[i].front() != '-') continue;
    std::string name = tokens[i].substr(1);
    // The value is not consumed: it is looked at again in its own turn.
    ApplyOption(name, i + 1 < tokens.size() ? tokens[i + 1] : std::string(), settings);
  }
}

}  // namespace torvik
