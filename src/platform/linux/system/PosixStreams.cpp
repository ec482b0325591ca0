#include "platform/linux/system/PosixStreams.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <utility>
#include <vector>

#include "platform/linux/system/PipeWait.h"
#include "platform/linux/system/ReplaceFile.h"
#include "platform/linux/text/FileProblem.h"

namespace torvik {
namespace {

constexpr std::size_t kCopyBytes = std::size_t{256} << 10;

class PosixReader final : public FileReader {
 public:
  explicit PosixReader(Descriptor file) : file_(std::move(file)) {
    struct stat status {};
    isPlain_ = fstat(file_.Number(), &status) == 0 && S_ISREG(status.st_mode);
    if (isPlain_) posix_fadvise(file_.Number(), 0, 0, POSIX_FADV_SEQUENTIAL);
  }

  void EndOn(const std::atomic<bool>* cancelled) override { patience_.cancelled = cancelled; }

  std::size_t Read(char* buffer, std::size_t capacity, std::error_code& error) override {
    ssize_t got = 0;
    do {
      if (!isPlain_ && (error = WaitForPipe(file_.Number(), POLLIN, patience_))) return 0;
      got = read(file_.Number(), buffer, capacity);
    } while (got < 0 && (errno == EINTR || errno == EAGAIN));
    error = got < 0 ? LastSystemError() : std::error_code();
    if (got == 0 && HasShrunk()) error = make_error_code(FileProblem::Shrank);
    if (got <= 0) return 0;
    position_ += static_cast<std::uint64_t>(got);
    return static_cast<std::size_t>(got);
  }

 private:
  bool HasShrunk() const {
    struct stat now {};
    return fstat(file_.Number(), &now) == 0 && S_ISREG(now.st_mode) &&
           static_cast<std::uint64_t>(now.st_size) < position_;
  }

  Descriptor file_;
  bool isPlain_ = true;
  Patience patience_;
  std::uint64_t position_ = 0;
};

class ReplacingWriter final : public FileWriter {
 public:
  std::error_code Open(const std::string& path, bool append, mode_t newFileMode) {
    if (const auto error = replacement_.Open(path, newFileMode)) return error;
    return append ? CopyOld() : std::error_code();
  }

  std::error_code Write(std::string_view bytes) override { return replacement_.Write(bytes); }
  std::error_code Commit() override { return replacement_.Commit(); }
  void EndOn(const std::atomic<bool>*) override {}  // a plain file has no reader to wait for

 private:
  std::error_code CopyOld() {
    Descriptor old = OpenFile(replacement_.Target(), O_RDONLY);
    if (!old.IsOpen()) return errno == ENOENT ? std::error_code() : LastSystemError();
    PosixReader reader(std::move(old));
    std::vector<char> buffer(kCopyBytes);
    for (std::error_code error;;) {
      const std::size_t got = reader.Read(buffer.data(), buffer.size(), error);
      if (error || got == 0) return error;
      if ((error = Write({buffer.data(), got}))) return error;
    }
  }

  FileReplacement replacement_;
};

/// For a pipe or a device, which no file can take the place of.
class DirectWriter final : public FileWriter {
 public:
  /// Without waiting for a reader.
  std::error_code Open(const std::string& path) {
    path_ = path;
    std::error_code error;
    file_ = OpenToWrite(path_, O_WRONLY, 0, {.atMost = std::chrono::milliseconds(0)}, error);
    return error == std::errc::no_such_device_or_address ? std::error_code() : error;
  }

  void EndOn(const std::atomic<bool>* cancelled) override { patience_.cancelled = cancelled; }

  std::error_code Write(std::string_view bytes) override {
    if (const auto error = WaitForReader()) return error;
    return WritePatiently(file_.Number(), bytes, patience_);
  }

  std::error_code Commit() override {
    if (const auto error = WaitForReader()) return error;
    return file_.Close();
  }

 private:
  std::error_code WaitForReader() {
    std::error_code error;
    if (!file_.IsOpen()) file_ = OpenToWrite(path_, O_WRONLY, 0, patience_, error);
    return error;
  }

  std::string path_;
  Descriptor file_;
  Patience patience_;
};

}  // namespace

std::unique_ptr<FileReader> NewPosixReader(Descriptor file) {
  return std::make_unique<PosixReader>(std::move(file));
}

std::unique_ptr<FileWriter> NewPosixWriter(const std::string& path, bool append, mode_t newFileMode,
                                           std::error_code& error) {
  struct stat status {};
  if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
    auto direct = std::make_unique<DirectWriter>();
    error = direct->Open(path);
    if (error) return nullptr;
    return direct;
  }
  auto writer = std::make_unique<ReplacingWriter>();
  error = writer->Open(path, append, newFileMode);
  if (error) return nullptr;
  return writer;
}

}  // namespace torvik
