#include "admin/runs/StatusCopy.h"

#include "admin/common/Secrets.h"
#include "platform/Files.h"
#include "platform/PlatformError.h"

namespace torvik::admin {

StatusCopy::StatusCopy(Files& files, std::string path) : files_(files), path_(std::move(path)) {
  if (path_.empty()) return;
  if (const std::error_code error = files_.ReplaceText(path_, "running\r\n"))
    throw PlatformError(
        error.value(),
        path_ + ": the status file cannot be written: " + error.message() + "; nothing was run",
        "run");
}

void StatusCopy::Leave(const std::string& word) {
  if (path_.empty()) return;
  const std::error_code error =
      word.empty() ? files_.Remove(path_) : files_.ReplaceText(path_, word + "\r\n");
  if (error) Warn(path_ + ": the status file cannot be written: " + error.message());
}

}  // namespace torvik::admin
