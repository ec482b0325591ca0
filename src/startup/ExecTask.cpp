#include "startup/ExecTask.h"

#include <chrono>

#include "platform/Clock.h"
#include "platform/Messages.h"

namespace torvik {

ProcessHandle ExecTask::StartProcess(const std::string& program, const std::string& arguments) {
  if (arguments.find_first_not_of(' ') == std::string::npos) {
    return processes_.CreateProcessA(program);
  }
  return processes_.CreateProcessA(program + " \"" + arguments + "\"");
}

bool ExecTask::IsProcessRunning(ProcessHandle& process) {
  if (process == 0) return false;
  if (processes_.IsRunning(process)) return true;
  processes_.CloseHandle(process);
  process = 0;
  return false;
}

void ExecTask::RunAndWait(const std::string& program, const std::string& arguments) {
  constexpr auto slice = std::chrono::milliseconds(100);
  ProcessHandle process = StartProcess(program, arguments);
  while (IsProcessRunning(process)) {
    messages_.PumpEvents();
    clock_.Sleep(slice);
  }
}

}  // namespace torvik
