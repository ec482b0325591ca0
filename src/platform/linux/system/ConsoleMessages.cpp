#include "platform/linux/system/ConsoleMessages.h"

#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>

#include "platform/linux/system/Posix.h"
#include "platform/linux/system/ProcessSetup.h"

namespace torvik {
namespace {

// A signal handler reaches nothing but this.
std::atomic<int> keptSignals = 0;
static_assert(std::atomic<int>::is_always_lock_free);

void KeepSignal(int) {
  ++keptSignals;
}

/// The text with a blank for each line break, of which CR LF is one.
std::string OnOneLine(std::string_view text) {
  std::string line;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text.substr(i, 2) == "\r\n") ++i;
    line += text[i] == '\r' || text[i] == '\n' ? ' ' : text[i];
  }
  return line;
}

class ConsoleMessages final : public Messages {
 public:
  explicit ConsoleMessages(std::function<void()> onClose) : onClose_(std::move(onClose)) {}

  void Box(std::string_view text, std::string_view title, BoxIcon) override {
    Report(std::string(title) + ": " + std::string(text));
  }

  int Ask(std::string_view text, std::string_view title, std::span<const char* const>,
          int) override {
    Box(text, title, BoxIcon::None);
    return kNoChoice;
  }

  void Report(std::string_view line) override {
    // On a terminal the line of the status may be open, which is of the past then (ECMA-48).
    const std::string overStatus = isatty(STDERR_FILENO) ? "\r\x1b[K" : "";
    WriteAll(STDERR_FILENO, overStatus + "torvik: " + OnOneLine(line) + "\n");
  }

  void PumpEvents() override {
    if (std::this_thread::get_id() != thread_) return;
    for (int kept = keptSignals.exchange(0); kept > 0; --kept) onClose_();
  }

 private:
  std::function<void()> onClose_;
  const std::thread::id thread_ = std::this_thread::get_id();
};

}  // namespace

void InstallCloseSignals() {
  HandleCloseSignals(KeepSignal);
}

std::unique_ptr<Messages> NewConsoleMessages(std::function<void()> onClose) {
  return std::make_unique<ConsoleMessages>(std::move(onClose));
}

}  // namespace torvik
