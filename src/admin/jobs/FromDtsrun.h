#pragma once

#include <string>
#include <vector>

#include "migrate/DtsrunLine.h"

namespace torvik {
struct LinuxPlatform;
}

namespace torvik::admin {

/// What the new job needs and the line does not say.
struct DtsrunOptions {
  std::string line;             ///< "-": it comes from standard input.
  std::string output;           ///< The job file; empty: the package's name with ".etl".
  std::string warehouseServer;  ///< Empty: the server of the packages.
  std::string warehouse;        ///< The database; empty: to be filled in.
};

struct NewJobOfDtsrun {
  std::string file, server;
  std::vector<std::string> remarks;  ///< What has no counterpart, and what to do.
};

/// Writes the job file that does what the line does. Throws PlatformError, and writes nothing, when
/// the file is there.
NewJobOfDtsrun MakeJobOf(LinuxPlatform& platform, const migrate::DtsrunLine& line,
                         const DtsrunOptions& options);

/// Writes the job file that does what a dtsrun line does, and prints the command that runs it.
/// Throws PlatformError, and writes nothing, when the line is not taken over or the file is there.
int WriteJobOfDtsrun(LinuxPlatform& platform, const DtsrunOptions& options, bool json);

}  // namespace torvik::admin
