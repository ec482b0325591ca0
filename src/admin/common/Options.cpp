#include <CLI/CLI.hpp>

#include "admin/common/Admin.h"
#include "platform/PlatformError.h"
#include "platform/linux/settings/Secret.h"

namespace torvik::admin {

void AddServerOptions(CLI::App& command, Invocation& invocation) {
  command.add_option("--server", invocation.server.server, "server text, as jobs name it")
      ->capture_default_str();
  AddLogonOptions(command, invocation);
}

void AddLogonOptions(CLI::App& command, Invocation& invocation) {
  CLI::Option* user = command.add_option("--user", invocation.server.user,
                                         "user name; without it the account of the process");
  command
      .add_option("--password-file", invocation.server.passwordFile,
                  "file whose first line is the user's password; only its owner may read it")
      ->needs(user);
}

void AddJsonOption(CLI::App& command, Invocation& invocation) {
  command.add_flag("--json", invocation.json, "print the result as JSON");
}

std::string ReadPassword(const ServerChoice& choice) {
  std::string password;
  if (choice.passwordFile.empty()) return password;
  if (const std::string problem = ReadSecret({choice.passwordFile, ""}, password); !problem.empty())
    throw PlatformError(0, problem, "password file");
  return password;
}

}  // namespace torvik::admin
