#include "platform/linux/shares/SmbShell.h"

#include "platform/linux/shares/ShareDirectory.h"
#include "platform/linux/shares/ShellFiles.h"
#include "platform/linux/shares/SmbServers.h"
#include "platform/linux/system/CopyFiles.h"
#include "platform/linux/system/FetchCounter.h"

namespace torvik {
namespace {

/// Up to `limit` bytes of the beginning of a file.
std::error_code ReadBeginning(SmbSession& session, const UncPath& path, std::size_t limit,
                              std::string& bytes) {
  std::error_code error;
  const auto file = session.OpenToRead(path.InServer(), error);
  if (error) return error;
  bytes.resize(limit);
  bytes.resize(file->Read(bytes.data(), limit, error));
  return error;
}

std::error_code WriteWhole(SmbSession& session, const UncPath& path, const std::string& bytes) {
  std::error_code error;
  const auto file = session.OpenToReplace(path.InServer(), error);
  if (!error) error = file->Write(bytes);
  return error ? error : file->Close();
}

class SmbShell final : public Shell {
 public:
  SmbShell(const Settings& settings, const PathMap& paths, const CodePage& ansi,
           const std::string& readerProgram, FetchObserver onFetch)
      : servers_(settings),
        paths_(paths),
        ansi_(ansi),
        readerProgram_(readerProgram),
        counter_(std::move(onFetch)) {}

  bool Exists(const std::string& path) override {
    bool isDirectory = false;
    return !Do(path, [&](SmbSession& session, const UncPath& place) {
              return session.Stat(place.InServer(), isDirectory);
            }).error;
  }

  ShareResult ReadFirstLine(const std::string& path, std::size_t limit,
                            std::string& line) override {
    std::string bytes;
    const FileFailure failure = Do(path, [&](SmbSession& session, const UncPath& place) {
      return ReadBeginning(session, place, limit, bytes);
    });
    return failure.error ? Result(path, failure) : FirstLineOf(path, bytes, ansi_, line);
  }

  ShareResult ReplaceText(const std::string& path, std::string_view text) override {
    const std::string bytes = ansi_.Encode(text);
    return Result(path, Do(path, [&](SmbSession& session, const UncPath& place) {
                    return WriteWhole(session, place, bytes);
                  }));
  }

  int SHFileOperationA(const FileOperation& operation) override {
    copyFailure_ = CopyAll(operation);
    return NumberOf(copyFailure_.error);
  }

  std::string CopyFailure() const override { return copyFailure_.words; }

 private:
  FileFailure Do(const std::string& path,
                 const std::function<std::error_code(SmbSession&, const UncPath&)>& work) {
    const auto place = ParseUncPath(path);
    if (!place) return NoShare(path);
    return servers_.Do(*place, [&](SmbSession& session) { return work(session, *place); });
  }

  static FileFailure NoShare(const std::string& path) {
    return {std::make_error_code(std::errc::invalid_argument),
            path + R"(: this is no path on a share, which begins \\SERVER\SHARE)"};
  }

  FileFailure CopyAll(const FileOperation& operation) {
    const std::string source = DirectoryOfAllFiles(operation.from);
    const auto from = ParseUncPath(source);
    if (!from) return NoShare(source);
    std::error_code error;
    const std::string to = paths_.ToLinux(operation.to, error);
    if (error) return {error, operation.to + ": " + error.message()};
    ShareDirectory directory(servers_, *from, readerProgram_);
    return CopyFiles(directory, to, counter_);
  }

  ShareResult Result(const std::string& path, const FileFailure& failure) {
    const bool hasDirectory =
        IsMissing(failure.error) && IsDirectory(ParseUncPath(path)->Directory());
    return {ShareErrorOf(failure.error, hasDirectory), failure.words};
  }

  bool IsDirectory(const UncPath& place) {
    bool isDirectory = false;
    const FileFailure failure = servers_.Do(
        place, [&](SmbSession& session) { return session.Stat(place.InServer(), isDirectory); });
    return !failure.error && isDirectory;
  }

  SmbServers servers_;
  const PathMap paths_;
  const CodePage& ansi_;
  const std::string readerProgram_;
  FetchCounter counter_;
  FileFailure copyFailure_;
};

}  // namespace

std::unique_ptr<Shell> NewSmbShell(const Settings& settings, const PathMap& paths,
                                   const CodePages& codePages, const std::string& readerProgram,
                                   FetchObserver onFetch) {
  return std::make_unique<SmbShell>(settings, paths, codePages.Ansi(), readerProgram,
                                    std::move(onFetch));
}

}  // namespace torvik
