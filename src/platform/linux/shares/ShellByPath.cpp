#include "platform/linux/shares/ShellByPath.h"

#include <cerrno>

#include "platform/linux/shares/PosixShell.h"
#include "platform/linux/shares/SmbShell.h"

namespace torvik {
namespace {

class ShellByPath final : public Shell {
 public:
  ShellByPath(const Settings& settings, const PathMap& paths, const CodePages& codePages,
              const std::string& readerProgram, const FetchObserver& onFetch)
      : paths_(paths),
        posix_(NewPosixShell(paths, codePages, onFetch)),
        smb_(NewSmbShell(settings, paths, codePages, readerProgram, onFetch)) {}

  bool Exists(const std::string& path) override { return For(path).Exists(path); }

  ShareResult ReadFirstLine(const std::string& path, std::size_t limit,
                            std::string& line) override {
    return For(path).ReadFirstLine(path, limit, line);
  }

  ShareResult ReplaceText(const std::string& path, std::string_view text) override {
    return For(path).ReplaceText(path, text);
  }

  int SHFileOperationA(const FileOperation& operation) override {
    if (paths_.IsUnmappedShare(operation.to)) {
      copyFailure_ = operation.to +
                     ": files are not copied to a share over SMB; name a local directory, or map "
                     "the share to one in [paths] of torvik.conf";
      return ENOTSUP;
    }
    Shell& shell = For(operation.from);
    const int number = shell.SHFileOperationA(operation);
    copyFailure_ = shell.CopyFailure();
    return number;
  }

  std::string CopyFailure() const override { return copyFailure_; }

 private:
  Shell& For(const std::string& path) const {
    return paths_.IsUnmappedShare(path) ? *smb_ : *posix_;
  }

  const PathMap paths_;
  const std::unique_ptr<Shell> posix_;
  const std::unique_ptr<Shell> smb_;
  std::string copyFailure_;
};

}  // namespace

std::unique_ptr<Shell> NewShellByPath(const Settings& settings, const PathMap& paths,
                                      const CodePages& codePages, const std::string& readerProgram,
                                      const FetchObserver& onFetch) {
  return std::make_unique<ShellByPath>(settings, paths, codePages, readerProgram, onFetch);
}

}  // namespace torvik
