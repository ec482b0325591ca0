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

/// A program's path: of a name without '/', the first executable file of that name in PATH; empty
/// when there is none.
std::string FindProgram(const std::string& program);

}  // namespace torvik
