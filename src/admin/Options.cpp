#include <sys/stat.h>

#include <CLI/CLI.hpp>
#include <fstream>

#include "admin/Admin.h"
#include "platform/PlatformError.h"

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
  const std::string& path = choice.passwordFile;
  if (path.empty()) return {};
  struct stat info {};
  if (stat(path.c_str(), &info) == 0 && (info.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    throw PlatformError(0, path + ": others may read this password file; chmod 600 it",
                        "password file");
  }
  std::ifstream file(path);
  std::string password;
  if (!std::getline(file, password)) {
    throw PlatformError(0, path + ": no password can be read from this file", "password file");
  }
  if (!password.empty() && password.back() == '\r') password.pop_back();
  return password;
}

}  // namespace torvik::admin
