#include "platform/linux/settings/Settings.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "platform/Secrets.h"
#include "platform/Text.h"
#include "platform/linux/settings/SecretFile.h"
#include "platform/linux/settings/SettingsFile.h"
#include "platform/linux/system/Posix.h"

namespace torvik {
namespace {

/// The directory that a variable names, else a default below the user's home; empty when there is
/// no home either.
std::string UserDirectory(const Environment& environment, const std::string& variable,
                          const std::string& belowHome) {
  const std::string directory = environment.Variable(variable);
  if (!directory.empty()) return directory;
  const std::string home = environment.Variable("HOME");
  return home.empty() ? "" : home + belowHome;
}

std::string FindStateDirectory(const Environment& environment) {
  const std::string own = environment.Variable("TORVIK_STATE");
  if (!own.empty()) return own;
  if (environment.keepsMachineState) return kMachineState;
  const std::string user = UserDirectory(environment, "XDG_STATE_HOME", "/.local/state");
  return user.empty() ? "" : user + "/torvik";
}

bool IsOwnDirectory(const char* path) {
  struct stat status {};
  return lstat(path, &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid();
}

bool IsThere(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 || errno != ENOENT;
}

/// Empty when there is no settings file.
std::string FindSettingsFile(const Environment& environment) {
  const std::string own = environment.Variable("TORVIK_CONF");
  if (!own.empty()) return own;
  const std::string user = UserDirectory(environment, "XDG_CONFIG_HOME", "/.config");
  const std::string ofUser = user + "/torvik/torvik.conf";
  if (!user.empty() && IsThere(ofUser)) return ofUser;
  const std::string ofMachine = "/etc/torvik/torvik.conf";
  return IsThere(ofMachine) ? ofMachine : "";
}

bool HoldsSmbPassword(const Settings& settings) {
  return std::any_of(settings.smb.begin(), settings.smb.end(),
                     [](const auto& smb) { return !smb.second.password.empty(); });
}

bool HoldsPingUrl(const AlarmSettings& alarms) {
  return std::any_of(alarms.monitor.begin(), alarms.monitor.end(), [](const auto& monitor) {
    const std::string& url = monitor.second.pingUrl;
    return !url.empty() && !RefersToSecret(url);
  });
}

std::string ReadSettingsFile(Settings& settings) {
  std::string text;
  const Descriptor file = OpenFile(settings.sourceFile, O_RDONLY);
  const std::error_code error = file.IsOpen() ? ReadAll(file.Number(), text) : LastSystemError();
  if (error) return settings.sourceFile + " cannot be read: " + error.message();
  if (std::string problem = ParseSettings(text, settings); !problem.empty()) return problem;
  const bool hasSecret = HoldsSmbPassword(settings) || HoldsPingUrl(settings.alarms);
  return hasSecret ? CheckSecretFile(file, settings.sourceFile) : "";
}

}  // namespace

const ServerSettings* Settings::FindServer(const std::string& name) const {
  const auto found = servers.find(LowerAscii(name));
  return found == servers.end() ? nullptr : &found->second;
}

const ProviderSettings* Settings::FindProvider(const std::string& name) const {
  const auto found = providers.find(ProviderKey(name));
  return found == providers.end() ? nullptr : &found->second;
}

bool Settings::HoldPassword() const {
  const auto hasOne = [](const auto& section) {
    const auto& options = section.second.options;
    return options.contains("pwd") || options.contains("password");
  };
  return HoldsSmbPassword(*this) || HoldsPingUrl(alarms) ||
         std::any_of(servers.begin(), servers.end(), hasOne) ||
         std::any_of(providers.begin(), providers.end(), hasOne);
}

SmbSettings Settings::Smb(const std::string& server) const {
  const auto own = smb.find(LowerAscii(server));
  const auto found = own == smb.end() ? smb.find("") : own;
  return found == smb.end() ? SmbSettings() : found->second;
}

PathMap Settings::Paths() const {
  return PathMap(drives, shares, stateDirectory + "/drives");
}

std::string ProviderKey(const std::string& name) {
  const std::size_t point = name.rfind('.');
  const bool hasVersion = point != std::string::npos && point + 1 < name.size() &&
                          name.find_first_not_of("0123456789", point + 1) == std::string::npos;
  return LowerAscii(name.substr(0, hasVersion ? point : name.size()));
}

std::string Environment::Variable(const std::string& name) const {
  const auto found = variables.find(name);
  return found == variables.end() ? "" : found->second;
}

Environment ProcessEnvironment() {
  Environment environment;
  environment.keepsMachineState = geteuid() == 0 || IsOwnDirectory(kMachineState);
  for (const char* name :
       {"HOME", "TMPDIR", "TORVIK_CONF", "TORVIK_STATE", "XDG_CONFIG_HOME", "XDG_STATE_HOME"}) {
    if (const char* value = std::getenv(name)) environment.variables[name] = value;
  }
  return environment;
}

std::string LoadSettings(const Environment& environment, Settings& settings) {
  settings.stateDirectory = FindStateDirectory(environment);
  if (settings.stateDirectory.empty()) {
    return "there is no directory for the program's state; set TORVIK_STATE or HOME";
  }
  settings.temporaryDirectory = environment.Variable("TMPDIR");
  if (settings.temporaryDirectory.empty()) {
    settings.temporaryDirectory = settings.stateDirectory + "/tmp";
  }
  settings.sourceFile = FindSettingsFile(environment);
  if (!settings.sourceFile.empty()) {
    if (std::string problem = ReadSettingsFile(settings); !problem.empty()) return problem;
  }
  settings.servers.try_emplace("(local)", ServerSettings{"embedded", "", {}});
  ServerSettings& local = settings.servers["(local)"];
  if (local.backend == "embedded" && local.directory.empty()) {
    local.directory = settings.stateDirectory + "/servers/local";
  }
  return {};
}

}  // namespace torvik
