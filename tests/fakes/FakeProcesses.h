#pragma once

#include "platform/Process.h"

namespace torvik {

/// Starts nothing; records what would have been started, and has ended at once.
struct FakeProcesses final : Processes {
  std::vector<std::string> commandLines;

  ProcessHandle CreateProcessA(const std::string& commandLine) override {
    commandLines.push_back(commandLine);
    return static_cast<ProcessHandle>(commandLines.size());
  }
  bool IsRunning(ProcessHandle) override { return false; }
  void CloseHandle(ProcessHandle) override {}
  ProcessExit Run(const ProcessRequest&, const std::function<void(std::string_view)>&) override {
    return {false, 0, "a FakeProcesses runs nothing"};
  }
};

}  // namespace torvik
