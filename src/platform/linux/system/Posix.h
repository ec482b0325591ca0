#pragma once

#include <fcntl.h>
#include <sys/types.h>

#include <functional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

struct stat;

namespace torvik {

/// The error of the last system call, from errno.
std::error_code LastSystemError();

/// An open file of the process, closed at the end of its life. Children do not inherit it.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  ~Descriptor() { Close(); }
  Descriptor(Descriptor&& other) noexcept : number_(other.number_) { other.number_ = -1; }
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  bool IsOpen() const { return number_ >= 0; }
  int Number() const { return number_; }
  /// The error of closing is that of a write that was put off.
  std::error_code Close();

 private:
  int number_;
};

/// Opens a file that no child inherits. Not open, and errno set, on failure.
Descriptor OpenFile(const std::string& path, int flags, mode_t mode = 0);

/// Writes all of `bytes`.
std::error_code WriteAll(int descriptor, std::string_view bytes);

/// Appends what is left to read to `bytes`.
std::error_code ReadAll(int descriptor, std::string& bytes);

/// Reads to the end and gives each piece to `write`; ends with the first error of either.
std::error_code CopyBytes(int descriptor,
                          const std::function<std::error_code(std::string_view bytes)>& write);

/// The error of what is no plain file: a directory, a device, a pipe.
std::error_code MustBePlain(const struct stat& status);

/// The same for what is at a path: what is no plain file is neither replaced nor written into.
/// Clear when nothing is there.
std::error_code MayBeReplaced(const std::string& path);

/// The whole content of a file.
std::error_code ReadFile(const std::string& path, std::string& bytes);

/// Makes a directory that is for the user alone, and those above it. Clear when it exists.
std::error_code MakePrivateDirectory(const std::string& path);

}  // namespace torvik
