#include "platform/linux/system/DirectoryEntries.h"

#include <dirent.h>

#include <cerrno>
#include <memory>

#include "platform/linux/system/Posix.h"

namespace torvik {

std::vector<std::string> DirectoryEntries(const std::string& directory, std::error_code& error) {
  std::vector<std::string> names;
  error.clear();
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(directory.c_str()), closedir);
  if (!stream) {
    error = LastSystemError();
    return names;
  }
  for (;;) {
    errno = 0;
    const dirent* const entry = readdir(stream.get());
    if (entry == nullptr) break;
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  if (errno != 0) error = LastSystemError();
  return names;
}

}  // namespace torvik
