#pragma once

#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace torvik {
class CodePage;
class Files;
}  // namespace torvik

namespace torvik::script {

/// The files that scripts may use: those below the directories that the host names, in the host's
/// spelling of them. Paths must be absolute; "." and ".." are taken out before they are compared.
/// Links in those directories are followed, so their owner decides where they lead.
class FileAccess {
 public:
  /// `codePage`: of text files on disk. Both must outlive this.
  FileAccess(Files& files, const CodePage& codePage, const std::vector<std::string>& directories);

  Files& AllFiles() const { return files_; }
  const CodePage& TextEncoding() const { return codePage_; }

  /// The path with its "." and ".." taken out. Throws Permission denied outside the directories.
  std::string Allowed(const std::string& path) const;

  bool FileExists(const std::string& path) const;
  bool FolderExists(const std::string& path) const;

 private:
  Files& files_;
  const CodePage& codePage_;
  std::vector<std::string> directories_;  ///< As comparable text, with '/' at their end.
};

/// Throws the language's error for a file that cannot be used, with the path and the reason.
void ThrowIfFailed(const std::error_code& error, const std::string& path);

/// Parts of a path of either spelling, as the language cuts it.
std::string_view FileNameOf(std::string_view path);
std::string_view ParentFolderOf(std::string_view path);
std::string JoinedPath(std::string_view folder, std::string_view name);

}  // namespace torvik::script
