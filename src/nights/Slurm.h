#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace torvik {
class Processes;
}

namespace torvik::nights {

/// An array of tasks as sbatch takes it.
struct BatchRequest {
  std::string name;
  std::string tasks;  ///< "0-7,9".
  std::string
      dependency;  ///< Empty: none. One that can never hold takes the task out of the queue.
  std::vector<std::string> licences;
  std::optional<std::chrono::seconds> timeout;  ///< Then SIGTERM, and a minute later the end.
  int nice = 0;
  std::string output;                ///< A file for what the script itself says.
  std::string directory;             ///< In which it runs.
  std::vector<std::string> options;  ///< Further options of sbatch, as they stand.
  std::string script;
};

/// A task of a submitted array as the queue has it.
struct BatchTask {
  std::string state;   ///< In Slurm's words: PENDING, RUNNING, COMPLETED, NODE_FAIL ...
  std::string reason;  ///< Why it waits or has ended: Dependency, Resources, Licenses, None ...
  std::string nodes;
};

/// Slurm by its own programs (sbatch, squeue, scontrol, scancel; version 20.11 or later), which
/// find their cluster by SLURM_CONF or /etc/slurm/slurm.conf. All throw PlatformError in their
/// words.
class Slurm {
 public:
  explicit Slurm(Processes& processes) : processes_(processes) {}

  /// The licences of the cluster, and how many it has of each.
  std::map<std::string, std::int64_t> Licences();
  /// How many tasks an array may have; their numbers are lower.
  std::size_t LargestArray();
  /// Answers the number of the job.
  std::string Submit(const BatchRequest& request);
  /// The tasks that the queue still knows of these jobs, by "JOB_TASK".
  std::map<std::string, BatchTask> Tasks(const std::vector<std::string>& jobs);
  /// Ends what runs of these jobs, and takes the rest out of the queue. Unknown ones are let be.
  void Cancel(const std::vector<std::string>& jobs);

 private:
  std::vector<std::string> Run(const std::string& program, std::vector<std::string> arguments,
                               const std::string& input = {});

  Processes& processes_;
};

}  // namespace torvik::nights
