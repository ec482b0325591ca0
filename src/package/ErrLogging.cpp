#include "package/ErrLogging.h"

#include "config/FileUtils.h"
#include "platform/Files.h"

namespace torvik {
namespace {

bool EndsInSeparator(const std::string& path) {
  return !path.empty() && (path.back() == '\\' || path.back() == '/');
}

/// A root directory is never a log directory: emptying it would take the system's files.
bool IsRoot(const std::string& path) {
  return path.find_first_not_of("\\/") == std::string::npos;
}

}  // namespace

void MakeDirectory(Files& files, const std::string& path) {
  files.MakeDirectory(path);
}

void ErrLogging::PrepareLogDirectory(const std::string& packageName, const std::string& logDir,
                                     const std::string& exceptionFile, bool truncate) {
  if (truncate) files_.Remove(exceptionFile);
  packageName_ = packageName;
  exceptionFile_ = exceptionFile;
  logDir_ = logDir;
  if (IsRoot(logDir)) return;
  MakeDirectory(files_, logDir);
  std::vector<std::string> names;
  files_.ListFiles(logDir, names);
  for (const std::string& name : names) files_.Remove(InLogDirectory(name));
}

void ErrLogging::CollectRunLogs() {
  const std::string combined = packageName_ + ".log";
  // Listed before the copy is made, so that the exception file is not appended to itself.
  const std::vector<std::string> others = OtherLogs(combined);
  std::uint64_t size = 0;
  if (!files_.Size(exceptionFile_, size) && !IsRoot(logDir_)) {
    files_.Copy(exceptionFile_, InLogDirectory(FileNameOf(exceptionFile_)));
  }
  files_.AppendFile(InLogDirectory(combined), exceptionFile_);
  for (const std::string& name : others) files_.AppendFile(InLogDirectory(name), exceptionFile_);
}

std::string ErrLogging::InLogDirectory(const std::string& name) const {
  return (EndsInSeparator(logDir_) ? logDir_ : logDir_ + "\\") + name;
}

std::vector<std::string> ErrLogging::OtherLogs(const std::string& combined) const {
  std::vector<std::string> others;
  // The directory's text as it stands is the pattern: without its separator it matches no file.
  if (!EndsInSeparator(logDir_) || IsRoot(logDir_)) return others;
  std::vector<std::string> names;
  files_.ListFiles(logDir_, names);
  for (const std::string& name : names) {
    const bool isExceptionFile = files_.IsSameFile(InLogDirectory(name), exceptionFile_);
    if (name != combined && !isExceptionFile) others.push_back(name);
  }
  return others;
}

}  // namespace torvik
