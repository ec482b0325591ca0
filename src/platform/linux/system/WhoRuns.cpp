#include "platform/linux/system/WhoRuns.h"

#include <pwd.h>
#include <unistd.h>

namespace torvik {

std::string HostName() {
  char name[256] = "";
  if (gethostname(name, sizeof name - 1) != 0) return {};
  return name;
}

std::string UserName() {
  char text[4096];
  passwd entry{};
  passwd* found = nullptr;
  const uid_t user = geteuid();
  const bool isKnown = getpwuid_r(user, &entry, text, sizeof text, &found) == 0 && found != nullptr;
  return isKnown ? found->pw_name : std::to_string(user);
}

}  // namespace torvik
