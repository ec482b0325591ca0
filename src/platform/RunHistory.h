#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace torvik {

using Moment = std::chrono::system_clock::time_point;

/// Lost: the process ended before the run had a verdict; it counts as failed.
enum class RunOutcome { Running, Ok, Failure, Lost };
enum class StepOutcome { Running, Ok, Failure };

/// One execution of a step of a run.
struct StepRecord {
  std::string step;
  Moment begin;
  std::optional<Moment> end;  ///< Empty while it runs, and when the run was lost meanwhile.
  StepOutcome outcome = StepOutcome::Running;
  std::int64_t rows = 0, rejectedRows = 0;
  int attempt = 1;    ///< From 1; a step that its own settings repeat has more.
  std::string error;  ///< The error's own words, without passwords.
  bool operator==(const StepRecord&) const = default;
};

/// What was fetched for one data link.
struct FetchRecord {
  std::string link;
  Moment begin;
  std::optional<Moment> end;
  bool isComplete = false;
  std::int64_t files = 0, bytes = 0;
  std::string error;
  bool operator==(const FetchRecord&) const = default;
};

/// Which alarms of a run were raised, as bits that their room knows. All: nothing is left to raise.
using RaisedAlarms = int;
inline constexpr RaisedAlarms kAllAlarms = -1;

/// How the error of a run begins that has touched nothing.
inline constexpr const char* kNothingWasRun = "nothing was run: ";

/// One run of a job.
struct RunRecord {
  std::int64_t id = 0;  ///< Given by the history; later runs have higher ones.
  std::string job;      ///< The job file's full path; empty for a job that has none.
  std::string package;
  std::string versionGuid;  ///< Of the package; empty when it was never loaded.
  std::string packageServer;
  Moment begin;
  std::optional<Moment> end;
  RunOutcome outcome = RunOutcome::Running;
  std::int64_t rows = 0, rejectedRows = 0, bytes = 0;  ///< Of all steps; fetched bytes.
  std::string failedStep;  ///< The first that failed the run, if one did.
  std::string error;
  std::string logFile;  ///< The exception log.
  int process = 0;
  std::string host;
  std::string startedBy;  ///< The user's name, and behind a blank what started the run when known.
  bool isAttended = false;  ///< From the form: whoever started it sees how it ends.
  RaisedAlarms alarms = 0;
  /// What whoever started it gave to variables; a password is the name of its file.
  std::vector<std::pair<std::string, std::string>> variables;
  std::vector<StepRecord> steps;
  std::vector<FetchRecord> fetches;
};

/// Which runs a list has, the latest first.
struct RunFilter {
  std::string job;  ///< The job file's path, or its name with or without ".etl"; empty: all jobs.
  bool failedOnly = false;  ///< Failure and Lost.
  std::optional<Moment> since;
  int limit = 0;  ///< 0: none.
  bool runningOnly = false;
};

/// What runs leave behind. It is kept apart from what they load, and no problem with it may become
/// a run's own: writers answer the empty text or a reason that is worth a warning, and never throw.
class RunHistory {
 public:
  virtual ~RunHistory() = default;

  /// Writes the run's row, with its variables at the first time, and those of steps and fetches
  /// that are new or have changed since the last call; a record without an id gets one, and the
  /// process, its host and who started it. Forgets runs that are older than the settings say.
  virtual std::string Write(RunRecord& run) = 0;

  /// Runs without their steps and fetches. Runs whose process is gone are Lost from then on. Throws
  /// PlatformError when the history cannot be read; one that does not exist yet has no runs.
  virtual std::vector<RunRecord> Runs(const RunFilter& filter) = 0;

  /// One run with its steps and fetches; empty when there is none of that id.
  virtual std::optional<RunRecord> Run(std::int64_t id) = 0;

  /// The runs that have ended and have not raised all alarms, the earliest first, with their steps
  /// and fetches. Throws as Runs does.
  virtual std::vector<RunRecord> Unannounced() = 0;

  /// Keeps which alarms of an ended run were raised. Answers as Write does.
  virtual std::string NoteAlarms(std::int64_t id, RaisedAlarms raised) = 0;

  /// The runs behind number `after` that have ended and are not in the history that machines share,
  /// the earliest first, `most` of them, with all their parts. Throws as Runs does.
  virtual std::vector<RunRecord> Unsent(std::int64_t after, std::size_t most) = 0;

  /// Keeps that a run is there now. Answers as Write does.
  virtual std::string NoteSent(std::int64_t id) = 0;
};

}  // namespace torvik
