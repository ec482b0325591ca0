#include "platform/linux/system/PosixLocks.h"

#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <sstream>
#include <vector>

#include "platform/linux/system/Posix.h"

namespace torvik {
namespace {

class DescriptorLock final : public Lock {
 public:
  explicit DescriptorLock(Descriptor held) : held_(std::move(held)) {}

 private:
  const Descriptor held_;
};

std::string ProcText(const std::string& path) {
  std::string text;
  ReadFile(path, text);
  return text;
}

/// When a process began, in seconds since 1970; 0 when that cannot be told.
std::time_t BeginOf(const std::string& process) {
  // Behind the name, which may hold anything but is the last thing in brackets: field 22 of all.
  const std::string line = ProcText("/proc/" + process + "/stat");
  std::istringstream fields(line.substr(std::min(line.rfind(')') + 1, line.size())));
  std::string field;
  constexpr int kStartTime = 22, kFirstBehindName = 3;
  for (int i = kFirstBehindName; i < kStartTime; ++i) fields >> field;
  long long ticks = 0;
  if (!(fields >> ticks)) return 0;
  timespec now{}, sinceBoot{};
  clock_gettime(CLOCK_REALTIME, &now);
  clock_gettime(CLOCK_BOOTTIME, &sinceBoot);
  return now.tv_sec - sinceBoot.tv_sec + ticks / sysconf(_SC_CLK_TCK);
}

std::string DescribeProcess(const std::string& process) {
  if (process.empty() || process == "0") return "another process";
  std::string name = ProcText("/proc/" + process + "/comm");
  name.resize(std::min(name.size(), name.find('\n')));
  const std::time_t begin = BeginOf(process);
  if (name.empty() || begin == 0) return "process " + process;
  std::tm local{};
  char since[32];
  localtime_r(&begin, &local);
  std::strftime(since, sizeof since, "%Y-%m-%d %H:%M:%S", &local);
  return "process " + process + " (" + name + "), which runs since " + since;
}

/// The process that the system says to hold the lock on a file.
std::string LockHolderOf(const struct stat& file) {
  char place[64];
  std::snprintf(place, sizeof place, "%02x:%02x:%llu", major(file.st_dev), minor(file.st_dev),
                static_cast<unsigned long long>(file.st_ino));
  // "1: FLOCK  ADVISORY  WRITE 4711 08:01:1234 0 EOF"; a line with "->" only waits.
  std::istringstream lines(ProcText("/proc/locks"));
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string number, kind, advisory, access, process, where;
    words >> number >> kind >> advisory >> access >> process >> where;
    if (kind == "FLOCK" && where == place) return process;
  }
  return {};
}

/// A name of its own for a file's name in its directory, behind symbolic links of the directory.
/// Long paths become short by a hash (FNV-1a, 128 bits by two bases).
std::string SocketName(const std::string& path, std::error_code& error) {
  const std::filesystem::path name(path);
  const auto directory = name.has_parent_path() ? name.parent_path() : ".";
  struct stat status {};
  if (stat(directory.c_str(), &status) != 0) {
    error = LastSystemError();
    return {};
  }
  const std::string full = std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino) +
                           "/" + name.filename().string();
  std::string text = "torvik-";
  for (unsigned long long hash : {14695981039346656037ULL, 1099511628211ULL}) {
    for (const unsigned char c : full) hash = (hash ^ c) * 1099511628211ULL;
    char digits[17];
    std::snprintf(digits, sizeof digits, "%016llx", hash);
    text += digits;
  }
  return text;
}

class PosixLocks final : public Locks {
 public:
  explicit PosixLocks(const PathMap& paths) : paths_(paths) {}

  LockAnswer LockFile(const std::string& path) override {
    std::error_code error;
    const std::string linuxPath = paths_.ToLinux(path, error);
    if (error) return {.error = error};
    for (bool isFirst = true;; isFirst = false) {
      Descriptor file = OpenFile(linuxPath, O_RDONLY | O_NONBLOCK);
      struct stat status {
      }, now{};
      if (!file.IsOpen() || fstat(file.Number(), &status) != 0) return {.error = LastSystemError()};
      if (flock(file.Number(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK) return {.error = LastSystemError()};
        const std::string holder = LockHolderOf(status);
        if (holder.empty() && isFirst) continue;  // it has let go meanwhile
        return {.holder = DescribeProcess(holder)};
      }
      // Whoever saved the file meanwhile has put another one in its place.
      if (stat(linuxPath.c_str(), &now) == 0 &&
          (now.st_ino != status.st_ino || now.st_dev != status.st_dev))
        continue;
      // The holder of a lock needs descriptors for what it guards.
      if (!OpenFile("/dev/null", O_RDONLY).IsOpen()) return {.error = LastSystemError()};
      return {.lock = std::make_unique<DescriptorLock>(std::move(file))};
    }
  }

  LockAnswer LockName(const std::string& path) override {
    std::error_code error;
    const std::string linuxPath = paths_.ToLinux(path, error);
    struct stat status {};
    if (!error && stat(linuxPath.c_str(), &status) == 0 && S_ISCHR(status.st_mode))
      return {.lock = std::make_unique<DescriptorLock>(Descriptor())};
    const std::string name = error ? "" : SocketName(linuxPath, error);
    if (error) return {.error = error};
    Descriptor own(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!own.IsOpen()) return {.error = LastSystemError()};
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    name.copy(address.sun_path + 1, sizeof address.sun_path - 1);
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    if (bind(own.Number(), reinterpret_cast<const sockaddr*>(&address), length) == 0)
      return {.lock = std::make_unique<DescriptorLock>(std::move(own))};
    if (errno != EADDRINUSE) return {.error = LastSystemError()};
    return {.holder = DescribeProcess("")};
  }

 private:
  const PathMap paths_;
};

}  // namespace

std::unique_ptr<Locks> NewPosixLocks(const PathMap& paths) {
  return std::make_unique<PosixLocks>(paths);
}

}  // namespace torvik
