#include "startup/RunLocks.h"

#include <chrono>
#include <utility>

#include "config/LogDirectory.h"
#include "package/ErrLogging.h"
#include "platform/Clock.h"
#include "platform/Messages.h"
#include "startup/Program.h"

namespace torvik {
namespace {

using std::chrono::milliseconds;

/// A run gives its status file back a moment after its job.
constexpr milliseconds kStatusFilePatience{1000};

/// Without what it takes to lock, there is not enough for a run either.
bool IsWantOfResources(const std::error_code& error) {
  return error == std::errc::too_many_files_open ||
         error == std::errc::too_many_files_open_in_system || error == std::errc::not_enough_memory;
}

}  // namespace

bool RunLocks::Take(const RunPlaces& places) {
  Clock& clock = program_.platform.clock;
  Messages& messages = program_.platform.messages;
  const auto begin = clock.Steady();
  program_.remoteData.ForgetCancel();
  bool isTold = false;
  for (;;) {
    const bool hasAll = TakeAll(places);
    if (hasAll && (!isStatusFileBusy_ || clock.Steady() - begin >= kStatusFilePatience)) break;
    if (!hasAll && !isHeldByOther_) {
      Release();  // what is left over, the verdict needs
      return false;
    }
    if (!hasAll && !WaitsOn(begin + program_.waitForOtherRun)) return false;
    if (!hasAll && !std::exchange(isTold, true)) messages.Report("waiting: " + reason_);
    Release();
    clock.Sleep(milliseconds(100));
  }
  for (const std::string& warning : warnings_) messages.Report(warning);
  return true;
}

bool RunLocks::WaitsOn(std::chrono::steady_clock::time_point end) {
  program_.platform.messages.PumpEvents();
  return program_.platform.clock.Steady() < end && !program_.remoteData.IsCancelRequested();
}

/// The status file is the first to be taken and the last to be given back: whoever has it, and is
/// refused the rest, knows that the word in it is not the other run's.
bool RunLocks::TakeAll(const RunPlaces& places) {
  reason_.clear();
  warnings_.clear();
  isHeldByOther_ = false;
  hasStatusFile_ = TakeStatusFile(places.statusFile);
  if (!TakeFile("the job", places.jobFile)) return false;
  Files& files = program_.platform.files;
  if (!IsLogDirectory(files, places.logDirectory)) return true;
  // It must be there to be locked. One that cannot be made is nobody's.
  MakeDirectory(files, places.logDirectory);
  return TakeFile("the log directory", places.logDirectory);
}

bool RunLocks::TakeStatusFile(const std::string& path) {
  isStatusFileBusy_ = false;
  if (path.empty()) return true;
  LockAnswer answer = program_.platform.locks.LockName(path);
  if (answer.lock) {
    held_.push_back(std::move(answer.lock));
    return true;
  }
  isStatusFileBusy_ = !answer.error;
  if (isStatusFileBusy_)
    warnings_.push_back("the status file " + path + " is another run's as well");
  else if (answer.error != std::errc::no_such_file_or_directory)  // its first word will say that
    warnings_.push_back("the status file " + path + " cannot be locked: " + answer.error.message());
  return false;
}

bool RunLocks::TakeFile(const std::string& what, const std::string& path) {
  if (path.empty()) return true;
  LockAnswer answer = program_.platform.locks.LockFile(path);
  if (answer.lock) {
    held_.push_back(std::move(answer.lock));
    return true;
  }
  isHeldByOther_ = !answer.holder.empty();
  if (isHeldByOther_) {
    reason_ = what + " " + path + " is in use by another run: " + answer.holder;
    return false;
  }
  const std::string words =
      what + " " + path + " cannot be locked against another run: " + answer.error.message();
  if (IsWantOfResources(answer.error)) {
    reason_ = words;
    return false;
  }
  if (answer.error != std::errc::no_such_file_or_directory) warnings_.push_back(words);
  return true;
}

void RunLocks::Release() {
  while (!held_.empty()) held_.pop_back();
}

}  // namespace torvik
