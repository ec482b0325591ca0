#include "platform/linux/system/Posix.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

namespace torvik {

std::error_code LastSystemError() {
  return {errno, std::generic_category()};
}

std::error_code Descriptor::Close() {
  if (number_ < 0) return {};
  const int result = close(number_);
  number_ = -1;
  return result == 0 ? std::error_code() : LastSystemError();
}

Descriptor OpenFile(const std::string& path, int flags, mode_t mode) {
  return Descriptor(open(path.c_str(), flags | O_CLOEXEC, mode));
}

std::error_code WriteAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(descriptor, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return LastSystemError();
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return {};
}

std::error_code CopyBytes(int descriptor,
                          const std::function<std::error_code(std::string_view bytes)>& write) {
  char buffer[65536];
  for (;;) {
    const ssize_t got = read(descriptor, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return LastSystemError();
    if (got == 0) return {};
    if (const auto error = write({buffer, static_cast<std::size_t>(got)})) return error;
  }
}

std::error_code ReadAll(int descriptor, std::string& bytes) {
  return CopyBytes(descriptor, [&](std::string_view piece) {
    bytes.append(piece);
    return std::error_code();
  });
}

std::error_code MustBePlain(const struct stat& status) {
  if (S_ISREG(status.st_mode)) return {};
  return std::make_error_code(S_ISDIR(status.st_mode) ? std::errc::is_a_directory
                                                      : std::errc::invalid_argument);
}

std::error_code MayBeReplaced(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? MustBePlain(status) : std::error_code();
}

std::error_code ReadFile(const std::string& path, std::string& bytes) {
  const Descriptor file = OpenFile(path, O_RDONLY);
  if (!file.IsOpen()) return LastSystemError();
  return ReadAll(file.Number(), bytes);
}

std::error_code MakePrivateDirectory(const std::string& path) {
  std::filesystem::path directory(path);
  if (!directory.has_filename()) directory = directory.parent_path();
  std::error_code error;
  std::filesystem::create_directories(directory.parent_path(), error);
  if (mkdir(directory.c_str(), 0700) == 0) return {};
  const std::error_code reason = LastSystemError();
  if (reason == std::errc::file_exists && std::filesystem::is_directory(directory, error))
    return {};
  return reason;
}

}  // namespace torvik
