#pragma once

#include <pwd.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "servers/PrivateServer.h"

namespace torvik {

/// A server of Windows shares whose only user is the one of this process. Its shares are the
/// directories of the same names in PathOf(""): "in" for the user, "readonly" likewise, "open" for
/// guests too, "single" for the user over one connection at a time.
struct SambaServer : PrivateServer {
  SambaServer()
      : PrivateServer("private-share",
                      "[in]\npath = %DIR%/in\nread only = no\n"
                      "[readonly]\npath = %DIR%/readonly\n"
                      "[open]\npath = %DIR%/open\nguest ok = yes\n"
                      "[single]\npath = %DIR%/single\nmax connections = 1\n") {
    Clear();
  }

  /// Makes the shares anew.
  void Clear() const {
    for (const char* share : {"in", "readonly", "open", "single"}) {
      std::filesystem::remove_all(PathOf(share));
      std::filesystem::create_directory(PathOf(share));
    }
  }

  static std::string User() { return getpwuid(geteuid())->pw_name; }

  /// "\\127.0.0.1\share\name".
  static std::string Unc(const std::string& share, const std::string& name) {
    return "\\\\127.0.0.1\\" + share + "\\" + name;
  }

  /// The section [smb] of settings by which the user has the shares, with the password; and without
  /// the lines that say who it is.
  std::string Section() const {
    return SectionOfGuest() + "user = " + User() + "\npassword = " + Password() + "\n";
  }
  std::string SectionOfGuest() const {
    return "[smb]\nport = " + std::to_string(Port()) + "\ntimeout = 10\n";
  }
};

}  // namespace torvik
