#include "ui/RunMonitor.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numeric>
#include <utility>

#include "platform/Clock.h"
#include "platform/CountText.h"
#include "platform/FetchProgress.h"

namespace torvik {
namespace {

double SecondsBetween(Moment from, Moment to) {
  return std::chrono::duration<double>(to - from).count();
}

RunMonitor::Step StepOfRecord(const StepRecord& record, Moment begin) {
  RunMonitor::Step step{record.step};
  step.state = record.outcome == StepOutcome::Ok        ? StepState::Done
               : record.outcome == StepOutcome::Failure ? StepState::Failed
                                                        : StepState::Running;
  step.rows = record.rows;
  step.rejected = record.rejectedRows;
  step.begin = std::max(0.0, SecondsBetween(begin, record.begin));
  if (record.end) step.end = std::max(step.begin, SecondsBetween(begin, *record.end));
  step.error = record.error;
  const double seconds = step.end.value_or(step.begin) - step.begin;
  if (seconds > 0) step.rowsPerSecond = static_cast<double>(step.rows) / seconds;
  return step;
}

RunMonitor::Fetch FetchOfRecord(const FetchRecord& record, Moment begin) {
  RunMonitor::Fetch fetch;
  fetch.link = record.link;
  fetch.state = record.isComplete ? StepState::Done
                : record.end      ? StepState::Failed
                                  : StepState::Running;
  fetch.error = record.error;
  fetch.files = record.files;
  fetch.bytes = record.bytes;
  fetch.begin = std::max(0.0, SecondsBetween(begin, record.begin));
  if (record.end) fetch.end = std::max(fetch.begin, SecondsBetween(begin, *record.end));
  return fetch;
}

}  // namespace

void RunMonitor::Begin() {
  Forget();
  began_ = clock_.Steady();
  Runs.Set(true);
}

void RunMonitor::ShowVerdict(RunVerdict verdict) {
  Verdict.Set(verdict);
  if (verdict != RunVerdict::None) End();
}

void RunMonitor::End() {
  if (!ended_) ended_ = Passed();
  Runs.Set(false);
}

void RunMonitor::Forget() {
  lines_.clear();
  steps_.clear();
  fetches_.clear();
  places_.clear();
  ended_.reset();
  Title.Set("");
  Note.Set("");
  Package.Set({});
  StepsChanged();
  Problems.Set({});
  LinesChanged();
  Verdict.Set(RunVerdict::None);
}

void RunMonitor::AddLine(const std::string& line) {
  lines_.push_back(line);
  LinesChanged();
}

void RunMonitor::AddProblem(const std::string& place, const std::string& reason) {
  if (const auto step = places_.find(place); step != places_.end()) {
    steps_[step->second].error = reason;
    StepsChanged();
  }
  std::vector<Problem> problems = Problems.Get();
  const bool isOfAll = place == "package" || place == "run";
  const auto isTold = [&](const Problem& one) {
    return one.reason == reason && (isOfAll || one.place == place);
  };
  if (reason.empty() || std::ranges::any_of(problems, isTold)) return;
  problems.push_back({place, reason});
  Problems.Set(std::move(problems));
}

RunMonitor::Step& RunMonitor::StepOf(const std::string& name, bool& isNew) {
  const auto [place, isAdded] = places_.try_emplace(name, steps_.size());
  isNew = isAdded;
  return isNew ? steps_.emplace_back() : steps_[place->second];
}

void RunMonitor::ShowStep(const StepProgress& progress) {
  bool isNew = false;
  Step& step = StepOf(progress.step, isNew);
  const bool runsAgain = step.end && progress.state == StepState::Running && progress.rows == 0 &&
                         progress.rejected == 0 && progress.files == 0 && progress.bytes == 0;
  if (isNew || runsAgain) {
    step = {progress.step};
    step.begin = Passed();
  }
  // A step that has failed is told to have ended as well.
  if (step.state != StepState::Failed) step.state = progress.state;
  if (progress.state != StepState::Running && !step.end) step.end = Passed();
  Count(step, progress.rows);
  CountFetched(step, progress);
  step.rejected = std::max(step.rejected, progress.rejected);
  StepsChanged();
}

void RunMonitor::ShowFetch(const FetchStatus& status) {
  if (status.state == StepState::Running) {
    fetches_.push_back({status});
    fetches_.back().begin = Passed();
  } else if (!fetches_.empty()) {
    static_cast<FetchStatus&>(fetches_.back()) = status;
    fetches_.back().end = Passed();
  }
  StepsChanged();
}

void RunMonitor::ShowFetchProgress(const FetchProgress& progress) {
  if (fetches_.empty() || fetches_.back().end) return;  // not of a run's data link
  Fetch& fetch = fetches_.back();
  fetch.bytesByTime.Add(Passed() - fetch.begin,
                        std::max<std::int64_t>(0, progress.bytes - fetch.bytes));
  fetch.file = progress.file;
  fetch.files = progress.files;
  fetch.bytes = progress.bytes;
  StepsChanged();
}

/// Rows so far; what is new among them belongs to the interval that is under way.
void RunMonitor::Count(Step& step, std::int64_t rows) const {
  const double passed = step.end.value_or(Passed()) - step.begin;
  const std::int64_t more = std::max<std::int64_t>(0, rows - step.rows);
  step.rows += more;
  if (step.rows == 0 || passed <= 0) return;
  step.rowsPerSecond = static_cast<double>(step.rows) / passed;
  step.rowsByTime.Add(passed, more);
}

void RunMonitor::CountFetched(Step& step, const StepProgress& progress) const {
  const std::int64_t more = std::max<std::int64_t>(0, progress.bytes - step.bytes);
  step.files = std::max(step.files, progress.files);
  step.bytes += more;
  if (step.bytes > 0) step.bytesByTime.Add(step.end.value_or(Passed()) - step.begin, more);
}

void RunMonitor::ShowRecord(const RunRecord& run, const std::string& title,
                            std::vector<dts::StepOutline> package) {
  Forget();
  for (const StepRecord& record : run.steps) {  // the last execution of each
    bool isNew = false;
    StepOf(record.step, isNew) = StepOfRecord(record, run.begin);
  }
  for (const FetchRecord& record : run.fetches)
    fetches_.push_back(FetchOfRecord(record, run.begin));
  if (package.empty())
    for (const Step& step : steps_) package.push_back({.name = step.name});
  Package.Set(std::move(package));
  Title.Set(title);
  const auto latest = [](double seconds, const Step& step) {
    return std::max(seconds, step.end.value_or(step.begin));
  };
  ended_ = run.end ? SecondsBetween(run.begin, *run.end)
                   : std::accumulate(steps_.begin(), steps_.end(), 0.0, latest);
  StepsChanged();
  Verdict.Set(run.outcome == RunOutcome::Running ? RunVerdict::None
              : run.outcome == RunOutcome::Ok    ? RunVerdict::Ok
                                                 : RunVerdict::Failure);
  AddProblem(run.failedStep.empty() ? "run" : run.failedStep, run.error);
}

double RunMonitor::Passed() const {
  return std::chrono::duration<double>(clock_.Steady() - began_).count();
}

double RunMonitor::Seconds() const {
  return ended_.value_or(Runs.Get() ? Passed() : 0);
}

const RunMonitor::Step* RunMonitor::Find(const std::string& name) const {
  const auto place = places_.find(name);
  return place == places_.end() ? nullptr : &steps_[place->second];
}

const RunMonitor::Fetch* RunMonitor::FindFetch(const std::string& link) const {
  const auto found = std::find_if(fetches_.rbegin(), fetches_.rend(),
                                  [&](const Fetch& fetch) { return fetch.link == link; });
  return found == fetches_.rend() ? nullptr : &*found;
}

std::string AmountOf(const RunMonitor::Step& step) {
  if (step.rows > 0) return Counted(step.rows, "row");
  if (step.files == 0 && step.bytes == 0) return "";
  return Counted(step.files, "file") + ", " + BytesText(step.bytes);
}

std::string FiguresOf(const RunMonitor::Step& step) {
  std::string text;
  const auto add = [&text](const std::string& figure) {
    text += (text.empty() ? "" : ", ") + figure;
  };
  if (const std::string amount = AmountOf(step); !amount.empty()) add(amount);
  if (step.rowsPerSecond >= 1) add(Grouped(std::llround(step.rowsPerSecond)) + " rows/s");
  if (step.rejected > 0) add(Grouped(step.rejected) + " rejected");
  return text;
}

std::string FiguresOf(const RunMonitor::Fetch& fetch) {
  const bool waits = fetch.state == StepState::Running && fetch.file.empty();
  if (waits && fetch.bytes == 0) return "waiting for its provider";
  return Counted(fetch.files, "file") + ", " + BytesText(fetch.bytes);
}

std::string ClockText(double seconds) {
  const auto whole = static_cast<long>(seconds);
  char text[32];
  if (whole >= 3600)
    std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60);
  else
    std::snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
  return text;
}

}  // namespace torvik
