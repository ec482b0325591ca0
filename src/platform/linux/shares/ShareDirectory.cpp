#include "platform/linux/shares/ShareDirectory.h"

#include <utility>

namespace torvik {
namespace {

/// With fewer small files the readers would hardly be ready before all have come.
constexpr std::size_t kWorthReaders = 50;

/// A file that a reader has brought.
class FileInMemory final : public SourceFile {
 public:
  explicit FileInMemory(std::string bytes) : bytes_(std::move(bytes)) {}

  std::size_t Read(char* buffer, std::size_t capacity, std::error_code&) override {
    const std::size_t got = bytes_.copy(buffer, capacity, read_);
    read_ += got;
    return got;
  }

  std::uint64_t Size(std::error_code&) override { return bytes_.size(); }

 private:
  const std::string bytes_;
  std::size_t read_ = 0;
};

}  // namespace

ShareDirectory::ShareDirectory(SmbServers& servers, UncPath path, std::string readerProgram)
    : servers_(servers), path_(std::move(path)), readerProgram_(std::move(readerProgram)) {}

std::vector<SourceDirectory::Entry> ShareDirectory::List(FileFailure& failure) {
  std::vector<Entry> files;
  failure = servers_.Do(path_, [&](SmbSession& session) {
    files.clear();
    session_ = &session;
    return session.List(path_.InServer(), files);
  });
  if (!failure.error) StartReaders(files);
  return files;
}

void ShareDirectory::StartReaders(const std::vector<Entry>& files) {
  std::vector<ReaderFile> small;
  for (const Entry& file : files)
    if (file.size <= kLargestReadFile)
      small.push_back({path_.Below(file.name).InServer(), file.size});
  if (small.size() >= kWorthReaders && !readerProgram_.empty())
    readers_.emplace(readerProgram_, servers_.LogonOf(path_), std::move(small));
}

std::unique_ptr<SourceFile> ShareDirectory::Open(const std::string& name, std::error_code& error) {
  const std::string path = path_.Below(name).InServer();
  auto bytes = readers_ ? readers_->Take(path) : std::nullopt;
  if (bytes) return std::make_unique<FileInMemory>(std::move(*bytes));
  return session_->OpenToRead(path, error);
}

/// A server that does not want several connections may have ended this one: it is used alone.
bool ShareDirectory::HasAnotherWay() {
  if (!readers_ || !servers_.HasBroken(path_)) return false;
  readers_.reset();
  const FileFailure failure = servers_.Do(path_, [&](SmbSession& session) {
    session_ = &session;
    return std::error_code();
  });
  return !failure.error;
}

std::string ShareDirectory::PathOf(const std::string& name) const {
  return path_.Below(name).Text();
}

std::string ShareDirectory::Words(const std::string& name, const std::error_code& error) const {
  return servers_.Words(path_.Below(name), error);
}

}  // namespace torvik
