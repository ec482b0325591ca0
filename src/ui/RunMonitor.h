#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "log/StepProgress.h"
#include "startup/MainForm.h"
#include "ui/Controls.h"

namespace torvik {

class Clock;

/// What an operator sees of a run while it goes on: the log's lines, the steps, the verdict.
class RunMonitor {
 public:
  struct Step {
    std::string name;
    StepState state = StepState::Running;
    std::int64_t rows = 0;
    double rowsPerSecond = 0;  ///< Since the step began.
    bool operator==(const Step&) const = default;
  };

  /// Why something has failed: a step, or what stands in its place.
  struct Problem {
    std::string place, reason;
    bool operator==(const Problem&) const = default;
  };

  explicit RunMonitor(Clock& clock) : clock_(clock) {}

  Observable<std::vector<Step>> Steps;
  Observable<std::vector<Problem>> Problems;
  Observable<RunVerdict> Verdict{RunVerdict::None};
  Observable<bool> Runs;
  Signal LinesChanged;
  const std::vector<std::string>& Lines() const { return lines_; }

  /// Forgets the run before.
  void Forget();
  void Begin();
  void End() { Runs.Set(false); }
  void AddLine(const std::string& line);
  void ShowStep(const StepProgress& progress);
  /// What is told twice is kept once.
  void AddProblem(const std::string& place, const std::string& reason);

 private:
  Clock& clock_;
  std::vector<std::string> lines_;
  std::vector<std::chrono::steady_clock::time_point> begins_;  // of the steps
};

/// "done, 12,345 rows, 678 rows/s".
std::string Described(const RunMonitor::Step& step);

}  // namespace torvik
