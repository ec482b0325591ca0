#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvik {

/// Identifies a started process; 0 means none.
using ProcessHandle = std::int64_t;

/// A program with its arguments, one text each: nothing interprets them on the way.
struct ProcessRequest {
  std::string program;  ///< A path, or a name looked up in PATH.
  std::vector<std::string> arguments;
  std::string workingDirectory;  ///< Empty: the caller's.
  std::string input = {};        ///< What it reads from its standard input.
  /// When it becomes true, the program is told to end (SIGTERM to it and what it has started), and
  /// is killed when it has not after five seconds. Null: nobody can end it.
  const std::atomic<bool>* cancelled = nullptr;
  bool isPatient = false;  ///< It is told to end and never killed: it has an end of its own.
};

/// How a process ended.
struct ProcessExit {
  bool started = false;
  int exitCode = 0;        ///< 128 + signal number when a signal ended it.
  std::string error;       ///< Why it could not be started.
  bool cancelled = false;  ///< It was ended because the caller wanted it.
};

/// Starts programs. No command interpreter is involved.
class Processes {
 public:
  virtual ~Processes() = default;

  /// Starts the program that the command line names, its standard streams the caller's. The line is
  /// split at blanks and tabs, double quotes keep them together. 0 when it cannot be started.
  virtual ProcessHandle CreateProcessA(const std::string& commandLine) = 0;

  /// True while the process runs.
  virtual bool IsRunning(ProcessHandle process) = 0;

  /// Releases the handle of an ended process.
  virtual void CloseHandle(ProcessHandle process) = 0;

  /// Runs a program to its end. Each line that it writes to standard output
  /// or standard error is handed to `onLine` as it comes, without its line end.
  virtual ProcessExit Run(const ProcessRequest& request,
                          const std::function<void(std::string_view)>& onLine) = 0;

  /// A variable of the environment that programs are started with; nothing when it is not set.
  virtual std::optional<std::string> EnvironmentVariable(const std::string& name) const = 0;
};

}  // namespace torvik
