#pragma once

#include <optional>
#include <string>
#include <vector>

namespace torvik::admin {

/// Where the job files and units of a machine lie, below a root: another one than "/" is that of an
/// image which is prepared.
struct UnitPlaces {
  std::string root = "/";

  std::string Jobs() const { return Below("etc/torvik/jobs"); }
  std::string Units() const { return Below("etc/systemd/system"); }
  bool IsThisMachine() const { return root == "/"; }

 private:
  std::string Below(const std::string& path) const {
    return root + (root.ends_with('/') ? "" : "/") + path;
  }
};

/// The timer torvik@JOB.timer of a job in the directory of jobs: its drop-in says when.
class JobTimer {
 public:
  /// `job` is the job's name, with or without ".etl", or the path of its file in that directory.
  /// Throws PlatformError when the file lies elsewhere, is not there, or has a name that a unit
  /// cannot have.
  JobTimer(const UnitPlaces& places, const std::string& job);

  const std::string& Job() const { return job_; }
  std::string JobFile() const { return places_.Jobs() + "/" + job_ + ".etl"; }
  std::string Unit() const { return "torvik@" + job_ + ".timer"; }

  /// The calendar expressions of the drop-in; none when there is none.
  std::vector<std::string> Times() const;

  /// Writes the drop-in, mode 0644, in the place of another. Throws PlatformError.
  void SetTimes(const std::vector<std::string>& times) const;

  /// Removes the drop-in; false when there was none. Throws PlatformError.
  bool RemoveTimes() const;

 private:
  std::string Directory() const { return places_.Units() + "/" + Unit() + ".d"; }
  std::string DropIn() const { return Directory() + "/schedule.conf"; }

  UnitPlaces places_;
  std::string job_;
};

/// The names of the jobs in a directory, in their order. Throws PlatformError.
std::vector<std::string> JobsIn(const std::string& directory);

}  // namespace torvik::admin
