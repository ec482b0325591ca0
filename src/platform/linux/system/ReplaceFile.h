#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <string_view>
#include <system_error>

struct stat;

namespace torvik {

/// Whose file a replacement is to be, as far as anybody but root may choose.
enum class Ownership {
  Kept,      ///< That of the file before, or it is refused (operation_not_permitted).
  IfAllowed  ///< The writer's where the former one's is not allowed, as with any editor.
};

/// Makes `bytes` the whole content of the file: written beside it, brought to disk and renamed over
/// it. A symbolic link stays and its target is replaced; the mode, and
/// owner and group as `ownership` says, are kept; a new file gets `newFileMode` less the umask. A
/// file that the user may not write is refused. On failure the file is as it was and nothing is
/// left beside it.
std::error_code ReplaceFile(const std::string& path, std::string_view bytes, mode_t newFileMode,
                            Ownership ownership = Ownership::IfAllowed);

/// The same for a file that is written piece by piece: until it is put in place, and without that,
/// the file stays as it was.
class FileReplacement {
 public:
  FileReplacement();
  ~FileReplacement();
  FileReplacement(FileReplacement&&) noexcept;
  FileReplacement& operator=(FileReplacement&&) noexcept;

  std::error_code Open(const std::string& path, mode_t newFileMode,
                       Ownership ownership = Ownership::IfAllowed);
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
  /// Gives that text away, for a file that has been put in place or given up.
  void SwapTarget(std::string& other) { target_.swap(other); }

 private:
  class Beside;
  std::string target_;
  std::unique_ptr<Beside> beside_;
  Ownership ownership_ = Ownership::IfAllowed;
  std::size_t unsent_ = 0;
};

/// Renames a file. Unless `overwrite` is set, a `to` that exists stays, and the error is
/// file_exists.
std::error_code RenameFile(const std::string& from, const std::string& to, bool overwrite);

/// Brings the names in the directory of `path` to disk.
std::error_code SyncDirectoryOf(const std::string& path);

/// For words that others read: ReplaceFile with the owner and the group kept, and where that cannot
/// be (the directory allows no second file, another owner, a pipe or a device) by writing over the
/// file's bytes. So is a short text for which a full disk has no second place. A failure in place
/// may leave part of the new text.
std::error_code ReplaceOrOverwriteFile(const std::string& path, std::string_view bytes,
                                       mode_t newFileMode);

}  // namespace torvik
