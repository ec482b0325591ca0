#pragma once

#include <map>

#include "platform/Process.h"

namespace torvik {

/// Starts nothing; records what would have been started.
struct FakeProcesses final : Processes {
  std::vector<std::string> commandLines;
  int polls = 0;  ///< How often a process is found running; -1 once its handle is closed.

  ProcessHandle CreateProcessA(const std::string& commandLine) override {
    commandLines.push_back(commandLine);
    return static_cast<ProcessHandle>(commandLines.size());
  }
  bool IsRunning(ProcessHandle) override { return polls > 0 && polls-- > 0; }
  void CloseHandle(ProcessHandle) override { --polls; }
  std::vector<ProcessRequest> requests;                           ///< Given to Run.
  ProcessExit exit = {false, 0, "a FakeProcesses runs nothing"};  ///< What Run answers.
  std::string output;                                             ///< Each Run writes this line.

  ProcessExit Run(const ProcessRequest& request,
                  const std::function<void(std::string_view)>& onLine) override {
    requests.push_back(request);
    if (!output.empty()) onLine(output);
    return exit;
  }

  std::map<std::string, std::string> environment;
  std::optional<std::string> EnvironmentVariable(const std::string& name) const override {
    const auto found = environment.find(name);
    return found == environment.end() ? std::nullopt : std::optional(found->second);
  }
};

}  // namespace torvik
