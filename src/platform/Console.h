#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace torvik {

/// The console functions of the Windows API that the usage text needs; here the standard streams.
class Console {
 public:
  virtual ~Console() = default;

  virtual void AllocConsole() = 0;
  /// Names the terminal window, where standard output is a terminal.
  virtual void SetConsoleTitle(std::string_view title) = 0;
  /// Writes exactly these characters to standard output.
  virtual void WriteConsole(std::string_view text) = 0;
  /// One line of standard input, at most `capacity` characters, its line end included as CR LF.
  virtual std::string ReadConsole(std::size_t capacity) = 0;
  virtual void FreeConsole() = 0;
};

}  // namespace torvik
