#include "platform/linux/shares/ShellFiles.h"

namespace torvik {
namespace {

constexpr std::string_view kAllFiles = "*.*";
/// The number for a file operation that failed for a reason of no other number.
constexpr int kGeneralFailure = 31;

}  // namespace

ShareResult FirstLineOf(const std::string& path, const std::string& bytes, const CodePage& ansi,
                        std::string& line) {
  if (bytes.empty())
    return {ShareError::Other, path + ": Input past end of file: the file is empty"};
  line = ansi.Decode(bytes.substr(0, bytes.find_first_of("\r\n")));
  return {};
}

std::string DirectoryOfAllFiles(const std::string& from) {
  return from.substr(0, from.size() - (from.ends_with(kAllFiles) ? kAllFiles.size() : 0));
}

bool IsMissing(const std::error_code& error) {
  return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory ||
         error == std::errc::no_such_device;
}

ShareError ShareErrorOf(const std::error_code& error, bool hasDirectory) {
  if (!error) return ShareError::None;
  if (!IsMissing(error)) return ShareError::Other;
  return hasDirectory ? ShareError::FileNotFound : ShareError::PathNotFound;
}

int NumberOf(const std::error_code& error) {
  if (!error) return 0;
  return error.value() > 0 ? error.value() : kGeneralFailure;
}

}  // namespace torvik
