#pragma once

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
};

/// The file system. Paths may be spelled the Windows way or the Linux way: '\' and '/' both
/// separate, "X:\..." and "\\server\share\..." are mapped to directories by the settings. Texts
/// written are UTF-8 in memory and in the system's code page on disk. An error code that is set
/// says, by message(), why the call failed.
class Files {
 public:
  virtual ~Files() = default;

  /// The length in bytes of the plain file at `path`.
  virtual std::error_code Size(const std::string& path, std::uint64_t& bytes) = 0;

  /// Clear when the plain file at `path` can be opened for reading.
  virtual std::error_code CheckReadable(const std::string& path) = 0;

  virtual std::unique_ptr<FileReader> OpenRead(const std::string& path, std::error_code& error) = 0;

  /// Appends `text` in one write, making the file when it is missing.
  virtual std::error_code AppendText(const std::string& path, std::string_view text) = 0;

  /// Makes `text` the file's whole content: written beside it, brought to disk and renamed over it,
  /// so that a reader sees the old text or the new one. Where the directory does not allow a second
  /// file, or the path is not a plain file, it is written in place.
  virtual std::error_code ReplaceText(const std::string& path, std::string_view text) = 0;

  /// Copies a file's bytes over `to`, which may exist.
  virtual std::error_code Copy(const std::string& from, const std::string& to) = 0;

  /// Appends the bytes of `from` to `to`, making `to` when it is missing.
  virtual std::error_code AppendFile(const std::string& from, const std::string& to) = 0;

  virtual std::error_code Remove(const std::string& path) = 0;

  /// Makes a directory and those above it. Clear when it exists already.
  virtual std::error_code MakeDirectory(const std::string& path) = 0;

  /// The names of the plain files in `directory`, in the order in which the file system returns
  /// them.
  virtual std::error_code ListFiles(const std::string& directory,
                                    std::vector<std::string>& names) = 0;

  /// True when both paths lead to one existing file.
  virtual bool IsSameFile(const std::string& a, const std::string& b) = 0;

  /// Brings the file's content to disk.
  virtual std::error_code Sync(const std::string& path) = 0;

  /// The directory for temporary files, private to the user, with a trailing separator.
  virtual std::string TempDirectory() = 0;
};

}  // namespace torvik
