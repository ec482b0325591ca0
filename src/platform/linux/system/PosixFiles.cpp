#include "platform/linux/system/PosixFiles.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "platform/CodePage.h"
#include "platform/linux/gzip/GzipFile.h"
#include "platform/linux/system/DirectoryEntries.h"
#include "platform/linux/system/MoveFile.h"
#include "platform/linux/system/PathOwners.h"
#include "platform/linux/system/PipeWait.h"
#include "platform/linux/system/Posix.h"
#include "platform/linux/system/PosixStreams.h"
#include "platform/linux/system/ReplaceFile.h"
#include "platform/linux/system/SpareDescriptors.h"

namespace torvik {
namespace {

constexpr mode_t kNewFileMode = 0644;

std::error_code StatusOf(const std::string& path, struct stat& status) {
  return stat(path.c_str(), &status) == 0 ? std::error_code() : LastSystemError();
}

/// False for what has gone, and for a link, which may lead nowhere.
bool IsThereItself(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 && !S_ISLNK(status.st_mode);
}

class PosixFiles final : public Files {
 public:
  PosixFiles(const PathMap& paths, const CodePage& ansi, std::string temporaryDirectory)
      : paths_(paths), ansi_(ansi), temporaryDirectory_(std::move(temporaryDirectory)) {
    if (temporaryDirectory_.empty() || temporaryDirectory_.back() != '/') {
      temporaryDirectory_ += '/';
    }
  }

  std::error_code Size(const std::string& path, std::uint64_t& bytes) override {
    std::error_code error;
    struct stat status {};
    const std::string linuxPath = paths_.ToLinux(path, error);
    if (error || (error = StatusOf(linuxPath, status)) || (error = MustBePlain(status))) {
      return error;
    }
    bytes = static_cast<std::uint64_t>(status.st_size);
    return {};
  }

  std::error_code Status(const std::string& path, FileStatus& status) override {
    std::error_code error;
    struct stat found {};
    const std::string linuxPath = paths_.ToLinux(path, error);
    if (error || (error = StatusOf(linuxPath, found)) || (error = MustBePlain(found))) return error;
    status = {static_cast<std::uint64_t>(found.st_size),
              found.st_mtim.tv_sec * std::int64_t{1000000000} + found.st_mtim.tv_nsec};
    return {};
  }

  std::error_code CheckReadable(const std::string& path) override {
    std::error_code error;
    OpenPlain(path, error);
    return error;
  }

  std::unique_ptr<FileReader> OpenRead(const std::string& path, std::error_code& error) override {
    const std::string linuxPath = paths_.ToLinux(path, error);
    if (error) return nullptr;
    struct stat status {};
    const bool isPlain = StatusOf(linuxPath, status) || S_ISREG(status.st_mode);
    // A pipe is opened without its writer; the first read waits for him.
    Descriptor file = OpenFile(linuxPath, O_RDONLY | (isPlain ? 0 : O_NONBLOCK));
    if (!file.IsOpen()) {
      error = LastSystemError();
      return nullptr;
    }
    return NewPosixReader(std::move(file));
  }

  std::unique_ptr<FileReader> OpenUnpacked(const std::string& path, Compression compression,
                                           std::error_code& error) override {
    auto file = OpenRead(path, error);
    if (!file || compression == Compression::None) return file;
    return NewGzipReader(std::move(file), compression);
  }

  std::unique_ptr<FileWriter> OpenWrite(const std::string& path, bool append,
                                        Compression compression, std::error_code& error) override {
    const std::string linuxPath = paths_.ToLinux(path, error);
    if (error) return nullptr;
    auto file = NewPosixWriter(linuxPath, append, kNewFileMode, error);
    const bool packs = compression == Compression::Gzip ||
                       (compression == Compression::Auto && path.ends_with(".gz"));
    return file && packs ? NewGzipWriter(std::move(file), error) : std::move(file);
  }

  std::error_code AppendText(const std::string& path, std::string_view text) override {
    return AppendBytes(path, ansi_.Encode(text));
  }
  std::error_code AppendBytes(const std::string& path, std::string_view bytes) override {
    std::error_code error;
    const std::string linuxPath = paths_.ToLinux(path, error);
    return error ? error : spares_.Try([&] { return Append(linuxPath, bytes); });
  }

  std::error_code ReplaceText(const std::string& path, std::string_view text) override {
    return ReplaceBytes(path, ansi_.Encode(text));
  }
  std::error_code ReplaceBytes(const std::string& path, std::string_view bytes) override {
    std::error_code error;
    const std::string linuxPath = paths_.ToLinux(path, error);
    if (error) return error;
    return spares_.Try([&] { return ReplaceOrOverwriteFile(linuxPath, bytes, kNewFileMode); });
  }

  std::error_code LetAllRead(const std::string& path) override {
    std::error_code error;
    const std::string linuxPath = paths_.ToLinux(path, error);
    struct stat status {};
    if (error || StatusOf(linuxPath, status)) return error ? error : LastSystemError();
    const mode_t mode = status.st_mode & 07777, wanted = mode | 0444;
    if (mode == wanted || chmod(linuxPath.c_str(), wanted) == 0) return {};
    return LastSystemError();
  }

  std::error_code Copy(const std::string& from, const std::string& to) override {
    return spares_.Try([&] {
      std::error_code error;
      const Descriptor source = OpenPlain(from, error);
      if (error || IsSameFile(from, to)) return error;  // opening it for writing would empty it
      return CopyInto(source, to, O_TRUNC);
    });
  }

  std::error_code CopyWhole(const std::string& from, const std::string& to,
                            bool overwrite) override {
    return WithBoth(from, to, [&](const std::string& linuxFrom, const std::string& linuxTo) {
      return CopyWholeFile(linuxFrom, linuxTo, overwrite);
    });
  }

  std::error_code Move(const std::string& from, const std::string& to, bool overwrite) override {
    return WithBoth(from, to, [&](const std::string& linuxFrom, const std::string& linuxTo) {
      return MoveFile(linuxFrom, linuxTo, overwrite);
    });
  }

  std::error_code AppendFile(const std::string& from, const std::string& to) override {
    return spares_.Try([&] {
      std::error_code error;
      const Descriptor source = OpenPlain(from, error);
      if (error) return error;
      // What is read would never end.
      if (IsSameFile(from, to)) return std::make_error_code(std::errc::invalid_argument);
      return CopyInto(source, to, O_APPEND);
    });
  }

  std::error_code Remove(const std::string& path) override {
    std::error_code error;
    const std::string linuxPath = paths_.ToLinux(path, error);
    if (error) return error;
    return unlink(linuxPath.c_str()) == 0 ? std::error_code() : LastSystemError();
  }

  std::error_code MakeDirectory(const std::string& path) override {
    std::error_code error;
    const std::string linuxPath = paths_.ToLinux(path, error);
    if (!error) std::filesystem::create_directories(linuxPath, error);
    return error;
  }

  std::error_code ListFiles(const std::string& directory,
                            std::vector<std::string>& names) override {
    return List(directory, S_IFREG, names);
  }

  std::error_code ListDirectories(const std::string& directory,
                                  std::vector<std::string>& names) override {
    return List(directory, S_IFDIR, names);
  }

  std::string FullPath(const std::string& path) override {
    const bool hasDrive = path.size() > 1 && path[1] == ':';
    if (path.empty() || hasDrive || path[0] == '/' || path[0] == '\\') return path;
    std::error_code error;
    const std::filesystem::path here = std::filesystem::current_path(error);
    return error ? path : (here / path).string();
  }

  bool IsSameFile(const std::string& a, const std::string& b) override {
    std::error_code error;
    struct stat statusOfA {};
    struct stat statusOfB {};
    const std::string linuxA = paths_.ToLinux(a, error);
    if (error || StatusOf(linuxA, statusOfA)) return false;
    const std::string linuxB = paths_.ToLinux(b, error);
    if (error || StatusOf(linuxB, statusOfB)) return false;
    return statusOfA.st_dev == statusOfB.st_dev && statusOfA.st_ino == statusOfB.st_ino;
  }

  bool IsRoot(const std::string& directory) override {
    if (paths_.IsRoot(directory)) return true;
    std::error_code error;
    const std::string linuxPath = paths_.ToLinux(directory, error);
    if (error) return false;
    return paths_.IsRoot(std::filesystem::weakly_canonical(linuxPath, error).string());
  }

  std::string ForeignOwner(const std::string& path) override {
    std::error_code error;
    const std::string linuxPath = paths_.ToLinux(path, error);
    return error ? std::string() : torvik::ForeignOwner(linuxPath, paths_.MappedDirectory(path));
  }

  std::error_code Sync(const std::string& path) override {
    std::error_code error;
    const Descriptor file = OpenPlain(path, error);
    if (error) return error;
    return fsync(file.Number()) == 0 ? std::error_code() : LastSystemError();
  }

  std::string TempDirectory() override {
    MakePrivateDirectory(temporaryDirectory_);  // without it, the use of a path in it says why
    return temporaryDirectory_;
  }

 private:
  /// `type`: of st_mode.
  std::error_code List(const std::string& directory, mode_t type, std::vector<std::string>& names) {
    names.clear();
    std::error_code error;
    const std::string linuxPath = paths_.ToLinux(directory, error);
    if (error) return error;
    for (const std::string& name : DirectoryEntries(linuxPath, error)) {
      // A '\' in a name would be taken for a separator: such a file cannot be told by a path.
      if (name.find('\\') != std::string::npos) continue;
      const std::string entry = linuxPath + "/" + name;
      struct stat status {};
      const auto failure = StatusOf(entry, status);
      if (!failure && (status.st_mode & S_IFMT) == type) names.push_back(name);
      if (failure && !error && IsThereItself(entry)) error = failure;
    }
    return error;
  }

  static std::error_code Append(const std::string& path, std::string_view bytes) {
    const Patience patience = Patience::ForAWord();
    std::error_code error;
    Descriptor file =
        OpenToWrite(path, O_WRONLY | O_APPEND | O_CREAT, kNewFileMode, patience, error);
    if (error || (error = WritePatiently(file.Number(), bytes, patience))) return error;
    return file.Close();
  }

  template <typename Action>
  std::error_code WithBoth(const std::string& from, const std::string& to, const Action& action) {
    std::error_code error;
    const std::string linuxFrom = paths_.ToLinux(from, error);
    if (error) return error;
    const std::string linuxTo = paths_.ToLinux(to, error);
    return error ? error : action(linuxFrom, linuxTo);
  }

  /// Opens a plain file for reading; does not wait for the writer of a pipe.
  Descriptor OpenPlain(const std::string& path, std::error_code& error) {
    const std::string linuxPath = paths_.ToLinux(path, error);
    if (error) return Descriptor();
    Descriptor file = OpenFile(linuxPath, O_RDONLY | O_NONBLOCK);
    struct stat status {};
    const bool isThere = file.IsOpen() && fstat(file.Number(), &status) == 0;
    error = isThere ? MustBePlain(status) : LastSystemError();
    return file;
  }

  std::error_code CopyInto(const Descriptor& source, const std::string& to, int flags) {
    std::error_code error;
    struct stat status {};
    if (fstat(source.Number(), &status) != 0) return LastSystemError();
    const std::string linuxTo = paths_.ToLinux(to, error);
    if (error) return error;
    const Patience patience = Patience::ForAWord();
    Descriptor file =
        OpenToWrite(linuxTo, O_WRONLY | O_CREAT | flags, status.st_mode & 0777, patience, error);
    if (error || (error = CopyBytes(source.Number(), [&](auto bytes) {
                    return WritePatiently(file.Number(), bytes, patience);
                  })))
      return error;
    return file.Close();
  }

  const PathMap paths_;
  const CodePage& ansi_;
  std::string temporaryDirectory_;
  SpareDescriptors spares_;
};

}  // namespace

std::unique_ptr<Files> NewPosixFiles(const PathMap& paths, const CodePages& codePages,
                                     std::string temporaryDirectory) {
  return std::make_unique<PosixFiles>(paths, codePages.Ansi(), std::move(temporaryDirectory));
}

}  // namespace torvik
