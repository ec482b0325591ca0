#include "engine/tasks/FileWait.h"

#include <algorithm>
#include <map>

#include "engine/tasks/FileNames.h"
#include "platform/Clock.h"
#include "platform/Files.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

using std::chrono::milliseconds;
using Instant = std::chrono::steady_clock::time_point;

/// How often a wait looks, and how often it asks whether it is cancelled.
constexpr milliseconds kBetweenLooks{1000};
constexpr milliseconds kSlice{100};

PlatformError Failure(const std::string& path, const std::string& reason) {
  return PlatformError(0, path + ": " + reason, "package engine");
}

bool IsMissing(const std::error_code& error) {
  return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory;
}

/// What is there, as it stands, and since when.
class AwaitedFiles {
 public:
  AwaitedFiles(Files& files, const FileWanted& wanted) : files_(files), wanted_(wanted) {}

  /// True when the files are as they are wanted.
  bool Look(Instant now) {
    const auto seen = Seen();
    if (seen != seen_) since_ = now;
    seen_ = seen;
    return !seen_.empty() && !HasEmptyOne() && now - since_ >= wanted_.settled;
  }

  /// Why it is not.
  std::string Reason() const {
    if (seen_.empty()) return "there is no such file yet";
    return HasEmptyOne() ? "the file is still empty" : "the file was still being written to";
  }

 private:
  std::map<std::string, FileStatus> Seen() const {
    std::map<std::string, FileStatus> seen;
    for (const std::string& path : FindFiles(files_, wanted_.path)) {
      FileStatus status;
      const auto error = files_.Status(path, status);
      if (IsMissing(error)) continue;  // gone since
      if (error) throw Failure(path, error.message());
      seen[path] = status;
    }
    return seen;
  }

  bool HasEmptyOne() const {
    return wanted_.notEmpty && std::any_of(seen_.begin(), seen_.end(),
                                           [](const auto& one) { return one.second.bytes == 0; });
  }

  Files& files_;
  const FileWanted& wanted_;
  std::map<std::string, FileStatus> seen_;
  Instant since_;
};

}  // namespace

std::vector<std::string> FindFiles(Files& files, const std::string& path) {
  const SplitPath parts = Split(path);
  if (parts.name.empty())
    throw Failure(path, "this is a directory; name a file, or a pattern like *.csv in it");
  std::vector<std::string> found;
  std::error_code error;
  if (IsPattern(parts.name)) {
    std::vector<std::string> names;
    error = files.ListFiles(parts.directory.empty() ? "." : parts.directory, names);
    std::sort(names.begin(), names.end());
    for (const std::string& name : names)
      if (Matches(parts.name, name)) found.push_back(parts.directory + name);
  } else {
    FileStatus status;
    error = files.Status(path, status);
    if (!error) found.push_back(path);
  }
  if (error && !IsMissing(error)) throw Failure(path, error.message());
  return found;
}

void WaitForFile(Files& files, Clock& clock, const FileWanted& wanted,
                 const std::atomic<bool>& cancelled) {
  const Instant begin = clock.Steady();
  AwaitedFiles awaited(files, wanted);
  while (!awaited.Look(clock.Steady())) {
    if (clock.Steady() - begin >= wanted.timeout)
      throw Failure(wanted.path, awaited.Reason() + " after " +
                                     std::to_string(wanted.timeout.count()) +
                                     " seconds (timeout_seconds)");
    for (milliseconds left = kBetweenLooks; left.count() > 0; left -= kSlice) {
      if (cancelled) throw Failure(wanted.path, "the wait was cancelled: " + awaited.Reason());
      clock.Sleep(kSlice);
      if (clock.Steady() - begin >= wanted.timeout) break;
    }
  }
}

}  // namespace torvik::engine
