#pragma once

#include <string>
#include <string_view>

namespace torvik {

class Console;

/// The program's own console: opened with a title, written to, read from, closed. Nothing here
/// reports a failure.
class ConsoleMode {
 public:
  explicit ConsoleMode(Console& console) : console_(console) {}

  void OpenConsole(std::string_view title);
  /// Writes the text as it stands; no line end is added.
  void ConsoleWrite(std::string_view text);
  /// The line that the user enters, without its line end.
  std::string ConsoleReadLine();
  void CloseConsole();

 private:
  Console& console_;
};

}  // namespace torvik
