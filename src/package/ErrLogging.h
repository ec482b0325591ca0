#pragma once

#include <string>
#include <vector>

namespace torvik {

class Files;
class Messages;

/// Makes a directory and those above it. One that exists, or that cannot be made, passes silently.
void MakeDirectory(Files& files, const std::string& path);

/// The traces of one run: the log directory, emptied before the package is loaded and filled by the
/// package, and the exception file, which receives what the package left there. Every step goes on
/// whatever fails.
class ErrLogging {
 public:
  ErrLogging(Files& files, Messages& messages) : files_(files), messages_(messages) {}

  /// Deletes the exception file when `truncate` asks for it, makes the log directory and deletes
  /// the plain files in it. A root is no log directory, which is reported: nothing is made, deleted
  /// or gathered there. Answers why the directory must not be written to, after nothing was done in
  /// it, or the empty text.
  std::string PrepareLogDirectory(const std::string& packageName, const std::string& logDir,
                                  const std::string& exceptionFile, bool truncate);

  /// Leaves a copy of the exception file in the log directory and appends the package's own log and
  /// then every other file of the directory, in the file system's order, to the exception file. The
  /// copy takes no log's place: where there is one of its name, ".former" is added to it.
  void CollectRunLogs();

  /// What could not be emptied or gathered since the last preparation, and why.
  const std::vector<std::string>& Problems() const { return problems_; }

 private:
  void Delete(const std::string& path);
  void Gather(const std::string& name);
  std::string InLogDirectory(const std::string& name) const;
  void KeepExceptionFile();
  std::vector<std::string> OtherLogs(const std::string& combined);

  Files& files_;
  Messages& messages_;
  std::string packageName_;
  std::string exceptionFile_;
  std::string logDir_;
  bool isUsed_ = false;  // the log directory is the job's own
  std::vector<std::string> problems_;
};

}  // namespace torvik
