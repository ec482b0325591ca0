#include "platform/linux/settings/SecretFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

namespace torvik {

std::string CheckSecretFile(const Descriptor& file, const std::string& path) {
  struct stat status {};
  if (fstat(file.Number(), &status) != 0) return path + ": " + LastSystemError().message();
  char mode[8];
  std::snprintf(mode, sizeof mode, "%04o", static_cast<unsigned>(status.st_mode & 07777));
  if ((status.st_mode & 077) != 0)
    return path + " holds a password and has the mode " + mode +
           ", so that others may use it; run chmod 600 " + path;
  if (status.st_uid != 0 && status.st_uid != geteuid())
    return path + " holds a password and belongs to the user " + std::to_string(status.st_uid) +
           "; it must belong to root or to the user who runs this program";
  return {};
}

}  // namespace torvik
