#include "config/LogDirectory.h"

#include <algorithm>
#include <ctime>

#include "config/FileUtils.h"
#include "platform/Files.h"

namespace torvik {
namespace {

constexpr std::int64_t kSecond = 1'000'000'000;

/// The first bytes of a file.
std::string Head(Files& files, const std::string& path, std::size_t length) {
  std::error_code error;
  const auto file = files.OpenRead(path, error);
  std::string head(length, '\0');
  head.resize(file ? file->Read(head.data(), head.size(), error) : 0);
  return head;
}

bool IsStatusFile(const std::string& head) {
  return head == "running\r\n" || head == "ok\r\n" || head == "failure\r\n";
}

bool IsDatabase(const std::string& head) {
  return head.starts_with(std::string("SQLite format 3\0", 16));
}

/// When the files of the last run were written, in nanoseconds since 1970; from 1 to 0 when no run
/// has logged.
struct RunTime {
  std::int64_t from = 1, to = 0;
};

RunTime LastRun(Files& files, const std::string& packageLog) {
  FileStatus status;
  if (files.Status(packageLog, status)) return {};
  std::tm begin{};
  const std::string head = Head(files, packageLog, 19);  // every line begins with its local time
  const char* const end = strptime(head.c_str(), "%Y-%m-%d %H:%M:%S", &begin);
  if (end == nullptr) return {};
  begin.tm_isdst = -1;
  // The exception log is copied behind the log's last line, and the clock's steps are coarse.
  return {(std::mktime(&begin) - 1) * kSecond, status.changed + 2 * kSecond};
}

class DirectoryLook {
 public:
  DirectoryLook(Files& files, const LogDirectory& directory)
      : files_(files),
        directory_(directory),
        path_(directory.path),
        lastRun_(LastRun(files, AddTrailingSeparator(path_) + directory.package + ".log")) {}

  std::vector<std::string> Findings() {
    LookFor("the job file", directory_.jobFile);
    LookFor("the exception log", directory_.exceptionLog);
    LookFor("the status file", directory_.statusFile);
    std::vector<std::string> names;
    files_.ListFiles(path_, names);
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) Look(name);
    if (others_ == 1) findings_.push_back("a file that no run has written, " + first_);
    if (others_ > 1)
      findings_.push_back(std::to_string(others_) + " files that no run has written, such as " +
                          first_);
    return findings_;
  }

 private:
  /// It need not be there yet.
  void LookFor(const char* what, const std::string& file) {
    if (file.empty()) return;
    const std::string place = DirectoryOf(file);
    if (!files_.IsSameFile(place.empty() ? "." : place, path_)) return;
    named_.push_back(FileNameOf(file));
    Found(what, named_.back());
  }

  void Look(const std::string& name) {
    if (std::find(named_.begin(), named_.end(), name) != named_.end()) return;
    const std::string head = Head(files_, path_ + name, 16);
    if (IsDatabase(head)) return Found("the database of an embedded server", name);
    if (IsStatusFile(head)) return Found("the status file", name);
    if (IsOfLastRun(name)) return;
    if (others_++ == 0) first_ = name;
  }

  bool IsOfLastRun(const std::string& name) {
    const std::string copy = FileNameOf(directory_.exceptionLog);
    if (name == directory_.package + ".log" || (!copy.empty() && name.starts_with(copy)))
      return true;
    FileStatus status;
    if (files_.Status(path_ + name, status)) return false;
    return status.changed >= lastRun_.from && status.changed <= lastRun_.to;
  }

  void Found(const char* what, const std::string& name) {
    findings_.push_back(std::string(what) + " " + name);
  }

  Files& files_;
  const LogDirectory& directory_;
  std::string path_;
  const RunTime lastRun_;
  std::vector<std::string> findings_;
  std::vector<std::string> named_;  // files that the job names
  int others_ = 0;
  std::string first_;
};

}  // namespace

std::vector<std::string> ForeignFiles(Files& files, const LogDirectory& directory) {
  if (files.IsRoot(directory.path)) return {};
  return DirectoryLook(files, directory).Findings();
}

bool IsLogDirectory(Files& files, const std::string& path) {
  return !files.IsRoot(path) && WhyUnusable(files, path).empty();
}

std::string WhyUnusable(Files& files, const std::string& logDirectory) {
  const std::string owner = files.ForeignOwner(logDirectory);
  if (owner.empty()) return {};
  return "the log directory " + logDirectory + " is not used: " + owner +
         ", who could lead it anywhere; name a directory that belongs to root or to the user of "
         "the "
         "run, below such directories only";
}

}  // namespace torvik
