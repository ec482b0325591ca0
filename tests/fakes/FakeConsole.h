#pragma once

#include <deque>
#include <string>
#include <vector>

#include "platform/Console.h"

namespace torvik {

/// Keeps what is written; hands out the given lines of input, then the end of input.
struct FakeConsole final : Console {
  std::vector<std::string> calls;  ///< "SetConsoleTitle Torv"; writes are in `written`.
  std::string written;
  std::deque<std::string> input;  ///< Lines without their line ends.

  void AllocConsole() override { calls.push_back("AllocConsole"); }
  void SetConsoleTitle(std::string_view title) override {
    calls.push_back("SetConsoleTitle " + std::string(title));
  }
  void WriteConsole(std::string_view text) override { written += text; }
  std::string ReadConsole(std::size_t capacity) override {
    calls.push_back("ReadConsole");
    if (input.empty()) return {};
    const std::string line = input.front() + "\r\n";
    input.pop_front();
    return line.substr(0, capacity);
  }
  void FreeConsole() override { calls.push_back("FreeConsole"); }
};

}  // namespace torvik
