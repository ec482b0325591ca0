#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "platform/AlarmSettings.h"
#include "platform/Mail.h"
#include "platform/linux/system/PathMap.h"

#include "platform/linux/settings/EmbeddedDurability.h"
#include "platform/linux/settings/Secret.h"

namespace torvik {

/// A section [server NAME].
struct ServerSettings {
  std::string backend;    ///< "embedded", "odbc" or "postgresql".
  std::string directory;  ///< Of an embedded server.
  std::map<std::string, std::string> options =
      {};                              ///< Further keys, small letters; none of an embedded one.
  EmbeddedDurability durability = {};  ///< Of an embedded server.
  LogonSettings logon = {};            ///< Of all others.
};

/// A section [provider NAME].
struct ProviderSettings {
  std::string driver;                          ///< Of odbcinst.ini.
  std::map<std::string, std::string> options;  ///< Keywords of that driver, small letters.
};

/// The section [ftp].
struct FtpSettings {
  enum class Tls { Off, Try, Require };
  enum class Type { Ascii, Binary };

  Type type = Type::Ascii;  ///< Whether the server turns line ends into CR LF, or leaves bytes be.
  bool passive = false;     ///< Who opens the data connections: the server, or in passive mode we.
  Tls tls = Tls::Off;       ///< Try goes on without when the server has none. Needs passive mode.
  std::string certificates = {};  ///< A file of trusted ones; empty: those of the system.
  int timeoutSeconds = 30;        ///< To connect, and for a server that is silent in between.
  int port = 21;                  ///< Of every server.
  std::map<std::string, LogonSettings> logons = {};  ///< [ftp HOST], by small letters.
};

/// The section [mail].
struct MailSettings {
  std::string server = {};        ///< Empty: a step that sends mail must name one.
  int port = 0;                   ///< 0: 465 for smtps, else 25.
  MailTls tls = MailTls::Try;     ///< With a user, Try is Require: passwords need protection.
  std::string certificates = {};  ///< A file of trusted ones; empty: those of the system.
  std::string user = {};          ///< Empty: no logon.
  SecretReference password = {};
  std::string from = {};
  int timeoutSeconds = 30;  ///< To connect, and for a server that is silent in between.
};

/// The section [history].
struct HistorySettings {
  bool isOn = true;
  int keepDays = 90;  ///< Runs that began earlier are forgotten.
  /// The server and database that keep the runs of many machines. Without a server there are none.
  std::string server = {}, database = "msdb";
};

/// How a section [smb HOST] has us use the shares of a server.
struct SmbSettings {
  std::string section = "smb";             ///< That messages send the user to.
  std::string user, password, domain;      ///< Without a user we are a guest.
  std::string credentials;                 ///< A file that holds the three instead.
  SecretReference passwordReference = {};  ///< Instead of the password.
  bool kerberos = false;                   ///< Log on by the ticket of the environment.
  int timeoutSeconds = 30;                 ///< To connect, and for each answer.
  int port = 445;
};

/// What the machine's administrator has chosen (torvik.conf), and where the program keeps its
/// state.
struct Settings {
  std::string sourceFile;  ///< Empty: there is no settings file, everything has its default.
  std::string stateDirectory;
  std::string temporaryDirectory;
  std::string codePage = "windows-1252";          ///< Of job files, logs and status files.
  std::map<std::string, std::string> drives;      ///< Directories by small letter: "c".
  std::map<std::string, std::string> shares;      ///< By small letters: "\\files\incoming".
  std::map<std::string, ServerSettings> servers;  ///< By small letters. "(local)" is always there.
  std::map<std::string, ProviderSettings> providers;  ///< By small letters, without ".1" behind.

  /// In which scripts may use files, in either spelling. Empty: in none.
  std::vector<std::string> scriptDirectories;
  bool scriptsMayStartPrograms = false;  ///< By WScript.Shell.

  /// What is started in place of a program of the original platform, by small letters: a command
  /// line, behind which its arguments go.
  std::map<std::string, std::string> programs = {
      {"eventvwr.exe", "x-terminal-emulator -e journalctl -e"}};

  int waitForOtherRunSeconds = 0;  ///< How long a run waits for one of the same job.

  std::map<std::string, int> limits;  ///< [limit NAME]: how many use it at once; small letters.

  HistorySettings history;
  FtpSettings ftp;
  MailSettings mail;
  std::map<std::string, SmbSettings> smb;  ///< By small letters; "" for all other servers.
  AlarmSettings alarms;

  /// The server of that name, letter case aside, or null.
  const ServerSettings* FindServer(const std::string& name) const;

  /// What is set for an OLE DB provider, or null. Letter case and a version behind the name
  /// ("MSDAORA.1") do not count.
  const ProviderSettings* FindProvider(const std::string& name) const;

  /// True when the settings file holds a password itself.
  bool HoldPassword() const;

  /// How to use the shares of a server, letter case aside.
  SmbSettings Smb(const std::string& server) const;

  /// Where paths of either spelling lead by these settings.
  PathMap Paths() const;
};

/// A provider's name as the settings know it: small letters, without a last ".1".
std::string ProviderKey(const std::string& name);

/// What the process was started with: environment variables, an empty one counting as absent, and
/// whether its user keeps the machine's state: root, or who owns that directory.
struct Environment {
  std::map<std::string, std::string> variables;
  bool keepsMachineState = false;

  std::string Variable(const std::string& name) const;
};

/// Where the machine's state lies; an installation gives it to the user who runs the jobs.
inline constexpr const char* kMachineState = "/var/lib/torvik";

/// That of this process, as far as the settings look at it.
Environment ProcessEnvironment();

/// Reads the settings: the file of $TORVIK_CONF, else the first that is there of
/// $XDG_CONFIG_HOME/torvik/torvik.conf (~/.config for the variable) and /etc/torvik/torvik.conf.
/// State lies in $TORVIK_STATE, else for root and for the owner of /var/lib/torvik there, else in
/// $XDG_STATE_HOME/torvik (~/.local/state); temporary files in $TMPDIR, else in "tmp" there.
/// Answers the empty text, or what is wrong, naming file and line; `settings` is then incomplete.
std::string LoadSettings(const Environment& environment, Settings& settings);

}  // namespace torvik
