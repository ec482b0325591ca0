#include "platform/linux/system/StdConsole.h"

#include <poll.h>
#include <unistd.h>

#include "platform/CodePage.h"
#include "platform/linux/system/Posix.h"

namespace torvik {
namespace {

/// The next character of standard input; false at its end.
bool ReadCharacter(char& character) {
  // read() is taken up again after a signal, poll() is not.
  pollfd input{STDIN_FILENO, POLLIN, 0};
  return poll(&input, 1, -1) == 1 && read(STDIN_FILENO, &character, 1) == 1;
}

class StdConsole final : public Console {
 public:
  explicit StdConsole(const CodePage& ansi) : ansi_(ansi) {}

  void AllocConsole() override {}

  void SetConsoleTitle(std::string_view title) override {
    if (!isatty(STDOUT_FILENO)) return;
    WriteConsole("\x1b]0;" + std::string(title) + "\a");  // xterm's sequence for it
  }

  void WriteConsole(std::string_view text) override { WriteAll(STDOUT_FILENO, ansi_.Encode(text)); }

  std::string ReadConsole(std::size_t capacity) override {
    std::string line;
    char character = 0;
    while (character != '\n' && ReadCharacter(character)) line += character;
    if (line.empty()) return line;
    if (character == '\n') line.pop_back();
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return ansi_.Decode((line + "\r\n").substr(0, capacity));
  }

  void FreeConsole() override {}

 private:
  const CodePage& ansi_;
};

}  // namespace

std::unique_ptr<Console> NewStdConsole(const CodePages& codePages) {
  return std::make_unique<StdConsole>(codePages.Ansi());
}

}  // namespace torvik
