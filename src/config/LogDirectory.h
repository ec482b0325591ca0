#pragma once

#include <string>
#include <vector>

namespace torvik {

class Files;

/// A job's log directory, and the paths around it; those that are not known are empty.
struct LogDirectory {
  std::string path;
  std::string package;
  std::string exceptionLog;
  std::string jobFile;
  std::string statusFile;

  bool operator==(const LogDirectory&) const = default;
};

/// What else than an earlier run's logs lies in the directory, which every run empties of its
/// files: a line for each kind ("the job file sales.etl"). A file counts as a run's own when it was
/// written between the first and the last line of the package's log there.
std::vector<std::string> ForeignFiles(Files& files, const LogDirectory& directory);

/// True for a directory that runs empty and log in: no root, and not unusable.
bool IsLogDirectory(Files& files, const std::string& path);

/// Why no run uses the directory, in words; empty: it may be emptied and written to.
std::string WhyUnusable(Files& files, const std::string& logDirectory);

}  // namespace torvik
