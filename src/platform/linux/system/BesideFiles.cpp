#include "platform/linux/system/BesideFiles.h"

#include <dirent.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <mutex>
#include <set>

namespace torvik {
namespace {

/// The process that made a file of that name; 0 for other files.
pid_t MakerOf(const char* name) {
  int process = 0;
  unsigned number = 0;
  int length = 0;
  const bool isOurs = std::sscanf(name, ".torvik-%d-%u%n", &process, &number, &length) == 2;
  return isOurs && name[length] == '\0' ? process : 0;
}

/// A process of another machine or container that shares the directory may be alive though its
/// number is not known here, or is the number of this one: it holds the lock.
bool IsLeft(int directory, const char* name) {
  const pid_t maker = MakerOf(name);
  const bool isAlive = maker > 0 && (kill(maker, 0) == 0 || errno != ESRCH);
  if (maker <= 0 || (isAlive && maker != getpid())) return false;
  const Descriptor file(openat(directory, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  return file.IsOpen() && fstat(file.Number(), &status) == 0 && S_ISREG(status.st_mode) &&
         status.st_uid == geteuid() && flock(file.Number(), LOCK_EX | LOCK_NB) == 0;
}

void RemoveLeft(const std::string& directory) {
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(directory.c_str()), closedir);
  if (!stream) return;
  const int number = dirfd(stream.get());
  while (const dirent* entry = readdir(stream.get()))
    if (IsLeft(number, entry->d_name)) unlinkat(number, entry->d_name, 0);
}

/// Directories may be large: each is looked through once.
void RemoveLeftOnce(const std::string& directory) {
  static std::mutex mutex;
  // Never destroyed: files are written while the process ends, too.
  static auto& seen = *new std::set<std::string>;
  {
    const std::lock_guard lock(mutex);
    if (!seen.insert(directory).second) return;
  }
  RemoveLeft(directory);
}

/// Locks a new file. False when it was taken for a left one before it was locked.
bool IsKept(const Descriptor& file) {
  if (flock(file.Number(), LOCK_EX | LOCK_NB) != 0) return errno != EWOULDBLOCK;
  struct stat status {};
  return fstat(file.Number(), &status) != 0 || status.st_nlink > 0;
}

}  // namespace

Descriptor CreateBesideFile(const std::string& directory, mode_t mode, std::string& path) {
  static std::atomic<unsigned> counter = 0;
  RemoveLeftOnce(directory);
  // The name may be known beforehand; O_EXCL keeps off what others have put there.
  for (int tries = 0; tries < 100; ++tries) {
    path = directory + "/.torvik-" + std::to_string(getpid()) + "-" + std::to_string(++counter);
    Descriptor file = OpenFile(path, O_WRONLY | O_CREAT | O_EXCL, mode);
    if (!file.IsOpen() && errno != EEXIST) return file;
    if (file.IsOpen() && IsKept(file)) return file;
  }
  return Descriptor();
}

}  // namespace torvik
