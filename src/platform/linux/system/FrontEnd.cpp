#include "platform/linux/system/FrontEnd.h"

#include <fcntl.h>

#include <cstdlib>
#include <sstream>

namespace torvik {

namespace {

constexpr char kBetween = '\x1F';

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

std::vector<std::string> LinesFromRunner(int pipe) {
  fcntl(pipe, F_SETFL, O_NONBLOCK);
  std::string text;
  ReadAll(pipe, text);
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

}  // namespace torvik
