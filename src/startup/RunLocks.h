#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "platform/Locks.h"

namespace torvik {

struct Program;

/// What a run touches that another run must not touch meanwhile. An empty path stands for nothing.
struct RunPlaces {
  std::string jobFile;
  std::string logDirectory;
  std::string statusFile;
};

/// Keeps two runs of one job, and two runs in one log directory, from each other, and tells whose
/// the word in a status file is.
class RunLocks {
 public:
  explicit RunLocks(Program& program) : program_(program) {}
  ~RunLocks() { Release(); }
  RunLocks(const RunLocks&) = delete;
  RunLocks& operator=(const RunLocks&) = delete;

  /// True when the run may begin; otherwise Reason says who runs, or what fails. Waits for another
  /// run as long as the program allows, unless the operator wants an end of it.
  bool Take(const RunPlaces& places);
  void Release();

  const std::string& Reason() const { return reason_; }
  /// False when the status file may be that of the run which stands in the way.
  bool OwnsStatusFile() const { return !isHeldByOther_ || hasStatusFile_; }

 private:
  bool TakeAll(const RunPlaces& places);
  bool TakeStatusFile(const std::string& path);
  bool TakeFile(const std::string& what, const std::string& path);
  bool WaitsOn(std::chrono::steady_clock::time_point end);

  Program& program_;
  std::vector<std::unique_ptr<Lock>> held_;
  std::string reason_;
  std::vector<std::string> warnings_;
  bool isHeldByOther_ = false;
  bool hasStatusFile_ = false, isStatusFileBusy_ = false;
};

}  // namespace torvik
