#include "platform/linux/system/PathOwners.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <vector>

namespace torvik {
namespace {

namespace fs = std::filesystem;

/// From here on, but for the one that stands for nobody, users are people; those below are the
/// system's own.
constexpr uid_t kFirstOrdinary = 1000, kNobody = 65534;

bool IsForeign(uid_t user) {
  return user >= kFirstOrdinary && user != kNobody && user != geteuid();
}

std::string NameOf(uid_t user) {
  char text[4096];
  passwd entry{};
  passwd* found = nullptr;
  const bool isKnown = getpwuid_r(user, &entry, text, sizeof text, &found) == 0 && found != nullptr;
  return isKnown ? entry.pw_name : std::to_string(user);
}

}  // namespace

std::string ForeignOwner(const std::string& path, const std::string& trusted) {
  constexpr int kMaxLinks = 40;
  const bool isBehind = !trusted.empty() && path.starts_with(trusted);
  std::error_code error;
  fs::path at = isBehind ? fs::path(trusted) : fs::path("/");
  const fs::path rest = isBehind ? fs::path(path.substr(trusted.size())).relative_path()
                                 : fs::absolute(path, error).relative_path();
  std::vector<fs::path> parts(rest.begin(), rest.end());
  int links = 0;
  while (!parts.empty()) {
    const fs::path part = parts.front();
    parts.erase(parts.begin());
    const fs::path next = at / part;
    struct stat status {};
    if (lstat(next.c_str(), &status) != 0) return {};
    if (IsForeign(status.st_uid))
      return next.string() + " belongs to the user " + NameOf(status.st_uid);
    if (!S_ISLNK(status.st_mode)) {
      at = next;
      continue;
    }
    if (++links > kMaxLinks) return {};
    const fs::path target = fs::read_symlink(next, error);
    if (target.is_absolute()) at = "/";
    const fs::path relative = target.relative_path();
    parts.insert(parts.begin(), relative.begin(), relative.end());
  }
  return {};
}

}  // namespace torvik
