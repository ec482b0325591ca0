#include "platform/linux/shares/PosixShell.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "platform/linux/shares/ShellFiles.h"
#include "platform/linux/system/CopyFiles.h"
#include "platform/linux/system/DirectoryEntries.h"
#include "platform/linux/system/FetchCounter.h"
#include "platform/linux/system/Posix.h"
#include "platform/linux/system/ReplaceFile.h"

namespace torvik {
namespace {

namespace fs = std::filesystem;

constexpr mode_t kNewFileMode = 0666;

class PosixFile final : public SourceFile {
 public:
  explicit PosixFile(Descriptor file) : file_(std::move(file)) {}

  std::size_t Read(char* buffer, std::size_t capacity, std::error_code& error) override {
    ssize_t got = 0;
    do got = read(file_.Number(), buffer, capacity);
    while (got < 0 && errno == EINTR);
    if (got < 0) error = LastSystemError();
    return got < 0 ? 0 : static_cast<std::size_t>(got);
  }

  std::uint64_t Size(std::error_code& error) override {
    struct stat status {};
    if (fstat(file_.Number(), &status) != 0) error = LastSystemError();
    return static_cast<std::uint64_t>(status.st_size);
  }

 private:
  const Descriptor file_;
};

class PosixDirectory final : public SourceDirectory {
 public:
  explicit PosixDirectory(fs::path path) : path_(std::move(path)) {}

  std::vector<Entry> List(FileFailure& failure) override {
    std::vector<Entry> files;
    std::error_code error;
    for (const std::string& name : DirectoryEntries(path_, error)) {
      // A link to nothing is no plain file, nor is what has gone since it was listed.
      std::error_code missing;
      const bool isPlain = fs::is_regular_file(path_ / name, missing);
      const std::uint64_t size = isPlain ? fs::file_size(path_ / name, missing) : 0;
      if (isPlain && !missing) files.push_back({name, size});
    }
    if (error) failure = {error, path_.string() + ": " + error.message()};
    return files;
  }

  std::unique_ptr<SourceFile> Open(const std::string& name, std::error_code& error) override {
    Descriptor file = OpenFile(path_ / name, O_RDONLY | O_NONBLOCK);
    if (!file.IsOpen()) error = LastSystemError();
    return std::make_unique<PosixFile>(std::move(file));
  }

  std::string PathOf(const std::string& name) const override { return path_ / name; }

  std::string Words(const std::string& name, const std::error_code& error) const override {
    return PathOf(name) + ": " + error.message();
  }

 private:
  const fs::path path_;
};

class PosixShell final : public Shell {
 public:
  PosixShell(const PathMap& paths, const CodePage& ansi, FetchObserver onFetch)
      : paths_(paths), ansi_(ansi), counter_(std::move(onFetch)) {}

  bool Exists(const std::string& path) override {
    std::error_code error;
    const std::string linuxPath = paths_.ToLinux(path, error);
    return !error && fs::exists(OrCurrent(linuxPath), error);
  }

  ShareResult ReadFirstLine(const std::string& path, std::size_t limit,
                            std::string& line) override {
    std::error_code error;
    const std::string linuxPath = paths_.ToLinux(path, error);
    if (error) return Failure(path, linuxPath, error);
    Descriptor opened = OpenFile(linuxPath, O_RDONLY | O_NONBLOCK);
    if (!opened.IsOpen()) return Failure(path, linuxPath, LastSystemError());
    PosixFile file(std::move(opened));
    std::string bytes(limit, '\0');
    std::size_t length = 0;
    for (std::size_t got = 1; got > 0 && length < limit; length += got)
      got = file.Read(bytes.data() + length, limit - length, error);
    if (error) return Failure(path, linuxPath, error);
    bytes.resize(length);
    return FirstLineOf(path, bytes, ansi_, line);
  }

  ShareResult ReplaceText(const std::string& path, std::string_view text) override {
    std::error_code error;
    const std::string linuxPath = paths_.ToLinux(path, error);
    const std::string bytes = ansi_.Encode(text);
    if (!error) error = ReplaceOrOverwriteFile(linuxPath, bytes, kNewFileMode);
    return error ? Failure(path, linuxPath, error) : ShareResult();
  }

  int SHFileOperationA(const FileOperation& operation) override {
    copyFailure_ = CopyAll(operation);
    return NumberOf(copyFailure_.error);
  }

  std::string CopyFailure() const override { return copyFailure_.words; }

 private:
  FileFailure CopyAll(const FileOperation& operation) {
    const std::string source = DirectoryOfAllFiles(operation.from);
    std::error_code error;
    PosixDirectory from(OrCurrent(paths_.ToLinux(source, error)));
    if (error) return {error, source + ": " + error.message()};
    const std::string to = paths_.ToLinux(operation.to, error);
    if (error) return {error, operation.to + ": " + error.message()};
    return CopyFiles(from, to, counter_);
  }

  /// Nothing in front of a file's name is the current directory.
  static std::string OrCurrent(const std::string& linuxPath) {
    return linuxPath.empty() ? "." : linuxPath;
  }

  static ShareResult Failure(const std::string& path, const std::string& linuxPath,
                             const std::error_code& error) {
    const std::string description = path + ": " + error.message();
    if (linuxPath.empty()) return {ShareError::PathNotFound, description};
    std::error_code ignored;
    const bool hasDirectory =
        fs::is_directory(OrCurrent(fs::path(linuxPath).parent_path()), ignored);
    return {ShareErrorOf(error, hasDirectory), description};
  }

  const PathMap paths_;
  const CodePage& ansi_;
  FetchCounter counter_;
  FileFailure copyFailure_;
};

}  // namespace

std::unique_ptr<Shell> NewPosixShell(const PathMap& paths, const CodePages& codePages,
                                     FetchObserver onFetch) {
  return std::make_unique<PosixShell>(paths, codePages.Ansi(), std::move(onFetch));
}

}  // namespace torvik
