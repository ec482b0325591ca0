#include "admin/jobs/Systemd.h"

#include <unistd.h>

#include "platform/PlatformError.h"
#include "platform/Process.h"
#include "platform/Text.h"
#include "platform/linux/system/ChildProcess.h"

namespace torvik::admin {
namespace {

constexpr const char* kAnalyze = "systemd-analyze";
constexpr const char* kControl = "systemctl";

}  // namespace

bool Systemd::IsRunning() {
  return access("/run/systemd/system", F_OK) == 0;
}

bool Systemd::IsInstalled() const {
  return !FindProgram(kAnalyze).empty() && !FindProgram(kControl).empty();
}

std::vector<std::string> Systemd::NextTimes(const std::string& calendar, int count) const {
  std::vector<std::string> times;
  for (const std::string& line :
       Run(kAnalyze, {"calendar", "--iterations=" + std::to_string(count), calendar})) {
    const std::string_view text = Trimmed(line);
    const std::size_t colon = text.find(": ");
    const bool isNext = text.starts_with("Next elapse:") || text.starts_with("Iter. #");
    if (isNext && colon != text.npos && text.substr(colon + 2) != "never")
      times.emplace_back(text.substr(colon + 2));
  }
  return times;
}

void Systemd::Control(const std::vector<std::string>& arguments) const {
  Run(kControl, arguments);
}

std::vector<std::string> Systemd::Run(const char* program,
                                      const std::vector<std::string>& arguments) const {
  std::vector<std::string> lines;
  const ProcessExit exit = processes_.Run({program, arguments},
                                          [&](std::string_view line) { lines.emplace_back(line); });
  if (exit.started && exit.exitCode == 0) return lines;
  std::string reason = exit.started ? "" : exit.error;
  for (const std::string& line : lines) reason += (reason.empty() ? "" : "; ") + line;
  throw PlatformError(exit.exitCode, std::string(program) + ": " + reason, "systemd");
}

}  // namespace torvik::admin
