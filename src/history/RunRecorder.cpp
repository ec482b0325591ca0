#include "history/RunRecorder.h"

#include <algorithm>
#include <utility>

#include "platform/Clock.h"
#include "platform/FetchProgress.h"
#include "platform/Messages.h"

namespace torvik {
namespace {

constexpr std::chrono::seconds kPause{1};
/// A step that took as long is in the history when it has ended: what goes on with the run must not
/// do it again. Writing takes a hundredth of that.
constexpr std::chrono::milliseconds kWorthWriting{100};

}  // namespace

void RunRecorder::Begin(RunRecord run) {
  const std::scoped_lock lock(mutex_);
  run_ = std::move(run);
  run_.begin = clock_.Now();
  isOpen_ = true;
  hasTold_ = false;
  if (onPrepare) onPrepare(run_);
  Write();
  if (onBegin && run_.id != 0) onBegin(run_.id);
}

void RunRecorder::SetVersion(const std::string& guid) {
  const std::scoped_lock lock(mutex_);
  run_.versionGuid = guid;
}

void RunRecorder::Carry(const StepRecord& step) {
  const std::scoped_lock lock(mutex_);
  run_.steps.push_back(step);
}

void RunRecorder::Carry(const FetchRecord& fetch) {
  const std::scoped_lock lock(mutex_);
  run_.fetches.push_back(fetch);
}

void RunRecorder::Idle() {
  const std::scoped_lock lock(mutex_);
  WriteNowAndThen();
}

void RunRecorder::StepBegins(std::string_view step) {
  const std::scoped_lock lock(mutex_);
  StepRecord record;
  record.step = step;
  record.begin = clock_.Now();
  run_.steps.push_back(std::move(record));
}

void RunRecorder::StepHasRows(std::string_view step, std::int64_t rows) {
  const std::scoped_lock lock(mutex_);
  if (StepRecord* const record = Find(step)) record->rows = rows;
  WriteNowAndThen();
}

void RunRecorder::StepFails(std::string_view step, std::string_view error) {
  const std::scoped_lock lock(mutex_);
  StepRecord* const record = Find(step);
  if (record == nullptr) return Fails(error);
  record->outcome = StepOutcome::Failure;
  record->error = error;
  if (run_.failedStep.empty() && run_.error.empty()) {
    run_.failedStep = step;
    run_.error = error;
  }
}

void RunRecorder::StepIsRetried(std::string_view step, std::string_view error) {
  const std::scoped_lock lock(mutex_);
  StepRecord* const record = Find(step);
  if (record == nullptr) return;
  const int attempt = record->attempt + 1;
  record->end = clock_.Now();
  record->outcome = StepOutcome::Failure;
  record->error = error;
  StepBegins(step);
  run_.steps.back().attempt = attempt;
}

void RunRecorder::StepEnds(std::string_view step, std::int64_t rows, std::int64_t rejectedRows) {
  const std::scoped_lock lock(mutex_);
  StepRecord* const record = Find(step);
  if (record == nullptr) return;
  record->end = clock_.Now();
  // Rows that were told on the way were read; of a step that has failed nothing else is known.
  if (record->outcome != StepOutcome::Failure) record->rows = rows;
  record->rejectedRows = rejectedRows;
  if (record->outcome == StepOutcome::Running) record->outcome = StepOutcome::Ok;
  if (isOpen_ && *record->end - record->begin >= kWorthWriting)
    Write();
  else
    WriteNowAndThen();
}

void RunRecorder::StepIsLeftOut(std::string_view step) {
  const std::scoped_lock lock(mutex_);
  const StepRecord* const record = Find(step);
  if (record != nullptr && !record->end)
    run_.steps.erase(run_.steps.begin() + (record - run_.steps.data()));
}

void RunRecorder::FetchBegins(const std::string& link) {
  const std::scoped_lock lock(mutex_);
  FetchRecord record;
  record.link = link;
  record.begin = clock_.Now();
  run_.fetches.push_back(std::move(record));
}

void RunRecorder::FetchProceeds(const FetchProgress& progress) {
  const std::scoped_lock lock(mutex_);
  if (!isOpen_ || run_.fetches.empty()) return;
  run_.fetches.back().files = progress.files;
  run_.fetches.back().bytes = progress.bytes;
  WriteNowAndThen();
}

void RunRecorder::FetchEnds(bool isComplete, const std::string& error) {
  const std::scoped_lock lock(mutex_);
  if (run_.fetches.empty()) return;
  FetchRecord& record = run_.fetches.back();
  record.end = clock_.Now();
  record.isComplete = isComplete;
  if (isComplete) return;
  record.error = error;
  Fails("data link " + record.link + ": " + error);
}

void RunRecorder::Fails(std::string_view error) {
  const std::scoped_lock lock(mutex_);
  if (run_.error.empty()) run_.error = error;
}

void RunRecorder::End(RunOutcome outcome) {
  const std::scoped_lock lock(mutex_);
  if (!isOpen_) return;
  run_.end = clock_.Now();
  run_.outcome = outcome;
  CloseParts();
  // A step that failed and did not fail the run is no reason.
  if (outcome == RunOutcome::Ok) run_.failedStep = run_.error = "";
  Write();
  isOpen_ = false;
  if (onEnd) onEnd(run_);
}

/// What an exception has left open.
void RunRecorder::CloseParts() {
  for (StepRecord& step : run_.steps)
    if (!step.end) {
      step.end = run_.end;
      step.outcome = StepOutcome::Failure;
    }
  for (FetchRecord& fetch : run_.fetches)
    if (!fetch.end) fetch.end = run_.end;
}

/// The one that began last: a step may run again.
StepRecord* RunRecorder::Find(std::string_view step) {
  if (!isOpen_) return nullptr;
  const auto found = std::find_if(run_.steps.rbegin(), run_.steps.rend(),
                                  [&](const StepRecord& one) { return one.step == step; });
  return found == run_.steps.rend() ? nullptr : &*found;
}

void RunRecorder::WriteNowAndThen() {
  if (isOpen_ && clock_.Steady() - lastWritten_ >= kPause) Write();
}

void RunRecorder::Write() {
  run_.rows = run_.rejectedRows = run_.bytes = 0;
  for (const StepRecord& step : run_.steps) {
    run_.rows += step.rows;
    run_.rejectedRows += step.rejectedRows;
  }
  for (const FetchRecord& fetch : run_.fetches) run_.bytes += fetch.bytes;
  const std::string problem = history_.Write(run_);
  lastWritten_ = clock_.Steady();
  if (problem.empty() || hasTold_) return;
  hasTold_ = true;
  messages_.Report("the history: " + problem);
}

}  // namespace torvik
