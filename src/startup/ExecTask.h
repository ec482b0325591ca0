#pragma once

#include <string>

#include "platform/Process.h"

namespace torvik {

class Clock;
class Messages;

/// Starts a command line and waits for its end, letting pending events run meanwhile.
class ExecTask {
 public:
  ExecTask(Processes& processes, Clock& clock, Messages& messages)
      : processes_(processes), clock_(clock), messages_(messages) {}

  /// Starts `program`. Arguments that are not blank follow it as they stand, in one pair of double
  /// quotes. 0 when the program cannot be started.
  ProcessHandle StartProcess(const std::string& program, const std::string& arguments);

  /// False when the process has ended; its handle is then released and set to 0.
  bool IsProcessRunning(ProcessHandle& process);

  /// Returns when the program has ended, at once when it cannot be started.
  void RunAndWait(const std::string& program, const std::string& arguments);

 private:
  Processes& processes_;
  Clock& clock_;
  Messages& messages_;
};

}  // namespace torvik
