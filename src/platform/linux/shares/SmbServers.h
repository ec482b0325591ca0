#pragma once

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <system_error>

#include "platform/linux/settings/Settings.h"
#include "platform/linux/shares/SmbReader.h"
#include "platform/linux/shares/UncPath.h"
#include "platform/linux/shares/smb/SmbSession.h"
#include "platform/linux/system/CopyFiles.h"

namespace torvik {

/// A session for each server that paths name, made when it is first used and again after its
/// connection has broken.
class SmbServers {
 public:
  /// What is to be done with a server; answers the session's error.
  using Work = std::function<std::error_code(SmbSession&)>;

  explicit SmbServers(const Settings& settings) : settings_(settings) {}

  /// Does the work for `path` on its server. A connection that has stood idle may have broken
  /// since: the work is then done once more over a new one.
  FileFailure Do(const UncPath& path, const Work& work);

  /// True when the connection to the server of `path` has broken since it was last used.
  bool HasBroken(const UncPath& path) const;

  /// How another connection to the share of `path`, which has been used, is made.
  ReaderLogon LogonOf(const UncPath& path) const;

  /// What an error of a session means to the user; takes note of a connection that has broken.
  std::string Words(const UncPath& path, const std::error_code& error);

 private:
  struct Server {
    SmbSettings settings;
    SmbLogon logon;
    std::unique_ptr<SmbSession> session;
    std::set<std::string> shares = {};  ///< That a connection has been made to.
    bool isSpent = false;               ///< The next use makes another session.
  };

  /// Null, and `problem` set, for a server that cannot be reached, and for wrong settings.
  Server* Connect(const UncPath& path, std::string& problem);

  /// Connects to the share of a path. Only here are a refused logon and missing rights told apart.
  static std::error_code OpenShare(Server& server, const UncPath& path);

  const Settings settings_;
  std::map<std::string, Server> servers_;  ///< By small letters.
};

}  // namespace torvik
