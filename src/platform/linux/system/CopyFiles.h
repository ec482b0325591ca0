#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace torvik {

class FetchCounter;

/// Why a file could not be used, in words that name it; `error` is clear when it could.
struct FileFailure {
  std::error_code error = {};
  std::string words = {};
};

/// A file that is copied, from its start to its end.
class SourceFile {
 public:
  virtual ~SourceFile() = default;
  /// Reads up to `capacity` bytes; answers how many, 0 at the end of the file.
  virtual std::size_t Read(char* buffer, std::size_t capacity, std::error_code& error) = 0;
  /// How long the file is now.
  virtual std::uint64_t Size(std::error_code& error) = 0;
};

/// The directory that files are copied from.
class SourceDirectory {
 public:
  struct Entry {
    std::string name;
    std::uint64_t size;  ///< As it was when the directory was listed.
  };

  virtual ~SourceDirectory() = default;
  /// Its plain files, in the order in which the system lists them.
  virtual std::vector<Entry> List(FileFailure& failure) = 0;
  virtual std::unique_ptr<SourceFile> Open(const std::string& name, std::error_code& error) = 0;
  /// Asked when a file has failed: true when it is to be tried once more, in another way.
  virtual bool HasAnotherWay() { return false; }
  /// A file's path, for the user, and what to tell him about a failure with it.
  virtual std::string PathOf(const std::string& name) const = 0;
  virtual std::string Words(const std::string& name, const std::error_code& error) const = 0;
};

/// Copies all files of a directory into `to`, a Linux path. Each stands under its name only when it
/// is complete; what is there already is replaced. Names that would lead elsewhere are refused. The
/// first failure ends the copy, the files before it stay.
FileFailure CopyFiles(SourceDirectory& from, const std::string& to, FetchCounter& counter);

}  // namespace torvik
