#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace torvik {

/// What a child process is started with. Paths are Linux paths.
struct ChildStart {
  std::string program;
  std::vector<std::string> arguments;  ///< Without the program's own name.
  std::string workingDirectory = {};   ///< Empty: the caller's.
  int output =
      -1;  ///< Takes standard output and error; -1: both, and standard input, are the caller's.
  int input = -1;  ///< Standard input of a child whose output is taken; -1: it is empty.
};

/// Starts a program with the default signal actions. A child whose output is taken has
/// a process group of its own, and is killed when the calling thread ends. 0
/// when it cannot be started; `reason` then says why.
pid_t StartChild(const ChildStart& start, std::string& reason);

/// A child that StartChild has given a process group; one that still runs at the end of its life is
/// killed, with what it has started.
class RunningChild {
 public:
  explicit RunningChild(pid_t id) : id_(id) {}
  ~RunningChild();
  RunningChild(const RunningChild&) = delete;
  RunningChild& operator=(const RunningChild&) = delete;

  /// Sends a signal to the child and to what it has started; to what is left of that when the child
  /// has ended and Wait has not been called.
  void Signal(int signal) const;

  /// The exit code; 128 + signal number when a signal ended it.
  int Wait();

 private:
  pid_t id_;
};

/// A program's path: of a name without '/', the first executable file of that name in PATH; empty
/// when there is none.
std::string FindProgram(const std::string& program);

}  // namespace torvik
