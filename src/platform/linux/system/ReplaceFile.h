#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <string_view>
#include <system_error>

struct stat;

namespace torvik {

/// Makes `bytes` the whole content of the file: written beside it, brought to disk and renamed over
/// it. A symbolic link stays and its target is replaced; the mode, and for root the owner, are
/// kept; a new file gets `newFileMode` less the umask. A file that the user may not write is
/// refused. On failure the file is as it was and nothing is left beside it.
std::error_code ReplaceFile(const std::string& path, std::string_view bytes, mode_t newFileMode);

/// The same for a file that is written piece by piece: until it is put in place, and without that,
/// the file stays as it was.
class FileReplacement {
 public:
  FileReplacement();
  ~FileReplacement();
  FileReplacement(FileReplacement&&) noexcept;
  FileReplacement& operator=(FileReplacement&&) noexcept;

  std::error_code Open(const std::string& path, mode_t newFileMode);
  std::error_code Write(std::string_view bytes);

  /// Sync, PutInPlace and SyncDirectory in one.
  std::error_code Commit();
  /// Commit with the mode and the times of another file. Unless `overwrite` is set, a file that
  /// has come about at the path stays, and the error is file_exists.
  std::error_code CommitAs(const struct stat& like, bool overwrite);
  /// Brings the bytes to disk.
  std::error_code Sync();
  /// Renames; the file must have been synced.
  std::error_code PutInPlace();

  /// Where the file will stand, behind symbolic links.
  const std::string& Target() const { return target_; }

 private:
  class Beside;
  std::string target_;
  std::unique_ptr<Beside> beside_;
  std::size_t unsent_ = 0;
};

/// Renames a file. Unless `overwrite` is set, a `to` that exists stays, and the error is
/// file_exists.
std::error_code RenameFile(const std::string& from, const std::string& to, bool overwrite);

/// Brings the names in the directory of `path` to disk.
std::error_code SyncDirectoryOf(const std::string& path);

/// ReplaceFile by writing over the file's bytes: for directories that allow no second file and for
/// what is not a plain file. A failure may leave part of the new text.
std::error_code OverwriteFile(const std::string& path, std::string_view bytes, mode_t newFileMode);

}  // namespace torvik
