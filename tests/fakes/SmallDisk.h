#pragma once

#include <errno.h>
#include <sched.h>
#include <string.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>
#include <string>

#include "fakes/TemporaryDirectory.h"

namespace torvik {

/// A disk in memory that only this program and those that it starts can see.
class SmallDisk {
 public:
  /// From now on no other program sees what this one mounts, so it has to be called before anything
  /// is started that is to see it. Whoever is not root becomes the owner of a world for it.
  static bool Prepare() {
    const std::string user = std::to_string(geteuid()), group = std::to_string(getegid());
    if (geteuid() == 0) {
      Require(unshare(CLONE_NEWNS) == 0, "unshare");
    } else {
      Require(unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0, "unshare");
      std::ofstream("/proc/self/setgroups") << "deny";
      std::ofstream("/proc/self/uid_map") << user + " " + user + " 1";
      std::ofstream("/proc/self/gid_map") << group + " " + group + " 1";
    }
    // Inside a changed root there is no such mount; what is mounted then may be seen outside.
    const bool isAlone = mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    Require(isAlone || errno == EINVAL, "mount /");
    return true;
  }

  explicit SmallDisk(int megabytes) { Mount(megabytes, 0); }
  ~SmallDisk() { umount2(Path().c_str(), MNT_DETACH); }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

  void GrowTo(int megabytes) const { Mount(megabytes, MS_REMOUNT); }
  /// Until it grows again it is only read.
  void ForbidWriting(int megabytes) const { Mount(megabytes, MS_REMOUNT | MS_RDONLY); }

  void GiveToOwnerOf(const std::string& path) const {
    struct stat status {};
    Require(stat(path.c_str(), &status) == 0 &&
                chown(Path().c_str(), status.st_uid, status.st_gid) == 0,
            path);
  }

  const std::string& Path() const { return directory_.Path(); }

 private:
  void Mount(int megabytes, unsigned long flags) const {
    const std::string options = "size=" + std::to_string(megabytes) + "m";
    Require(mount("small", Path().c_str(), "tmpfs", flags, options.c_str()) == 0, "mount");
  }

  static void Require(bool done, const std::string& call) {
    if (!done) throw std::runtime_error(call + ": " + strerror(errno));
  }

  const TemporaryDirectory directory_;
};

}  // namespace torvik
