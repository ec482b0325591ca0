#pragma once

#include <cstdint>
#include <string>

namespace torvik {

/// A process, told apart from another one that gets its number later or after a restart of the
/// machine.
struct RunProcess {
  int number = 0;
  std::int64_t start = 0;  ///< In clock ticks since the machine started (proc(5), stat, field 22).
  std::string boot;        ///< Of the kernel's start, /proc/sys/kernel/random/boot_id.
};

/// This one.
RunProcess ThisProcess();

/// True when it is certain that the process of this machine has ended.
bool IsGone(const RunProcess& process);

/// The user of this process and, behind a comma, the unit of systemd or the front end that has
/// started it, where that is known.
std::string WhoStarted();

}  // namespace torvik
