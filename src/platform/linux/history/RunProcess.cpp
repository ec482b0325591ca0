#include "platform/linux/history/RunProcess.h"

#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <sstream>

#include "platform/linux/system/Posix.h"
#include "platform/linux/system/WhoRuns.h"

namespace torvik {
namespace {

std::string TextOf(const std::string& path) {
  std::string text;
  if (ReadFile(path, text)) return {};
  return text;
}

struct ProcessState {
  char state = ' ';        ///< 'Z': it has ended, and nobody has asked how.
  std::int64_t start = 0;  ///< 0 when there is none of that number, or it may not be seen.
};

ProcessState StateOf(int process) {
  const std::string stat = TextOf("/proc/" + std::to_string(process) + "/stat");
  // The program's name, in parentheses, may hold anything.
  const std::size_t name = stat.rfind(')');
  ProcessState found;
  if (name == stat.npos) return found;
  constexpr int kFirstBehindState = 4, kStart = 22;
  std::istringstream fields(stat.substr(name + 1));
  fields >> found.state;
  std::string skipped;
  for (int i = kFirstBehindState; i < kStart; ++i) fields >> skipped;
  fields >> found.start;
  return found;
}

std::string BootOf() {
  std::string boot = TextOf("/proc/sys/kernel/random/boot_id");
  while (!boot.empty() && boot.back() == '\n') boot.pop_back();
  return boot;
}

/// "torvik@sales.service": the last part of the control group's path, when it is a service's.
std::string Unit() {
  if (std::getenv("INVOCATION_ID") == nullptr) return {};
  std::string group = TextOf("/proc/self/cgroup");
  group.resize(std::min(group.find('\n'), group.size()));
  const std::string unit = group.substr(group.rfind('/') + 1);
  return unit.ends_with(".service") ? unit : "";
}

}  // namespace

RunProcess ThisProcess() {
  return {getpid(), StateOf(getpid()).start, BootOf()};
}

bool IsGone(const RunProcess& process) {
  const std::string boot = BootOf();
  if (!boot.empty() && !process.boot.empty() && boot != process.boot) return true;
  if (kill(process.number, 0) != 0 && errno == ESRCH) return true;
  const ProcessState now = StateOf(process.number);
  if (now.state == 'Z' || now.state == 'X') return true;
  return now.start != 0 && process.start != 0 && now.start != process.start;
}

std::string WhoStarted() {
  const std::string name = UserName();
  const std::string unit = Unit();
  if (!unit.empty()) return name + ", " + unit;
  const char* const starter = std::getenv("TORVIK_STARTED_BY");
  return starter != nullptr && *starter != '\0' ? name + ", " + starter : name;
}

}  // namespace torvik
