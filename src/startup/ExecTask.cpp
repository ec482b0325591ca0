#include "startup/ExecTask.h"

#include <algorithm>
#include <chrono>

#include "platform/Clock.h"
#include "platform/Files.h"
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

void RunLog::EchoToLog(std::string_view text) {
  messages_.PumpEvents();
  std::string line(text);
  std::replace_if(
      line.begin(), line.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
  if (form_ == nullptr) return;
  if (const std::string file = form_->ErrorFile(); !file.empty()) Append(file, line);
  form_->ShowLogLine(line);
  messages_.PumpEvents();
}

void RunLog::Append(const std::string& file, const std::string& line) {
  const auto error = files_.AppendText(file, line + "\r\n");
  if (!error || file == reportedFile_) return;
  reportedFile_ = file;
  messages_.Report("cannot write the exception log " + file + ": " + error.message());
}

}  // namespace torvik
