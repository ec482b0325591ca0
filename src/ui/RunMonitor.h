#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "log/FetchStatus.h"
#include "log/StepProgress.h"
#include "platform/Dts.h"
#include "platform/RunHistory.h"
#include "startup/MainForm.h"
#include "ui/Controls.h"
#include "ui/CountByTime.h"

namespace torvik {

class Clock;
struct FetchProgress;

/// What an operator sees of a run while it goes on, or of one that the history has: the package's
/// steps and how they stand, the log's lines, the verdict.
class RunMonitor {
 public:
  struct Step {
    std::string name;
    StepState state = StepState::Running;
    std::int64_t rows = 0;
    double rowsPerSecond = 0;  ///< Since the step began.
    std::int64_t rejected = 0;
    std::int64_t files = 0, bytes = 0;  ///< Of a step that fetches files.
    double begin = 0;                   ///< Seconds since the run began.
    std::optional<double> end;          ///< Empty while it runs.
    std::string error;
    CountByTime rowsByTime, bytesByTime;
  };

  /// The fetching of a data link's files.
  struct Fetch : FetchStatus {
    std::string file;        ///< Under way, or the last; empty while its provider is waited for.
    std::int64_t files = 0;  ///< That are complete.
    std::int64_t bytes = 0;
    double begin = 0;           ///< Seconds since the run began.
    std::optional<double> end;  ///< Empty while it goes on.
    CountByTime bytesByTime;
  };

  /// Why something has failed: a step, or what stands in its place.
  struct Problem {
    std::string place, reason;
    bool operator==(const Problem&) const = default;
  };

  explicit RunMonitor(Clock& clock) : clock_(clock) {}

  Observable<std::vector<dts::StepOutline>> Package;  ///< Empty before it is loaded.
  /// Those that have begun or will not, in that order. They change in their place: a package may
  /// have thousands, each telling of itself.
  const std::vector<Step>& Steps() const { return steps_; }
  /// In the order in which they have begun, each before every step.
  const std::vector<Fetch>& Fetches() const { return fetches_; }
  Signal StepsChanged;  ///< Or a fetch has.
  Observable<std::vector<Problem>> Problems;
  Observable<RunVerdict> Verdict{RunVerdict::None};
  Observable<bool> Runs;
  Observable<std::string> Title;  ///< Of a run of the history: which one; else empty.
  Observable<std::string> Note;   ///< What of a run of the history is missing, and why.
  Signal LinesChanged;
  const std::vector<std::string>& Lines() const { return lines_; }

  /// Forgets the run before.
  void Forget();
  void Begin();
  /// With a verdict the run is over, whatever is still shown or written; None: there is none yet.
  void ShowVerdict(RunVerdict verdict);
  void End();
  void AddLine(const std::string& line);
  void ShowStep(const StepProgress& progress);
  /// One that begins, or the end of the last one.
  void ShowFetch(const FetchStatus& status);
  /// Of the last one.
  void ShowFetchProgress(const FetchProgress& progress);
  /// What is told twice is kept once.
  void AddProblem(const std::string& place, const std::string& reason);
  /// Shows a run that is over in place of the one before. Without its package the steps that have
  /// begun stand for it.
  void ShowRecord(const RunRecord& run, const std::string& title,
                  std::vector<dts::StepOutline> package = {});

  /// Of a run that is over; None while it goes on.
  RunVerdict VerdictAtEnd() const { return Runs.Get() ? RunVerdict::None : Verdict.Get(); }
  /// Since the run began, until now or until its end.
  double Seconds() const;
  /// The step of that name; null for one that has not begun.
  const Step* Find(const std::string& name) const;
  /// The last fetch for the data link; null when there was none.
  const Fetch* FindFetch(const std::string& link) const;

 private:
  double Passed() const;
  Step& StepOf(const std::string& name, bool& isNew);
  void Count(Step& step, std::int64_t rows) const;
  void CountFetched(Step& step, const StepProgress& progress) const;

  Clock& clock_;
  std::vector<std::string> lines_;
  std::vector<Step> steps_;
  std::vector<Fetch> fetches_;
  std::unordered_map<std::string, std::size_t> places_;  // of the steps, by name
  std::chrono::steady_clock::time_point began_;
  std::optional<double> ended_;  // seconds since then
};

/// "12,345 rows", or of a step that fetches "2 files, 12.3 MB"; empty without either.
std::string AmountOf(const RunMonitor::Step& step);
/// The same with "678 rows/s, 9 rejected".
std::string FiguresOf(const RunMonitor::Step& step);
/// "2 files, 12.3 MB"; of one that waits for its provider "waiting for its provider".
std::string FiguresOf(const RunMonitor::Fetch& fetch);
/// "0:14", "1:02:03".
std::string ClockText(double seconds);

}  // namespace torvik
