#pragma once

#include <sys/types.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace torvik {

namespace ado {
class Connection;
}

/// How a program ended and what it wrote.
struct ProgramResult {
  int exitCode = -1;  ///< 128 + signal number when a signal ended it.
  std::string out;
  std::string err;
};

/// A program that was started and not yet waited for.
struct RunningProgram {
  pid_t pid = 0;
  std::string outFile;
  std::string errFile;
};

/// A directory of its own with settings, an embedded server "(local)" and its warehouse DW, in
/// which the built programs run. Removed at the end.
class Sandbox {
 public:
  Sandbox();
  /// With another server "(local)", whose section of the settings this is; nothing is made on it.
  explicit Sandbox(const std::string& section);
  ~Sandbox();
  Sandbox(const Sandbox&) = delete;
  Sandbox& operator=(const Sandbox&) = delete;

  /// The path of a file in the sandbox.
  std::string PathOf(const std::string& name) const { return directory_ + "/" + name; }

  /// The section of the server "(local)" in the settings.
  const std::string& ServerSection() const { return section_; }

  /// Adds sections to the settings.
  void AddSettings(const std::string& sections) const;

  void WriteFile(const std::string& name, const std::string& text) const;
  /// Empty when there is no such file.
  std::string ReadFile(const std::string& name) const;

  /// What every program gets in its environment besides the sandbox's own.
  void SetVariable(const std::string& name, const std::string& value) { variables_[name] = value; }

  /// Runs "torvik", "torvik-admin" or the program of a path with its arguments, in the sandbox,
  /// standard input empty.
  ProgramResult Run(const std::vector<std::string>& command) const;
  RunningProgram Start(const std::vector<std::string>& command) const;
  ProgramResult Wait(const RunningProgram& program) const;

  /// Stores a package: the document's head, the runner's twelve variables, then `body`, which may
  /// begin with further variables.
  void PutPackage(const std::string& name, const std::string& body) const;

  /// Writes a job file for a package: exception file err.txt, log directory logs, database DW.
  void WriteJob(const std::string& name, const std::string& package) const;

  /// An open connection to a database of the server.
  std::unique_ptr<ado::Connection> Connect(const std::string& database) const;

  /// The rows of a query on a database of the server, values separated by "|".
  std::string Query(const std::string& sql, const std::string& database = "DW") const;

 private:
  void WriteSettings() const;

  std::string directory_;
  std::string section_;
  std::map<std::string, std::string> variables_;
  mutable int programs_ = 0;
};

/// The text without its carriage returns.
std::string WithoutCr(std::string text);

}  // namespace torvik
