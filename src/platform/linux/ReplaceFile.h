#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <string_view>
#include <system_error>

namespace torvik {

/// Makes `bytes` the whole content of the file: written beside it, brought to disk and renamed over
/// it. A symbolic link stays and its target is replaced; the mode, and for root the owner, are
/// kept; a new file gets `newFileMode` less the umask. A file that the user may not write is
/// refused. On failure the file is as it was and nothing is left beside it.
std::error_code ReplaceFile(const std::string& path, std::string_view bytes, mode_t newFileMode);

/// The same for a file that is written piece by piece: until Commit, and without it, the file stays
/// as it was.
class FileReplacement {
 public:
  FileReplacement();
  ~FileReplacement();
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;

  std::error_code Open(const std::string& path, mode_t newFileMode);
  std::error_code Write(std::string_view bytes);
  std::error_code Commit();

 private:
  class Beside;
  std::string target_;
  std::unique_ptr<Beside> beside_;
};

/// ReplaceFile by writing over the file's bytes: for directories that allow no second file and for
/// what is not a plain file. A failure may leave part of the new text.
std::error_code OverwriteFile(const std::string& path, std::string_view bytes, mode_t newFileMode);

}  // namespace torvik
