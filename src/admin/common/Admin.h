#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace torvik {
struct LinuxPlatform;
}

namespace torvik::admin {

/// The server that a command works on and how to log on to it. The password comes from a file,
/// never from the command line, where the process list would show it.
struct ServerChoice {
  std::string server = "(local)";
  std::string user;          ///< Empty: with the account of the process.
  std::string passwordFile;  ///< Its first line is the password.
};

/// What one call of torvik-admin does: set by the command that was chosen, run after parsing.
struct Invocation {
  ServerChoice server;
  bool json = false;
  /// Answers the exit code: 0 done, 1 failed.
  std::function<int(LinuxPlatform&)> command;
};

void AddServerCommands(CLI::App& app, Invocation& invocation);
void AddPackageCommands(CLI::App& app, Invocation& invocation);
void AddLinkCommands(CLI::App& app, Invocation& invocation);
void AddNetworkCommands(CLI::App& app, Invocation& invocation);
void AddJobCommands(CLI::App& app, Invocation& invocation);
void AddDoctorCommand(CLI::App& app, Invocation& invocation);
void AddAlarmsCommand(CLI::App& app, Invocation& invocation);
void AddHistoryCommands(CLI::App& app, Invocation& invocation);
void AddWatchCommand(CLI::App& app, Invocation& invocation);
void AddNightCommands(CLI::App& app, Invocation& invocation);
void AddRunCommand(CLI::App& app, Invocation& invocation);
void AddMigrateCommands(CLI::App& app, Invocation& invocation);

/// Adds the options --server, --user and --password-file.
void AddServerOptions(CLI::App& command, Invocation& invocation);
/// The last two of them.
void AddLogonOptions(CLI::App& command, Invocation& invocation);
/// Adds the option --json.
void AddJsonOption(CLI::App& command, Invocation& invocation);

/// The password of the file that `choice` names, or the empty text when it names none. Throws
/// PlatformError when the file cannot be read or others may read it.
std::string ReadPassword(const ServerChoice& choice);

using Json = nlohmann::ordered_json;
using JsonRow = std::vector<Json>;

/// Prints rows: as JSON, or as a table with a header line. Each row has one value for each heading.
void PrintRows(const std::vector<std::string>& headings, const std::vector<JsonRow>& rows,
               bool json);

/// Prints a result: as JSON, or as the sentence.
void PrintResult(const Json& result, const std::string& sentence, bool json);

}  // namespace torvik::admin
