#include "platform/linux/system/FrontEnd.h"

#include <fcntl.h>

#include <cstdlib>
#include <sstream>

namespace torvik {

namespace {

constexpr char kBetween = '\x1F';
/// A line that begins so is no loss.
const std::string kRun = "\x1Erun ";

NamedTexts SplitVariables(const std::string& text) {
  NamedTexts variables;
  std::istringstream parts(text);
  for (std::string name, value;
       std::getline(parts, name, kBetween) && std::getline(parts, value, kBetween);)
    variables.emplace_back(name, value);
  return variables;
}

}  // namespace

std::string JoinedVariables(const NamedTexts& variables) {
  std::string text;
  for (const auto& [name, value] : variables) text += name + kBetween + value + kBetween;
  return text;
}

FrontEnd::FrontEnd() {
  if (const char* const variables = std::getenv(kRunVariables)) {
    variables_ = SplitVariables(variables);
    unsetenv(kRunVariables);
  }
  if (const char* const run = std::getenv(kResumedRun)) {
    resumedRun_ = std::atoll(run);
    unsetenv(kResumedRun);
  }
  const char* const number = std::getenv(kFrontEndVariable);
  const int pipe = number == nullptr ? 0 : std::atoi(number);
  if (pipe <= 2 || fcntl(pipe, F_SETFD, FD_CLOEXEC) != 0) return;
  // The front end reads when the runner has ended: a pipe that is full takes no more.
  fcntl(pipe, F_SETFL, O_NONBLOCK);
  pipe_ = Descriptor(pipe);
  unsetenv(kFrontEndVariable);
}

void FrontEnd::Tell(const std::vector<std::string>& lines) {
  if (!pipe_.IsOpen()) return;
  for (const std::string& line : lines) WriteAll(pipe_.Number(), line + "\n");
}

void FrontEnd::TellRun(std::int64_t run) {
  Tell({kRun + std::to_string(run)});
}

RunnerTold ReadFromRunner(int pipe) {
  fcntl(pipe, F_SETFL, O_NONBLOCK);
  std::string text;
  ReadAll(pipe, text);
  RunnerTold told;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    if (line.starts_with(kRun))
      told.run = std::atoll(line.c_str() + kRun.size());
    else
      told.lines.push_back(line);
  }
  return told;
}

}  // namespace torvik
