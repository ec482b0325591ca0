#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/Process.h"

namespace torvik {

/// Starts nothing; records what would have been started.
struct FakeProcesses final : Processes {
  std::vector<std::string> commandLines;  ///< Of CreateProcessA.
  bool canStart = true;
  int pollsUntilEnd = 0;  ///< How often IsRunning answers true for a process started from now on.
  std::vector<ProcessHandle> closed;

  std::vector<ProcessRequest> requests;  ///< Of Run.
  std::vector<std::string> output;       ///< The lines that each run writes.
  ProcessExit exit{true, 0, ""};         ///< How each run ends.

  ProcessHandle CreateProcessA(const std::string& commandLine) override {
    commandLines.push_back(commandLine);
    if (!canStart) return 0;
    running_[++lastHandle_] = pollsUntilEnd;
    return lastHandle_;
  }

  bool IsRunning(ProcessHandle process) override { return running_.at(process)-- > 0; }

  void CloseHandle(ProcessHandle process) override {
    closed.push_back(process);
    running_.erase(process);
  }

  ProcessExit Run(const ProcessRequest& request,
                  const std::function<void(std::string_view)>& onLine) override {
    requests.push_back(request);
    if (exit.started) {
      for (const std::string& line : output) onLine(line);
    }
    return exit;
  }

 private:
  std::map<ProcessHandle, int> running_;
  ProcessHandle lastHandle_ = 0;
};

}  // namespace torvik
