#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>

#include "admin/common/Admin.h"
#include "admin/common/RunTexts.h"
#include "history/RunJson.h"
#include "platform/CountText.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/system/ProcessSetup.h"

namespace torvik::admin {
namespace {

constexpr int kRefreshMilliseconds = 1000;

volatile sig_atomic_t isToEnd = 0;

void End(int) {
  isToEnd = 1;
}

/// The screen of a terminal for as long as this lives; what stood there comes back (ECMA-48, and
/// the alternate screen of xterm).
class Screen {
 public:
  Screen() {
    tcgetattr(STDIN_FILENO, &before_);
    termios keys = before_;
    keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    // A program that is stopped would leave its screen behind.
    keys.c_cc[VSUSP] = _POSIX_VDISABLE;
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &keys);
    std::fputs("\x1b[?1049h\x1b[?25l", stdout);
  }
  ~Screen() {
    std::fputs("\x1b[?25h\x1b[?1049l", stdout);
    std::fflush(stdout);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
  }
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  static void Show(const std::vector<std::string>& lines) {
    winsize size{};
    ioctl(STDOUT_FILENO, TIOCGWINSZ, &size);
    const std::size_t rows = size.ws_row > 1 ? size.ws_row - 1u : 23u;
    const std::size_t columns = size.ws_col > 0 ? size.ws_col : 80u;
    std::string text = "\x1b[H";
    for (std::size_t i = 0; i < rows; ++i) {
      if (i < lines.size()) text += std::string(FirstCharacters(lines[i], columns));
      text += "\x1b[K\r\n";
    }
    std::fputs((text + "q ends").c_str(), stdout);
    std::fflush(stdout);
  }

  /// True when q was pressed, or the input has ended, before the time for a new look.
  static bool IsLeft() {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    if (poll(&input, 1, kRefreshMilliseconds) <= 0) return false;
    char key = 0;
    return read(STDIN_FILENO, &key, 1) <= 0 || key == 'q' || key == 'Q';
  }

 private:
  termios before_{};
};

std::vector<RunRecord> RunningNow(LinuxPlatform& platform) {
  std::vector<RunRecord> running;
  for (const RunRecord& run : platform.history->Runs({.runningOnly = true}))
    if (auto whole = platform.history->Run(run.id)) running.push_back(std::move(*whole));
  return running;
}

double SecondsSince(Moment begin) {
  return std::chrono::duration<double>(std::chrono::system_clock::now() - begin).count();
}

std::vector<std::string> LinesOf(const std::vector<RunRecord>& runs) {
  std::vector<std::string> lines = {std::to_string(runs.size()) +
                                    (runs.size() == 1 ? " run" : " runs") + ", " +
                                    LocalTime(std::chrono::system_clock::now())};
  for (const RunRecord& run : runs) {
    std::int64_t done = 0;
    for (const StepRecord& step : run.steps) done += step.end ? 1 : 0;
    lines.push_back("");
    lines.push_back(JobNameOf(run) + ", run " + std::to_string(run.id) + ": " + run.package + ", " +
                    DurationText(SecondsSince(run.begin)) + ", " + Counted(done, "step") +
                    " done, " + Counted(run.rows, "row"));
    for (const FetchRecord& fetch : run.fetches)
      if (!fetch.end)
        lines.push_back("  fetching " + fetch.link + ": " + Counted(fetch.files, "file") + ", " +
                        BytesText(fetch.bytes) + ", " + DurationText(SecondsSince(fetch.begin)));
    for (const StepRecord& step : run.steps) {
      if (step.end) continue;
      const double seconds = SecondsSince(step.begin);
      const std::string rows = RowsText(step.rows, seconds);
      lines.push_back("  " + step.step + ": " + DurationText(seconds) +
                      (rows.empty() ? "" : ", " + rows));
    }
  }
  for (std::string& line : lines) line = ControlsAsBlanks(std::move(line));
  return lines;
}

/// A history that cannot be read at this moment may be at the next one.
std::vector<std::string> LinesNow(LinuxPlatform& platform) {
  try {
    return LinesOf(RunningNow(platform));
  } catch (const PlatformError& error) {
    return {error.Description()};
  }
}

int Snapshot(const std::vector<RunRecord>& runs, bool json) {
  Json list = Json::array();
  for (const RunRecord& run : runs) list.push_back(JsonOf(run, true));
  std::string text;
  for (const std::string& line : LinesOf(runs)) text += (text.empty() ? "" : "\n") + line;
  PrintResult(list, text, json);
  return 0;
}

int WatchRuns(LinuxPlatform& platform, bool json) {
  if (json || isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0)
    return Snapshot(RunningNow(platform), json);
  HandleCloseSignals(End);
  signal(SIGWINCH, [](int) {});  // ends the wait for a key
  const Screen screen;
  while (isToEnd == 0) {
    Screen::Show(LinesNow(platform));
    if (Screen::IsLeft()) break;
  }
  return 0;
}

}  // namespace

void AddWatchCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* watch =
      app.add_subcommand("watch", "what runs now on this machine, until q is pressed");
  AddJsonOption(*watch, invocation);
  watch->footer("Without a terminal, or with --json, it is told once.");
  watch->callback([&invocation] {
    invocation.command = [&invocation](LinuxPlatform& platform) {
      return WatchRuns(platform, invocation.json);
    };
  });
}

}  // namespace torvik::admin
