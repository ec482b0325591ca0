#include "platform/linux/system/MoveFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/linux/system/Posix.h"
#include "platform/linux/system/ReplaceFile.h"

namespace torvik {
namespace {

std::error_code Done(int result) {
  return result == 0 ? std::error_code() : LastSystemError();
}

bool IsThere(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0;
}

bool IsSame(const std::string& path, const struct stat& other) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && status.st_dev == other.st_dev &&
         status.st_ino == other.st_ino;
}

}  // namespace

std::error_code CopyWholeFile(const std::string& from, const std::string& to, bool overwrite) {
  const Descriptor source = OpenFile(from, O_RDONLY | O_NONBLOCK);
  if (!source.IsOpen()) return LastSystemError();
  struct stat status {};
  if (fstat(source.Number(), &status) != 0) return LastSystemError();
  if (const auto error = MustBePlain(status)) return error;
  if (!overwrite && IsThere(to)) return std::make_error_code(std::errc::file_exists);
  if (IsSame(to, status)) return {};
  if (const auto error = MayBeReplaced(to)) return error;
  FileReplacement copy;
  if (const auto error = copy.Open(to, status.st_mode & 0777)) return error;
  if (const auto error = CopyBytes(source.Number(), [&](auto bytes) { return copy.Write(bytes); }))
    return error;
  return copy.CommitAs(status, overwrite);
}

std::error_code MoveFile(const std::string& from, const std::string& to, bool overwrite) {
  struct stat status {};
  if (stat(from.c_str(), &status) != 0) return LastSystemError();
  if (const auto error = MustBePlain(status)) return error;
  if (IsSame(to, status)) return std::make_error_code(std::errc::file_exists);
  if (const auto error = MayBeReplaced(to)) return error;
  struct stat own {};
  const bool isLink = lstat(from.c_str(), &own) == 0 && S_ISLNK(own.st_mode);
  auto error =
      isLink ? std::make_error_code(std::errc::cross_device_link) : RenameFile(from, to, overwrite);
  if (!error) {
    error = SyncDirectoryOf(to);
    return error ? error : SyncDirectoryOf(from);
  }
  if (error != std::errc::cross_device_link) return error;
  if ((error = CopyWholeFile(from, to, overwrite))) return error;
  return Done(unlink(from.c_str()));
}

}  // namespace torvik
