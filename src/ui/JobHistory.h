#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/RunHistory.h"
#include "ui/Controls.h"

namespace torvik {

/// The last runs of one job, as the history has them, for whoever shows them.
class JobHistory {
 public:
  explicit JobHistory(RunHistory& history) : history_(history) {}

  static constexpr int kMostRuns = 60;

  Observable<std::vector<std::int64_t>> Ids;  ///< Of Runs(), the latest first; tells of a change.
  Observable<std::string> Trouble;            ///< Why there are none; empty when there may be.
  const std::vector<RunRecord>& Runs() const { return runs_; }

  /// Reads the runs of a job file; without one there are none.
  void Read(const std::string& jobFile);
  /// The latest run of a job file, without its steps; empty when there is none, or no telling.
  std::optional<RunRecord> LastRun(const std::string& jobFile);
  /// One of them with its steps; empty when the history has forgotten it.
  std::optional<RunRecord> Run(std::int64_t id);

  /// What a run of this job takes as a rule: the median of those that succeeded. Empty when fewer
  /// than three did.
  std::optional<double> UsualSeconds() const;
  /// True for a run that took more than twice that.
  bool IsSlow(const RunRecord& run) const;

 private:
  RunHistory& history_;
  std::vector<RunRecord> runs_;
};

/// Until its end; nothing for a run that has none.
std::optional<double> RunSeconds(const RunRecord& run);
/// "ok", "failure", "lost", "running".
const char* VerdictWord(RunOutcome outcome);

}  // namespace torvik
