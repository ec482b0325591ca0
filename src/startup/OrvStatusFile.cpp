#include "startup/OrvStatusFile.h"

#include "platform/Files.h"
#include "platform/Messages.h"

namespace torvik {

bool OrvStatusFile::SetStatusFileName(const std::string& path) {
  path_ = path;
  return true;
}

bool OrvStatusFile::WriteStatusWord(std::string_view word) {
  if (path_.empty()) return false;
  const auto error = files_.ReplaceText(path_, std::string(word) + "\r\n");
  if (error)
    messages_.Report("cannot write \"" + std::string(word) + "\" to the status file " + path_ +
                     ": " + error.message() + "; what it says is not of this run's end");
  return !error;
}

}  // namespace torvik
