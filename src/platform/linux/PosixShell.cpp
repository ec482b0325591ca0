#include "platform/linux/PosixShell.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

#include "platform/linux/Posix.h"
#include "platform/linux/ReplaceFile.h"

namespace torvik {
namespace {

namespace fs = std::filesystem;

constexpr mode_t kNewFileMode = 0666;
constexpr std::string_view kAllFiles = "*.*";
/// The number for a file operation that failed for a reason of no other number.
constexpr int kGeneralFailure = 31;

/// A copy under a name of its own beside `to`, which takes its place when it is complete.
std::error_code ArriveComplete(const fs::path& from, const fs::path& to) {
  std::error_code error, ignored;
  const fs::path part =
      to.parent_path() / ("." + to.filename().string() + ".part-" + std::to_string(getpid()));
  fs::copy_file(from, part, fs::copy_options::overwrite_existing, error);
  if (!error) {
    const Descriptor file = OpenFile(part.string(), O_RDONLY);
    if (!file.IsOpen() || fsync(file.Number()) != 0) error = LastSystemError();
  }
  if (!error) fs::rename(part, to, error);
  if (error) fs::remove(part, ignored);
  return error;
}

class PosixShell final : public Shell {
 public:
  PosixShell(const PathMap& paths, const CodePage& ansi) : paths_(paths), ansi_(ansi) {}

  bool Exists(const std::string& path) override {
    std::error_code error;
    const std::string linuxPath = paths_.ToLinux(path, error);
    return !error && fs::exists(linuxPath, error);
  }

  ShareResult ReadFirstLine(const std::string& path, std::size_t limit,
                            std::string& line) override {
    std::error_code error;
    const std::string linuxPath = paths_.ToLinux(path, error);
    if (error) return Failure(path, linuxPath, error);
    const Descriptor file = OpenFile(linuxPath, O_RDONLY);
    if (!file.IsOpen()) return Failure(path, linuxPath, LastSystemError());
    std::string bytes(limit, '\0');
    std::size_t length = 0;
    for (ssize_t got = 1; got > 0 && length < limit; length += static_cast<std::size_t>(got)) {
      got = read(file.Number(), bytes.data() + length, limit - length);
      if (got < 0) return Failure(path, linuxPath, LastSystemError());
    }
    if (length == 0)
      return {ShareError::Other, path + ": Input past end of file: the file is empty"};
    bytes.resize(std::min(length, bytes.find_first_of("\r\n")));
    line = ansi_.Decode(bytes);
    return {};
  }

  ShareResult ReplaceText(const std::string& path, std::string_view text) override {
    std::error_code error;
    const std::string linuxPath = paths_.ToLinux(path, error);
    const std::string bytes = ansi_.Encode(text);
    if (!error) error = ReplaceFile(linuxPath, bytes, kNewFileMode);
    return error ? Failure(path, linuxPath, error) : ShareResult();
  }

  int SHFileOperationA(const FileOperation& operation) override {
    std::string source = operation.from;
    if (source.ends_with(kAllFiles)) source.erase(source.size() - kAllFiles.size());
    std::error_code error;
    const fs::path from = paths_.ToLinux(source, error);
    if (error) return NumberOf(error);
    const fs::path to = paths_.ToLinux(operation.to, error);
    if (error) return NumberOf(error);
    for (fs::directory_iterator entry(from, error), end; !error && entry != end;
         entry.increment(error)) {
      if (!entry->is_regular_file(error)) continue;
      error = ArriveComplete(entry->path(), to / entry->path().filename());
      if (error) break;
    }
    return NumberOf(error);
  }

 private:
  static int NumberOf(const std::error_code& error) {
    if (!error) return 0;
    return error.value() > 0 ? error.value() : kGeneralFailure;
  }

  /// A file that is missing where its directory is there is told apart from a missing directory.
  static ShareResult Failure(const std::string& path, const std::string& linuxPath,
                             const std::error_code& error) {
    const std::string description = path + ": " + error.message();
    if (linuxPath.empty()) return {ShareError::PathNotFound, description};
    if (error != std::errc::no_such_file_or_directory && error != std::errc::not_a_directory)
      return {ShareError::Other, description};
    std::error_code ignored;
    const bool hasDirectory = fs::is_directory(fs::path(linuxPath).parent_path(), ignored);
    return {hasDirectory ? ShareError::FileNotFound : ShareError::PathNotFound, description};
  }

  const PathMap paths_;
  const CodePage& ansi_;
};

}  // namespace

std::unique_ptr<Shell> NewPosixShell(const PathMap& paths, const CodePages& codePages) {
  return std::make_unique<PosixShell>(paths, codePages.Ansi());
}

}  // namespace torvik
