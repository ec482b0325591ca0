#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace torvik {

/// A file that is read from its start to its end.
class FileReader {
 public:
  virtual ~FileReader() = default;

  /// Reads up to `capacity` bytes into `buffer`; answers how many, 0 at the end of the file. On
  /// failure answers 0 and sets `error`.
  virtual std::size_t Read(char* buffer, std::size_t capacity, std::error_code& error) = 0;

  /// A wait for a pipe's writer is given up, by the error operation_canceled, once this becomes
  /// true. Null: nobody gives it up.
  virtual void EndOn(const std::atomic<bool>* cancelled) = 0;
};

/// What a directory tells of a plain file.
struct FileStatus {
  std::uint64_t bytes = 0;
  std::int64_t changed = 0;  ///< When it was last written to, in nanoseconds since 1970, UTC.

  bool operator==(const FileStatus&) const = default;
};

/// A file that is written from its start to its end. Without Commit, or after a failure, the file
/// stays as it was and nothing is left beside it; what is not a plain file is written at once.
class FileWriter {
 public:
  virtual ~FileWriter() = default;
  virtual std::error_code Write(std::string_view bytes) = 0;
  /// Brings what was written to disk and puts it in the file's place.
  virtual std::error_code Commit() = 0;

  /// A wait for a pipe's reader is given up, by the error operation_canceled, once this becomes
  /// true. Null: nobody gives it up.
  virtual void EndOn(const std::atomic<bool>* cancelled) = 0;
};

/// Auto: reading, gzip when the file begins as gzip does; writing, when its name ends in ".gz".
enum class Compression { Auto, Gzip, None };

/// The file system. Paths may be spelled the Windows way or the Linux way: '\' and '/' both
/// separate, "X:\..." and "\\server\share\..." are mapped to directories by the settings. Texts
/// written are UTF-8 in memory and in the system's code page on disk. An error code that is set
/// says, by message(), why the call failed.
class Files {
 public:
  virtual ~Files() = default;

  /// The length in bytes of the plain file at `path`.
  virtual std::error_code Size(const std::string& path, std::uint64_t& bytes) = 0;

  virtual std::error_code Status(const std::string& path, FileStatus& status) = 0;

  /// Clear when the plain file at `path` can be opened for reading.
  virtual std::error_code CheckReadable(const std::string& path) = 0;

  /// A pipe or a device may be read too; a pipe's first Read waits for its writer. A plain file
  /// that gets shorter than what has been read of it fails to be read on.
  virtual std::unique_ptr<FileReader> OpenRead(const std::string& path, std::error_code& error) = 0;

  /// The same for a file that may be compressed: reads what was put in. Data that is cut off or
  /// damaged fails to be read, after the bytes before it.
  virtual std::unique_ptr<FileReader> OpenUnpacked(const std::string& path, Compression compression,
                                                   std::error_code& error) = 0;

  /// Null and `error` set when the file cannot be written. `append`: behind what it holds already.
  /// A pipe's first Write waits for its reader.
  virtual std::unique_ptr<FileWriter> OpenWrite(const std::string& path, bool append,
                                                Compression compression,
                                                std::error_code& error) = 0;

  /// Appends `text` in one write, making the file when it is missing. Like all that follow, it
  /// waits two seconds for the other end of a pipe.
  virtual std::error_code AppendText(const std::string& path, std::string_view text) = 0;

  /// The same for bytes that are written as they are.
  virtual std::error_code AppendBytes(const std::string& path, std::string_view bytes) = 0;

  /// Makes `text` the file's whole content: written beside it, brought to disk and renamed over it,
  /// so that a reader sees the old text or the new one. Where the directory does not allow a second
  /// file, that file could not have the owner and the group of the one before, the path is not a
  /// plain file, or the disk is full and the text needs no room of its own, it is written in place.
  virtual std::error_code ReplaceText(const std::string& path, std::string_view text) = 0;

  /// The same for bytes that are written as they are.
  virtual std::error_code ReplaceBytes(const std::string& path, std::string_view bytes) = 0;

  /// Lets every user read the file, whatever the umask says.
  virtual std::error_code LetAllRead(const std::string& path) = 0;

  /// Copies a file's bytes over `to`, which may exist.
  virtual std::error_code Copy(const std::string& from, const std::string& to) = 0;

  /// Makes `to` a copy of the plain file `from`, of the same mode and time: written beside it,
  /// brought to disk and renamed, so that `to` is there whole or not at all. Unless `overwrite` is
  /// set, a `to` that exists is left alone and the error is file_exists.
  virtual std::error_code CopyWhole(const std::string& from, const std::string& to,
                                    bool overwrite) = 0;

  /// The same, after which there is no `from` any more. Within one file system the file is renamed;
  /// otherwise it is copied and then removed. A failure leaves `from` as it was.
  virtual std::error_code Move(const std::string& from, const std::string& to, bool overwrite) = 0;

  /// Appends the bytes of `from` to `to`, making `to` when it is missing.
  virtual std::error_code AppendFile(const std::string& from, const std::string& to) = 0;

  virtual std::error_code Remove(const std::string& path) = 0;

  /// Makes a directory and those above it. Clear when it exists already.
  virtual std::error_code MakeDirectory(const std::string& path) = 0;

  /// The names of the plain files in `directory`, in the order in which the file system returns
  /// them.
  virtual std::error_code ListFiles(const std::string& directory,
                                    std::vector<std::string>& names) = 0;
  /// The same of the directories in it.
  virtual std::error_code ListDirectories(const std::string& directory,
                                          std::vector<std::string>& names) = 0;

  /// The path itself when it is a full one, of either spelling; else the path from the current
  /// directory on, in full.
  virtual std::string FullPath(const std::string& path) = 0;

  /// True when both paths lead to one existing file or directory.
  virtual bool IsSameFile(const std::string& a, const std::string& b) = 0;

  /// True for the root of the file system, of a drive or of a share, however it is spelled, and for
  /// the empty text.
  virtual bool IsRoot(const std::string& directory) = 0;

  /// Which directory or link on the way to `path`, itself included, belongs to an ordinary user who
  /// is not this one, in words; empty: none. Such a user can lead the path wherever he likes.
  virtual std::string ForeignOwner(const std::string& path) = 0;

  /// Brings the file's content to disk.
  virtual std::error_code Sync(const std::string& path) = 0;

  /// The directory for temporary files, private to the user, with a trailing separator.
  virtual std::string TempDirectory() = 0;
};

}  // namespace torvik
