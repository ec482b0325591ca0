#include "startup/ConsoleMode.h"

#include <algorithm>

#include "platform/Console.h"

namespace torvik {

void ConsoleMode::OpenConsole(std::string_view title) {
  console_.AllocConsole();
  console_.SetConsoleTitle(title);
}

void ConsoleMode::ConsoleWrite(std::string_view text) {
  console_.WriteConsole(text);
}

std::string ConsoleMode::ConsoleReadLine() {
  constexpr std::size_t bufferSize = 256;
  std::string line = console_.ReadConsole(bufferSize);
  line.resize(std::min(line.size(), line.find('\0')));
  line.resize(line.size() < 2 ? 0 : line.size() - 2);
  return line;
}

void ConsoleMode::CloseConsole() {
  console_.FreeConsole();
}

}  // namespace torvik
