#include "package/ErrLogging.h"

#include "config/FileUtils.h"
#include "config/LogDirectory.h"
#include "platform/Files.h"
#include "platform/Messages.h"

namespace torvik {
namespace {

bool EndsInSeparator(const std::string& path) {
  return !path.empty() && (path.back() == '\\' || path.back() == '/');
}

bool IsMissing(const std::error_code& error) {
  return error == std::errc::no_such_file_or_directory;
}

constexpr char kEarlierLogs[] = "; lines of an earlier run may stand among this one's";

}  // namespace

void MakeDirectory(Files& files, const std::string& path) {
  files.MakeDirectory(path);
}

std::string ErrLogging::PrepareLogDirectory(const std::string& packageName,
                                            const std::string& logDir,
                                            const std::string& exceptionFile, bool truncate) {
  problems_.clear();
  isUsed_ = false;
  if (truncate) Delete(exceptionFile);
  packageName_ = packageName;
  exceptionFile_ = exceptionFile;
  logDir_ = logDir;
  if (files_.IsRoot(logDir)) {
    // Emptying it would take the system's files.
    messages_.Report("the log directory is \"" + logDir +
                     "\", which is no directory of the job's own: nothing is removed from it, and "
                     "no log is gathered there; name another one with LogFileDir");
    return {};
  }
  if (std::string reason = WhyUnusable(files_, logDir); !reason.empty()) return reason;
  isUsed_ = true;
  MakeDirectory(files_, logDir);
  std::vector<std::string> names;
  if (const auto error = files_.ListFiles(logDir, names); error && !IsMissing(error))
    problems_.push_back("cannot empty the log directory " + logDir + ": " + error.message() +
                        kEarlierLogs);
  for (const std::string& name : names) Delete(InLogDirectory(name));
  return {};
}

void ErrLogging::Delete(const std::string& path) {
  const auto error = files_.Remove(path);
  if (!error || IsMissing(error)) return;
  problems_.push_back("cannot delete " + path + ": " + error.message() + kEarlierLogs);
}

void ErrLogging::CollectRunLogs() {
  if (!isUsed_) return;
  const std::string combined = packageName_ + ".log";
  // Listed before the copy is made, so that the exception file is not appended to itself.
  const std::vector<std::string> others = OtherLogs(combined);
  KeepExceptionFile();
  Gather(combined);
  for (const std::string& name : others) Gather(name);
}

void ErrLogging::Gather(const std::string& name) {
  const std::string log = InLogDirectory(name);
  const auto error = files_.AppendFile(log, exceptionFile_);
  // Not every package leaves a log of its own.
  if (!error || IsMissing(error)) return;
  problems_.push_back("cannot append " + log + " to " + exceptionFile_ + ": " + error.message());
}

void ErrLogging::KeepExceptionFile() {
  if (!FileExists(files_, exceptionFile_)) return;
  std::string copy = InLogDirectory(FileNameOf(exceptionFile_));
  if (files_.IsSameFile(copy, exceptionFile_)) return;
  while (FileExists(files_, copy)) copy += ".former";
  if (const auto error = files_.Copy(exceptionFile_, copy))
    problems_.push_back("cannot copy " + exceptionFile_ + " to " + copy + ": " + error.message());
}

std::string ErrLogging::InLogDirectory(const std::string& name) const {
  return (EndsInSeparator(logDir_) ? logDir_ : logDir_ + "\\") + name;
}

std::vector<std::string> ErrLogging::OtherLogs(const std::string& combined) {
  std::vector<std::string> others;
  // The directory's text as it stands is the pattern: without its separator it matches no file.
  if (!EndsInSeparator(logDir_)) return others;
  std::vector<std::string> names;
  if (const auto error = files_.ListFiles(logDir_, names))
    problems_.push_back("cannot list the logs in " + logDir_ + ": " + error.message());
  for (const std::string& name : names) {
    const bool isExceptionFile = files_.IsSameFile(InLogDirectory(name), exceptionFile_);
    if (name != combined && !isExceptionFile) others.push_back(name);
  }
  return others;
}

}  // namespace torvik
