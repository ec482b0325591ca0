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

/// 0 when there is none of that number, or it may not be seen.
std::int64_t StartOf(int process) {
  const std::string stat = TextOf("/proc/" + std::to_string(process) + "/stat");
  // The program's name, in parentheses, may hold anything.
  const std::size_t name = stat.rfind(')');
  if (name == stat.npos) return 0;
  constexpr int kFirstBehindName = 3, kStart = 22;
  std::istringstream fields(stat.substr(name + 1));
  std::string skipped;
  for (int i = kFirstBehindName; i < kStart; ++i) fields >> skipped;
  std::int64_t start = 0;
  fields >> start;
  return start;
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
  return {getpid(), StartOf(getpid()), BootOf()};
}

bool IsGone(const RunProcess& process) {
  const std::string boot = BootOf();
  if (!boot.empty() && !process.boot.empty() && boot != process.boot) return true;
  if (kill(process.number, 0) != 0 && errno == ESRCH) return true;
  const std::int64_t start = StartOf(process.number);
  return start != 0 && process.start != 0 && start != process.start;
}

std::string WhoStarted() {
  const std::string name = UserName();
  const std::string unit = Unit();
  if (!unit.empty()) return name + ", " + unit;
  return std::getenv("TORVIK_PROGRESS") != nullptr ? name + ", torvik-admin run" : name;
}

}  // namespace torvik
