#include "platform/linux/settings/SettingsFile.h"

#include <algorithm>
#include <vector>

#include "platform/NumberText.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/settings/AlarmSections.h"
#include "platform/linux/settings/IniText.h"
#include "platform/linux/text/IconvCodePages.h"

namespace torvik {
namespace {

constexpr int kLongestTimeout = 3600;
constexpr int kLongestWait = 7 * 24 * 3600;
constexpr int kLongestHistory = 36500;
constexpr int kMostAtOnce = 1000;
constexpr int kLargestPort = 65535;
constexpr const char* kBackends = "there are embedded, odbc and postgresql";

/// The value without the comment behind it, which begins with a blank and a semicolon outside of
/// quotes.
std::string ValueOf(std::string_view text) {
  const bool isQuoted = !text.empty() && (text[0] == '"' || text[0] == '\'');
  const std::size_t closing = isQuoted ? text.find(text[0], 1) : 0;
  std::size_t comment = closing == std::string_view::npos ? closing : text.find(';', closing);
  while (comment != std::string_view::npos && comment > 0 && text[comment - 1] != ' ' &&
         text[comment - 1] != '\t') {
    comment = text.find(';', comment + 1);
  }
  return std::string(IniValue(text.substr(0, comment)));
}

/// What follows a first word, as in "drive C:"; empty when that is not the first word.
std::string Behind(std::string_view word, std::string_view text) {
  const std::size_t blank = text.find_first_of(" \t");
  if (blank == std::string_view::npos || !EqualsIgnoringCase(text.substr(0, blank), word))
    return {};
  return std::string(IniValue(text.substr(blank)));
}

std::string UnlessAbsolute(const std::string& directory) {
  return directory.rfind('/', 0) == 0 ? "" : "a directory is given by its full path, from / on";
}

std::string UnlessFile(const std::string& path) {
  return path.starts_with('/') ? "" : "a file is given by its full path, from / on";
}

/// A whole number; `what` says what it is.
std::string ReadNumber(const std::string& text, int largest, int& number, const std::string& what,
                       int smallest = 1) {
  const auto read = NumberOf<int>(text);
  if (!read || *read < smallest || *read > largest)
    return what + " from " + std::to_string(smallest) + " to " + std::to_string(largest);
  number = *read;
  return "";
}

std::string ReadTimeout(const std::string& text, int& seconds) {
  return ReadNumber(text, kLongestTimeout, seconds, "timeout is a number of seconds");
}

std::string ReadPort(const std::string& text, int& port) {
  return ReadNumber(text, kLargestPort, port, "port is a number");
}

std::string ReadYesNo(const std::string& key, const std::string& text, bool& value) {
  value = EqualsIgnoringCase(text, "yes");
  return value || EqualsIgnoringCase(text, "no") ? "" : key + " is yes or no";
}

/// Takes one key of a section [smb] over.
std::string ReadSmbKey(const std::string& key, const std::string& value, SmbSettings& smb) {
  if (key == "kerberos") return ReadYesNo(key, value, smb.kerberos);
  if (key == "timeout") return ReadTimeout(value, smb.timeoutSeconds);
  if (key == "port") return ReadPort(value, smb.port);
  const std::pair<const char*, std::string*> texts[] = {{"user", &smb.user},
                                                        {"password", &smb.password},
                                                        {"domain", &smb.domain},
                                                        {"credentials", &smb.credentials}};
  const auto text = std::find_if(std::begin(texts), std::end(texts),
                                 [&](const auto& known) { return key == known.first; });
  std::string problem;
  if (text != std::end(texts))
    *text->second = value;
  else if (!TakeSecretKey("password", key, value, smb.passwordReference, problem))
    return "[smb] has no key \"" + key +
           "\"; there are user, password_file, password_credential, password, domain, "
           "credentials, kerberos, timeout, port";
  if (!problem.empty()) return problem;
  if (!smb.password.empty() + !smb.credentials.empty() + !smb.passwordReference.IsEmpty() > 1)
    return "password, password_file, password_credential and credentials exclude each other; "
           "leave all but one of them out";
  return key == "credentials" ? UnlessFile(value) : "";
}

/// Takes one key of the section [mail] over.
std::string ReadMailKey(const std::string& key, const std::string& value, MailSettings& mail) {
  const std::pair<const char*, MailTls> ways[] = {{"off", MailTls::Off},
                                                  {"try", MailTls::Try},
                                                  {"require", MailTls::Require},
                                                  {"smtps", MailTls::Smtps}};
  if (key == "tls") {
    const auto way = std::find_if(std::begin(ways), std::end(ways), [&](const auto& known) {
      return EqualsIgnoringCase(value, known.first);
    });
    if (way == std::end(ways)) return "tls is off, try, require or smtps";
    mail.tls = way->second;
    return {};
  }
  if (key == "port") return ReadPort(value, mail.port);
  if (key == "timeout") return ReadTimeout(value, mail.timeoutSeconds);
  const std::pair<const char*, std::string*> texts[] = {{"server", &mail.server},
                                                        {"user", &mail.user},
                                                        {"from", &mail.from},
                                                        {"certificates", &mail.certificates}};
  const auto text = std::find_if(std::begin(texts), std::end(texts),
                                 [&](const auto& known) { return key == known.first; });
  std::string problem;
  if (text != std::end(texts))
    *text->second = value;
  else if (!TakeSecretKey("password", key, value, mail.password, problem))
    return "[mail] has no key \"" + key +
           "\"; there are server, port, tls, certificates, user, password_file, "
           "password_credential, from, timeout";
  return key == "certificates" ? UnlessFile(value) : problem;
}

/// Takes one key of a section that gives a logon over; false when it is none of them.
bool TakeLogonKey(const std::string& key, const std::string& value, LogonSettings& logon,
                  std::string& problem) {
  if (key != "user") return TakeSecretKey("password", key, value, logon.password, problem);
  logon.user = value;
  return true;
}

/// Reads line by line. Each function answers what is wrong, or the empty text.
class SettingsParser {
 public:
  explicit SettingsParser(Settings& settings) : settings_(settings) {}

  std::string Parse(std::string_view text) {
    for (std::size_t offset = 0; offset < text.size();) {
      const IniLine line = ReadIniLine(text, offset);
      offset = line.end;
      ++lineNumber_;
      if (std::string problem = Read(line); !problem.empty()) return At(lineNumber_, problem);
    }
    JoinSmbSections();
    settings_.alarms = alarms_.Joined();
    std::string problem = CheckServers();
    if (problem.empty()) problem = CheckProviders();
    if (problem.empty()) problem = CheckFtp();
    if (problem.empty()) problem = CheckHistory();
    return problem.empty() ? CheckFtpLogons() : problem;
  }

 private:
  enum class Section {
    None,
    Text,
    Paths,
    Server,
    Provider,
    Ftp,
    FtpHost,
    Mail,
    Scripts,
    Programs,
    Smb,
    Run,
    History,
    Limit,
    Monitor,
    Notify
  };

  std::string At(int lineNumber, const std::string& problem) const {
    return settings_.sourceFile + ", line " + std::to_string(lineNumber) + ": " + problem;
  }

  std::string Read(const IniLine& line) {
    switch (line.kind) {
      case IniLine::Kind::Section: return ReadSection(std::string(line.name));
      case IniLine::Kind::Key: return ReadKey(LowerAscii(line.name), ValueOf(line.text));
      case IniLine::Kind::Other: return "this is neither [SECTION] nor KEY = VALUE";
      case IniLine::Kind::Blank:
      case IniLine::Kind::Comment: break;
    }
    return {};
  }

  std::string ReadSection(const std::string& name) {
    const std::string server = LowerAscii(Behind("server", name));
    const std::string provider = Behind("provider", name);
    const std::string host = LowerAscii(Behind("smb", name));
    const std::string watched = LowerAscii(Behind("monitor", name));
    const std::string told = LowerAscii(Behind("notify", name));
    const std::string ftpHost = LowerAscii(Behind("ftp", name));
    const std::string limit = LowerAscii(Behind("limit", name));
    if (EqualsIgnoringCase(name, "text")) {
      section_ = Section::Text;
    } else if (EqualsIgnoringCase(name, "paths")) {
      section_ = Section::Paths;
    } else if (EqualsIgnoringCase(name, "ftp")) {
      section_ = Section::Ftp;
    } else if (!ftpHost.empty()) {
      section_ = Section::FtpHost;
      name_ = ftpHost;
      ftpLines_.emplace(ftpHost, lineNumber_);
      settings_.ftp.logons[ftpHost];
    } else if (EqualsIgnoringCase(name, "mail")) {
      section_ = Section::Mail;
    } else if (EqualsIgnoringCase(name, "scripts")) {
      section_ = Section::Scripts;
    } else if (EqualsIgnoringCase(name, "programs")) {
      section_ = Section::Programs;
    } else if (EqualsIgnoringCase(name, "run")) {
      section_ = Section::Run;
    } else if (EqualsIgnoringCase(name, "history")) {
      section_ = Section::History;
    } else if (!limit.empty()) {
      section_ = Section::Limit;
      name_ = limit;
      settings_.limits.try_emplace(limit, 1);
    } else if (EqualsIgnoringCase(name, "smb") || !host.empty()) {
      section_ = Section::Smb;
      name_ = host;
      smb_.try_emplace(host);
    } else if (EqualsIgnoringCase(name, "monitor") || !watched.empty()) {
      section_ = Section::Monitor;
      alarmsLine_ = lineNumber_;
      name_ = watched;
    } else if (EqualsIgnoringCase(name, "notify") || !told.empty()) {
      section_ = Section::Notify;
      alarmsLine_ = lineNumber_;
      name_ = told;
    } else if (!provider.empty()) {
      section_ = Section::Provider;
      name_ = ProviderKey(provider);
      providerLines_.emplace(name_, lineNumber_);
      settings_.providers[name_];
    } else if (server.empty()) {
      return "the section [" + name +
             "] is not known; there are [text], [paths], [ftp], [ftp HOST], [mail], [scripts], "
             "[programs], [run], [history], [limit NAME], [smb], [smb HOST], [monitor], "
             "[monitor JOB], [notify], [notify JOB], [server NAME], [provider NAME]";
    } else {
      section_ = Section::Server;
      name_ = server;
      serverLines_.emplace(server, lineNumber_);
      settings_.servers[server];
    }
    return {};
  }

  std::string ReadKey(const std::string& key, const std::string& value) {
    switch (section_) {
      case Section::None: return "a [SECTION] must come before the first key";
      case Section::Text: return ReadTextKey(key, value);
      case Section::Paths: return ReadPath(key, value);
      case Section::Server: return ReadServerKey(key, value);
      case Section::Provider: ReadProviderKey(key, value); break;
      case Section::Ftp: return ReadFtpKey(key, value);
      case Section::FtpHost: return ReadFtpHostKey(key, value);
      case Section::Mail: return ReadMailKey(key, value, settings_.mail);
      case Section::Scripts: return ReadScriptsKey(key, value);
      case Section::Programs: settings_.programs[key] = value; break;
      case Section::Run: return ReadRunKey(key, value);
      case Section::History: return ReadHistoryKey(key, value);
      case Section::Limit: return ReadLimitKey(key, value);
      case Section::Smb:
        smb_[name_].keys.emplace_back(key, value);
        return ReadSmbKey(key, value, smb_[name_].own);
      case Section::Monitor: return alarms_.ReadMonitorKey(name_, key, value);
      case Section::Notify: return alarms_.ReadNotifyKey(name_, key, value);
    }
    return {};
  }

  std::string ReadTextKey(const std::string& key, const std::string& value) {
    if (key != "code_page") return "[text] has no key \"" + key + "\"; there is code_page";
    settings_.codePage = value;
    try {
      NewIconvCodePages(value);
      return {};
    } catch (const PlatformError& error) {
      return error.Description();
    }
  }

  std::string ReadRunKey(const std::string& key, const std::string& value) {
    if (key != "wait_for_other_run")
      return "[run] has no key \"" + key + "\"; there is wait_for_other_run";
    return ReadNumber(value, kLongestWait, settings_.waitForOtherRunSeconds,
                      "wait_for_other_run is a number of seconds", 0);
  }

  std::string ReadHistoryKey(const std::string& key, const std::string& value) {
    HistorySettings& history = settings_.history;
    if (key == "enabled") return ReadYesNo(key, value, history.isOn);
    if (key == "server" || key == "database") {
      (key == "server" ? history.server : history.database) = value;
      if (!history.server.empty()) sharedHistoryLine_ = lineNumber_;
      return history.database.empty() ? "database is a name" : "";
    }
    if (key != "keep_days")
      return "[history] has no key \"" + key +
             "\"; there are enabled, keep_days, server and database";
    return ReadNumber(value, kLongestHistory, history.keepDays, "keep_days is a number");
  }

  std::string ReadLimitKey(const std::string& key, const std::string& value) {
    if (key != "at_once") return "[limit NAME] has no key \"" + key + "\"; there is at_once";
    return ReadNumber(value, kMostAtOnce, settings_.limits[name_], "at_once is a number");
  }

  std::string ReadScriptsKey(const std::string& key, const std::string& value) {
    if (key == "shell") return ReadYesNo(key, value, settings_.scriptsMayStartPrograms);
    if (key != "directories")
      return "[scripts] has no key \"" + key +
             "\"; there are directories, separated by \";\", and shell";
    for (std::size_t begin = 0; begin <= value.size();) {
      const std::size_t end = std::min(value.find(';', begin), value.size());
      const std::string directory(IniValue(std::string_view(value).substr(begin, end - begin)));
      begin = end + 1;
      if (!directory.empty()) settings_.scriptDirectories.push_back(directory);
    }
    return {};
  }

  std::string ReadPath(const std::string& key, const std::string& value) {
    const std::string drive = Behind("drive", key);
    std::string share = Behind("share", key);
    const bool isDrive = drive.size() == 2 && drive[0] >= 'a' && drive[0] <= 'z' && drive[1] == ':';
    std::replace(share.begin(), share.end(), '/', '\\');
    const std::size_t serverEnd = share.find('\\', 2);
    const bool isShare = share.rfind("\\\\", 0) == 0 && serverEnd != std::string::npos &&
                         share.find('\\', serverEnd + 1) == std::string::npos &&
                         serverEnd + 1 < share.size();
    if (!isDrive && !isShare) {
      return "[paths] has no key \"" + key +
             "\"; there are \"drive X:\" and \"share \\\\SERVER\\SHARE\"";
    }
    auto& directories = isDrive ? settings_.drives : settings_.shares;
    if (!directories.emplace(isDrive ? drive.substr(0, 1) : share, value).second) {
      return "\"" + key + "\" is given twice";
    }
    return UnlessAbsolute(value);
  }

  std::string ReadServerKey(const std::string& key, const std::string& value) {
    ServerSettings& server = settings_.servers[name_];
    if (key == "backend") {
      server.backend = LowerAscii(value);
      for (const char* known : {"embedded", "odbc", "postgresql"})
        if (server.backend == known) return "";
      return "the backend \"" + value + "\" is not known; " + kBackends;
    }
    if (key == "directory") {
      server.directory = value;
      return UnlessAbsolute(value);
    }
    std::string problem;
    if (!TakeLogonKey(key, value, server.logon, problem)) server.options[key] = value;
    return problem;
  }

  std::string ReadFtpHostKey(const std::string& key, const std::string& value) {
    std::string problem;
    if (TakeLogonKey(key, value, settings_.ftp.logons[name_], problem)) return problem;
    return "[ftp HOST] has no key \"" + key +
           "\"; there are user, password_file, password_credential";
  }

  void ReadProviderKey(const std::string& key, const std::string& value) {
    ProviderSettings& provider = settings_.providers[name_];
    if (key == "driver") {
      provider.driver = value;
    } else {
      provider.options[key] = value;
    }
  }

  std::string ReadFtpKey(const std::string& key, const std::string& value) {
    using Tls = FtpSettings::Tls;
    FtpSettings& ftp = settings_.ftp;
    const std::string word = LowerAscii(value);
    if (key == "mode") {
      ftp.passive = word == "passive";
      return ftp.passive || word == "active" ? "" : "mode is active or passive";
    }
    if (key == "type") {
      ftp.type = word == "binary" ? FtpSettings::Type::Binary : FtpSettings::Type::Ascii;
      return word == "binary" || word == "ascii" ? "" : "type is ascii or binary";
    }
    if (key == "tls") {
      tlsLine_ = lineNumber_;
      ftp.tls = word == "require" ? Tls::Require : word == "try" ? Tls::Try : Tls::Off;
      return ftp.tls != Tls::Off || word == "off" ? "" : "tls is off, try or require";
    }
    if (key == "certificates") {
      ftp.certificates = value;
      return UnlessFile(value);
    }
    if (key == "port") return ReadPort(value, ftp.port);
    if (key == "timeout") return ReadTimeout(value, ftp.timeoutSeconds);
    return "[ftp] has no key \"" + key +
           "\"; there are mode, type, tls, certificates, timeout, port";
  }

  /// [smb HOST] has the keys of [smb] and its own, whichever comes first in the file. A logon of
  /// its own takes the place of the other one whole.
  void JoinSmbSections() {
    const SmbKeys ofAll = smb_[""];
    for (const auto& [host, keys] : smb_) {
      SmbSettings& joined = settings_.smb[host] = ofAll.own;
      if (host.empty()) continue;
      joined.section = "smb " + host;
      const bool hasPassword = !keys.own.password.empty() || !keys.own.passwordReference.IsEmpty();
      if (!keys.own.user.empty() || hasPassword) joined.credentials.clear();
      if (hasPassword || !keys.own.credentials.empty()) {
        joined.password.clear();
        joined.passwordReference = {};
      }
      if (!keys.own.credentials.empty()) joined.user = joined.domain = "";
      for (const auto& [key, value] : keys.keys) ReadSmbKey(key, value, joined);
    }
  }

  /// The library that speaks FTP does not protect data connections that the server opens.
  std::string CheckFtp() const {
    const FtpSettings& ftp = settings_.ftp;
    if (ftp.passive || ftp.tls == FtpSettings::Tls::Off) return {};
    return At(tlsLine_, "[ftp]: tls needs data connections from here; add mode = passive");
  }

  static std::string LogonProblem(const LogonSettings& logon) {
    if (!logon.user.empty() || logon.password.IsEmpty()) return {};
    return "there is a password and no user for it; add user = NAME";
  }

  std::string CheckFtpLogons() const {
    for (const auto& [host, logon] : settings_.ftp.logons) {
      std::string problem = LogonProblem(logon);
      if (logon.user.empty() && problem.empty()) problem = "no user is named; add user = NAME";
      if (!problem.empty()) return At(ftpLines_.at(host), "[ftp " + host + "]: " + problem);
    }
    return {};
  }

  std::string CheckHistory() const {
    if (settings_.history.isOn) return {};
    if (sharedHistoryLine_ != 0)
      return At(sharedHistoryLine_,
                "runs are sent from the history; take enabled = no out of [history]");
    if (alarmsLine_ == 0) return {};
    return At(alarmsLine_,
              "alarms are raised from the history; take enabled = no out of [history]");
  }

  static std::string TakeDurability(ServerSettings& server) {
    EmbeddedDurability& durability = server.durability;
    for (auto& [key, value] : server.options) {
      value = LowerAscii(value);
      if (key == "synchronous") {
        if (value != "full" && value != "normal" && value != "off")
          return "synchronous is full, normal or off";
        durability.synchronous = value;
      } else if (key == "journal") {
        if (value != "wal" && value != "off") return "journal is wal or off";
        durability.journal = value;
      } else {
        return "an embedded server has no key \"" + key +
               "\"; there are directory, synchronous and journal";
      }
    }
    return {};
  }

  /// What can only be said when all keys of a server are known.
  std::string CheckServers() {
    for (auto& [name, server] : settings_.servers) {
      const bool isLocal = name == "(local)";
      if (server.backend.empty() && isLocal) server.backend = "embedded";
      std::string problem;
      if (server.backend.empty()) problem = std::string("no backend is named; ") + kBackends;
      if (server.backend == "embedded") problem = TakeDurability(server);
      if (server.backend == "embedded" && server.directory.empty() && !isLocal) {
        problem = "an embedded server needs a directory";
      }
      if (server.backend == "embedded" &&
          (!server.logon.user.empty() || !server.logon.password.IsEmpty()))
        problem = "an embedded server knows no users: the directory's permissions guard it";
      if (server.backend == "postgresql")
        for (const char* key : {"dsn", "driver"})
          if (server.options.count(key) > 0)
            problem = std::string("backend = postgresql has no key \"") + key +
                      "\"; leave it out, or use backend = odbc";
      if (problem.empty()) problem = LogonProblem(server.logon);
      if (!problem.empty()) return At(serverLines_.at(name), "[server " + name + "]: " + problem);
    }
    return {};
  }

  std::string CheckProviders() const {
    for (const auto& [name, provider] : settings_.providers)
      if (provider.driver.empty())
        return At(providerLines_.at(name),
                  "[provider " + name + "]: no driver is named; add driver = NAME");
    return {};
  }

  /// The keys of a section [smb HOST], and what they alone come to.
  struct SmbKeys {
    std::vector<std::pair<std::string, std::string>> keys;
    SmbSettings own;
  };

  Settings& settings_;
  int lineNumber_ = 0;
  Section section_ = Section::None;
  std::string name_;  ///< Of the server, provider or job that the section is about.
  int tlsLine_ = 0, alarmsLine_ = 0, sharedHistoryLine_ = 0;
  std::map<std::string, int> serverLines_;
  std::map<std::string, int> providerLines_;
  std::map<std::string, int> ftpLines_;
  std::map<std::string, SmbKeys> smb_;  ///< By host; "" for [smb].
  AlarmSections alarms_;
};

}  // namespace

std::string ParseSettings(std::string_view text, Settings& settings) {
  return SettingsParser(settings).Parse(text);
}

}  // namespace torvik
