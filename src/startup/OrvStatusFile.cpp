#include "startup/OrvStatusFile.h"

#include "platform/Files.h"

namespace torvik {

bool OrvStatusFile::SetStatusFileName(const std::string& path) {
  path_ = path;
  return true;
}

bool OrvStatusFile::WriteStatusWord(std::string_view word) {
  if (path_.empty()) return false;
  return !files_.ReplaceText(path_, std::string(word) + "\r\n");
}

}  // namespace torvik
