#pragma once

#include <fcntl.h>
#include <sys/types.h>

#include <string>
#include <string_view>
#include <system_error>

namespace torvik {

/// The error of the last system call, from errno.
std::error_code LastSystemError();

/// An open file of the process, closed at the end of its life. Children do not inherit it.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  ~Descriptor() { Close(); }
  Descriptor(Descriptor&& other) noexcept : number_(other.number_) { other.number_ = -1; }
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

/// The whole content of a file.
std::error_code ReadFile(const std::string& path, std::string& bytes);

/// Makes a directory that is for the user alone, and those above it. Clear when it exists.
std::error_code MakePrivateDirectory(const std::string& path);

}  // namespace torvik
