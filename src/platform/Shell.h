#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace torvik {

/// The numbers by which the platform tells the errors of a share's files.
enum class ShareError : int { None = 0, FileNotFound = 53, PathNotFound = 76, Other = 57 };

/// What became of a call on a file; the description is for the user.
struct ShareResult {
  ShareError error = ShareError::None;
  std::string description;
};

/// The record of the shell's file operation, as far as the system fills it.
struct FileOperation {
  std::uint32_t function = 2;  ///< 2: copy.
  std::string from;            ///< A directory with its separator and "*.*": all its files.
  std::string to;              ///< A directory.
  std::uint16_t flags = 0;
  std::string progressTitle;
};

/// Files on Windows shares ("\\server\share\...") and in directories, as the shell works on them.
class Shell {
 public:
  virtual ~Shell() = default;

  /// True when there is a directory, or a file, of that path.
  virtual bool Exists(const std::string& path) = 0;

  /// The first line of a file, without its end, at most `limit` bytes of it. An empty file has no
  /// line: that is an error.
  virtual ShareResult ReadFirstLine(const std::string& path, std::size_t limit,
                                    std::string& line) = 0;

  /// Makes `text` the file's whole content.
  virtual ShareResult ReplaceText(const std::string& path, std::string_view text) = 0;

  /// Copies every plain file of a directory, replacing those that are there; each stands under its
  /// name only when it is complete. Answers 0, or the platform's number of the first failure; the
  /// files copied before it stay.
  virtual int SHFileOperationA(const FileOperation& operation) = 0;

  /// Why the last SHFileOperationA failed, naming the file, for the user; empty when it did not.
  virtual std::string CopyFailure() const = 0;
};

}  // namespace torvik
