#include "ui/RunMonitor.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "platform/Clock.h"

namespace torvik {
namespace {

/// As many intervals as a small chart shows; then they become twice as long.
constexpr std::size_t kMostRates = 120;

const char* WordFor(StepState state) {
  switch (state) {
    case StepState::Running: return "running";
    case StepState::Done: return "done";
    case StepState::Failed: return "failed";
    case StepState::NotRun: return "not run";
  }
  return "";
}

double SecondsBetween(Moment from, Moment to) {
  return std::chrono::duration<double>(to - from).count();
}

RunMonitor::Step StepOf(const StepRecord& record, Moment begin) {
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

}  // namespace

void RunMonitor::Begin() {
  Forget();
  began_ = clock_.Steady();
  Runs.Set(true);
}

void RunMonitor::End() {
  if (!ended_) ended_ = Passed();
  Runs.Set(false);
}

void RunMonitor::Forget() {
  lines_.clear();
  places_.clear();
  ended_.reset();
  Title.Set("");
  Package.Set({});
  Steps.Set({});
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
    std::vector<Step> steps = Steps.Get();
    steps[step->second].error = reason;
    Steps.Set(std::move(steps));
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

void RunMonitor::ShowStep(const StepProgress& progress) {
  std::vector<Step> steps = Steps.Get();
  const auto [place, isNew] = places_.try_emplace(progress.step, steps.size());
  if (isNew) steps.emplace_back();
  Step& step = steps[place->second];
  const bool runsAgain = step.end && progress.state == StepState::Running && progress.rows == 0 &&
                         progress.rejected == 0;
  if (isNew || runsAgain) {
    step = {progress.step};
    step.begin = Passed();
  }
  // A step that has failed is told to have ended as well.
  if (step.state != StepState::Failed) step.state = progress.state;
  if (progress.state != StepState::Running && !step.end) step.end = Passed();
  Count(step, progress.rows);
  step.rejected = std::max(step.rejected, progress.rejected);
  Steps.Set(std::move(steps));
}

/// Rows so far, with the rate of each interval.
void RunMonitor::Count(Step& step, std::int64_t rows) const {
  const double passed = step.end.value_or(Passed()) - step.begin;
  const auto before = static_cast<double>(step.rows);
  step.rows = std::max(step.rows, rows);
  if (step.rows == 0 || passed <= 0) return;
  step.rowsPerSecond = static_cast<double>(step.rows) / passed;
  // Each entry stands for the rows since the one before: told every 100 ms, it is an interval.
  if (static_cast<double>(step.rows) > before)
    step.rates.push_back(static_cast<double>(step.rows) - before);
  if (step.rates.size() <= kMostRates) return;
  for (std::size_t i = 0; i < kMostRates / 2; ++i)
    step.rates[i] = (step.rates[2 * i] + step.rates[2 * i + 1]) / 2;
  step.rates.resize(kMostRates / 2);
}

void RunMonitor::ShowRecord(const RunRecord& run, const std::string& title) {
  std::vector<dts::StepOutline> package = Package.Get();
  const bool isKnown = std::ranges::all_of(run.steps, [&](const StepRecord& record) {
    return std::ranges::count(package, record.step, &dts::StepOutline::name) > 0;
  });
  if (!isKnown || package.empty()) {  // of another package: its order is not known
    package.clear();
    for (const StepRecord& record : run.steps)
      if (std::ranges::count(package, record.step, &dts::StepOutline::name) == 0)
        package.push_back({.name = record.step});
  }
  Forget();
  Package.Set(std::move(package));
  Title.Set(title);
  std::vector<Step> steps;
  for (const StepRecord& record : run.steps) {  // the last execution of each
    const auto [place, isNew] = places_.try_emplace(record.step, steps.size());
    if (isNew) steps.emplace_back();
    steps[place->second] = StepOf(record, run.begin);
  }
  ended_ = run.end ? SecondsBetween(run.begin, *run.end) : 0;
  Steps.Set(std::move(steps));
  Verdict.Set(run.outcome == RunOutcome::Ok ? RunVerdict::Ok : RunVerdict::Failure);
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
  return place == places_.end() ? nullptr : &Steps.Get()[place->second];
}

std::string Described(const RunMonitor::Step& step) {
  std::string text = WordFor(step.state);
  if (step.rows > 0) text += ", " + GroupedNumber(step.rows) + " rows";
  if (step.rowsPerSecond >= 1)
    text += ", " + GroupedNumber(std::llround(step.rowsPerSecond)) + " rows/s";
  if (step.rejected > 0) text += ", " + GroupedNumber(step.rejected) + " rejected";
  return text;
}

std::string GroupedNumber(std::int64_t number) {
  std::string text = std::to_string(number);
  for (auto at = static_cast<std::ptrdiff_t>(text.size()) - 3; at > 0; at -= 3)
    text.insert(static_cast<std::size_t>(at), ",");
  return text;
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
