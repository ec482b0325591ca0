#pragma once

#include <string>
#include <system_error>
#include <vector>

namespace torvik {

/// What there is to choose from when a user looks for a server or a folder.
class Neighbourhood {
 public:
  virtual ~Neighbourhood() = default;

  /// The servers that the settings name, and the data sources of ODBC; without delay.
  virtual std::vector<std::string> KnownServers() = 0;

  /// A program with its arguments that writes the names of the computers that the network shows,
  /// one a line. It may take many seconds. Empty when there is none.
  virtual std::vector<std::string> NetworkCommand() = 0;

  /// Where folders begin: "C:\", "\\server\share", "/".
  virtual std::vector<std::string> FolderRoots() = 0;

  /// The names of the folders directly in a folder of either spelling, in order; on a server that
  /// may take as long as the settings let it.
  virtual std::error_code SubFolders(const std::string& folder,
                                     std::vector<std::string>& names) = 0;

  /// The Linux path of a path of either spelling; the path itself when it leads nowhere.
  virtual std::string LinuxPath(const std::string& path) = 0;
};

}  // namespace torvik
