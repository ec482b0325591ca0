#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>

#include "platform/RunHistory.h"

namespace torvik {

class Clock;
class Messages;
struct FetchProgress;

/// Keeps the record of the run that is under way, and writes it to the history: at its begin,
/// behind each step that took a while, else at most once a second, at its end. What cannot be
/// written is told once a run, and changes nothing about the run. Any thread may call it, Record
/// apart: the one that ends the process is not always the run's.
class RunRecorder {
 public:
  RunRecorder(RunHistory& history, Clock& clock, Messages& messages)
      : history_(history), clock_(clock), messages_(messages) {}

  /// Told a run before it is written; may say which of its alarms are not to be raised.
  std::function<void(RunRecord& run)> onPrepare;
  /// Told the number of a run that is in the history now.
  std::function<void(std::int64_t run)> onBegin;
  /// Told the record of a run that has ended.
  std::function<void(const RunRecord& run)> onEnd;

  /// A run begins; job, package, its server, log and who looks on are those of `run`.
  void Begin(RunRecord run);
  void SetVersion(const std::string& guid);

  /// What an earlier run has done, and this one leaves out.
  void Carry(const StepRecord& step);
  void Carry(const FetchRecord& fetch);

  void StepBegins(std::string_view step);
  void StepHasRows(std::string_view step, std::int64_t rows);
  void StepFails(std::string_view step, std::string_view error);
  void StepIsRetried(std::string_view step, std::string_view error);
  void StepEnds(std::string_view step, std::int64_t rows, std::int64_t rejectedRows);

  /// It is as if it had not begun.
  void StepIsLeftOut(std::string_view step);

  void FetchBegins(const std::string& link);
  void FetchProceeds(const FetchProgress& progress);
  void FetchEnds(bool isComplete, const std::string& error);

  /// Why the run fails; the first reason stays.
  void Fails(std::string_view error);
  /// Time passes.
  void Idle();
  /// The run has its verdict. A run that has ended already is left alone.
  void End(RunOutcome outcome);

  bool IsOpen() const { return isOpen_; }
  const RunRecord& Record() const { return run_; }

 private:
  StepRecord* Find(std::string_view step);
  void CloseParts();
  void WriteNowAndThen();
  void Write();

  RunHistory& history_;
  Clock& clock_;
  Messages& messages_;
  /// What tells others may come back.
  std::recursive_mutex mutex_;
  RunRecord run_;
  bool isOpen_ = false, hasTold_ = false;
  std::chrono::steady_clock::time_point lastWritten_;
};

}  // namespace torvik
