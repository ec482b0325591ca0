#include "platform/linux/system/ReplaceFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <optional>

#include "platform/linux/system/BesideFiles.h"
#include "platform/linux/system/PipeWait.h"
#include "platform/linux/system/Posix.h"

namespace torvik {
namespace {

/// So many bytes are sent to the disk while more are written.
constexpr std::size_t kSendAtOnce = 8 << 20;

/// The file that a chain of symbolic links ends in; it need not exist.
std::string BehindLinks(std::filesystem::path path, std::error_code& error) {
  constexpr int maxLinks = 40;
  for (int i = 0; i < maxLinks && std::filesystem::is_symlink(path, error); ++i) {
    path = path.parent_path() / std::filesystem::read_symlink(path, error);
    if (error) return {};
  }
  if (error == std::errc::no_such_file_or_directory) error.clear();
  return path.string();
}

/// The status of a file; nothing when there is none. A file whose mode cannot be told is not taken
/// for an absent one: it would get another mode.
std::error_code StatusIfAny(const std::string& path, std::optional<struct stat>& status) {
  if (stat(path.c_str(), &status.emplace()) == 0) return {};
  status.reset();
  return errno == ENOENT ? std::error_code() : LastSystemError();
}

std::string DirectoryOf(const std::string& path) {
  const std::string directory = std::filesystem::path(path).parent_path().string();
  return directory.empty() ? "." : directory;
}

std::error_code KeepOwnerAndMode(int file, const struct stat& old, Ownership ownership) {
  struct stat now {};
  if (fstat(file, &now) != 0) return LastSystemError();
  const bool isOthers = now.st_uid != old.st_uid || now.st_gid != old.st_gid;
  const bool mustKeep = ownership == Ownership::Kept || geteuid() == 0;
  if (isOthers && fchown(file, old.st_uid, old.st_gid) != 0 && mustKeep) return LastSystemError();
  return fchmod(file, old.st_mode & 07777) == 0 ? std::error_code() : LastSystemError();
}

bool IsRefusedByDirectory(const std::error_code& error) {
  return error == std::errc::permission_denied || error == std::errc::operation_not_permitted ||
         error == std::errc::read_only_file_system;
}

/// True when the disk is full, but a text so short finds its place where the file's bytes are: the
/// disk writes it as a whole or not at all.
bool HasRoomInPlace(const std::error_code& error, const struct stat& status, std::size_t bytes) {
  constexpr std::size_t kSector = 512;
  const bool isFull = error == std::errc::no_space_on_device ||
                      error == std::error_code(EDQUOT, std::generic_category());
  const auto room = std::max<off_t>(status.st_size, status.st_blocks * off_t{kSector});
  return isFull && bytes <= kSector && static_cast<off_t>(bytes) <= room;
}

std::error_code OverwriteFile(const std::string& path, std::string_view bytes, mode_t newFileMode) {
  const Patience patience = Patience::ForAWord();
  std::error_code error;
  // In a directory that everyone may write to, making a file and opening another's are told apart.
  Descriptor file = OpenToWrite(path, O_WRONLY, 0, patience, error);
  if (error == std::errc::no_such_file_or_directory) {
    error.clear();
    file = OpenToWrite(path, O_WRONLY | O_CREAT, newFileMode, patience, error);
  }
  if (error || (error = WritePatiently(file.Number(), bytes, patience))) return error;
  struct stat now {};
  const bool isPlain = fstat(file.Number(), &now) == 0 && S_ISREG(now.st_mode);
  // Cut to length afterwards, so that the file is never empty.
  if (isPlain && ftruncate(file.Number(), static_cast<off_t>(bytes.size())) != 0)
    return LastSystemError();
  if (isPlain && fsync(file.Number()) != 0) return LastSystemError();
  return file.Close();
}

}  // namespace

/// A file made beside another one, removed again unless it was renamed over it.
class FileReplacement::Beside {
 public:
  Beside(const std::string& directory, mode_t mode)
      : file_(CreateBesideFile(directory, mode, path_)), isMade_(file_.IsOpen()) {}
  ~Beside() {
    if (isMade_) unlink(path_.c_str());
  }
  Beside(const Beside&) = delete;
  Beside& operator=(const Beside&) = delete;

  bool IsOpen() const { return file_.IsOpen(); }
  int Number() const { return file_.Number(); }

  std::error_code RenameTo(const std::string& path, bool overwrite = true) {
    // The lock stays until the file is in place.
    const Descriptor lock(fcntl(file_.Number(), F_DUPFD_CLOEXEC, 0));
    if (const auto error = file_.Close()) return error;
    if (const auto error = RenameFile(path_, path, overwrite)) return error;
    isMade_ = false;
    return {};
  }

 private:
  std::string path_;
  Descriptor file_;
  bool isMade_;
};

FileReplacement::FileReplacement() = default;
FileReplacement::~FileReplacement() = default;
FileReplacement::FileReplacement(FileReplacement&&) noexcept = default;
FileReplacement& FileReplacement::operator=(FileReplacement&&) noexcept = default;

std::error_code FileReplacement::Open(const std::string& path, mode_t newFileMode,
                                      Ownership ownership) {
  ownership_ = ownership;
  std::error_code error;
  target_ = BehindLinks(path, error);
  std::optional<struct stat> old;
  if (error || (error = StatusIfAny(target_, old))) return error;
  if (old && faccessat(AT_FDCWD, target_.c_str(), W_OK, AT_EACCESS) != 0) return LastSystemError();
  beside_ = std::make_unique<Beside>(DirectoryOf(target_), old ? 0600 : newFileMode);
  return beside_->IsOpen() ? std::error_code() : LastSystemError();
}

std::error_code FileReplacement::Write(std::string_view bytes) {
  if (const auto error = WriteAll(beside_->Number(), bytes)) return error;
  unsent_ += bytes.size();
  if (unsent_ < kSendAtOnce) return {};
  unsent_ = 0;
  // The disk begins with these bytes now, so that the sync at the end finds little left to do.
  sync_file_range(beside_->Number(), 0, 0, SYNC_FILE_RANGE_WRITE);
  return {};
}

std::error_code FileReplacement::Sync() {
  std::optional<struct stat> old;
  if (const auto error = StatusIfAny(target_, old)) return error;
  if (old) {
    if (const auto error = KeepOwnerAndMode(beside_->Number(), *old, ownership_)) return error;
  }
  return fsync(beside_->Number()) == 0 ? std::error_code() : LastSystemError();
}

std::error_code FileReplacement::PutInPlace() {
  return beside_->RenameTo(target_);
}

std::error_code FileReplacement::Commit() {
  if (const auto error = Sync()) return error;
  if (const auto error = PutInPlace()) return error;
  return SyncDirectoryOf(target_);
}

std::error_code FileReplacement::CommitAs(const struct stat& like, bool overwrite) {
  const timespec times[] = {like.st_atim, like.st_mtim};
  if (fchmod(beside_->Number(), like.st_mode & 0777) != 0 ||
      futimens(beside_->Number(), times) != 0 || fsync(beside_->Number()) != 0)
    return LastSystemError();
  if (const auto error = beside_->RenameTo(target_, overwrite)) return error;
  return SyncDirectoryOf(target_);
}

std::error_code RenameFile(const std::string& from, const std::string& to, bool overwrite) {
  const auto done = [](int result) { return result == 0 ? std::error_code() : LastSystemError(); };
  if (overwrite) return done(rename(from.c_str(), to.c_str()));
  const auto error =
      done(renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE));
  if (error != std::errc::invalid_argument && error != std::errc::function_not_supported)
    return error;
  // Not every file system can: there a second name is made, which fails when `to` is one already.
  if (link(from.c_str(), to.c_str()) != 0) return LastSystemError();
  return done(unlink(from.c_str()));
}

std::error_code SyncDirectoryOf(const std::string& path) {
  const Descriptor opened = OpenFile(DirectoryOf(path), O_RDONLY | O_DIRECTORY);
  // Some file systems cannot sync a directory; the rename has been done all the same.
  if (opened.IsOpen() && fsync(opened.Number()) != 0 && errno != EINVAL) return LastSystemError();
  return {};
}

std::error_code ReplaceFile(const std::string& path, std::string_view bytes, mode_t newFileMode,
                            Ownership ownership) {
  FileReplacement replacement;
  if (const auto error = replacement.Open(path, newFileMode, ownership)) return error;
  if (const auto error = replacement.Write(bytes)) return error;
  return replacement.Commit();
}

std::error_code ReplaceOrOverwriteFile(const std::string& path, std::string_view bytes,
                                       mode_t newFileMode) {
  struct stat status {};
  const bool isPlain = stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode);
  if (isPlain) {
    const auto error = ReplaceFile(path, bytes, newFileMode, Ownership::Kept);
    if (!IsRefusedByDirectory(error) && !HasRoomInPlace(error, status, bytes.size())) return error;
  }
  return OverwriteFile(path, bytes, newFileMode);
}

}  // namespace torvik
