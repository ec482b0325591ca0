#include "ui/RunMonitor.h"

#include <algorithm>
#include <cmath>

#include "platform/Clock.h"

namespace torvik {
namespace {

/// With commas between the thousands.
std::string Grouped(std::int64_t number) {
  std::string text = std::to_string(number);
  for (auto at = static_cast<std::ptrdiff_t>(text.size()) - 3; at > 0; at -= 3)
    text.insert(static_cast<std::size_t>(at), ",");
  return text;
}

const char* WordFor(StepState state) {
  switch (state) {
    case StepState::Running: return "running";
    case StepState::Done: return "done";
    case StepState::Failed: return "failed";
  }
  return "";
}

}  // namespace

void RunMonitor::Begin() {
  Forget();
  Runs.Set(true);
}

void RunMonitor::Forget() {
  lines_.clear();
  begins_.clear();
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
  std::vector<Problem> problems = Problems.Get();
  const auto isTold = [&](const Problem& one) { return one.reason == reason; };
  if (reason.empty() || std::ranges::any_of(problems, isTold)) return;
  problems.push_back({place, reason});
  Problems.Set(std::move(problems));
}

void RunMonitor::ShowStep(const StepProgress& progress) {
  std::vector<Step> steps = Steps.Get();
  auto step = std::ranges::find(steps, progress.step, &Step::name);
  if (step == steps.end()) {
    steps.push_back({progress.step});
    begins_.push_back(clock_.Steady());
    step = steps.end() - 1;
  }
  // A step that has failed is told to have ended as well.
  if (step->state != StepState::Failed) step->state = progress.state;
  step->rows = std::max(step->rows, progress.rows);
  const std::chrono::duration<double> passed =
      clock_.Steady() - begins_[static_cast<std::size_t>(step - steps.begin())];
  if (step->rows > 0 && passed.count() > 0)
    step->rowsPerSecond = static_cast<double>(step->rows) / passed.count();
  Steps.Set(std::move(steps));
}

std::string Described(const RunMonitor::Step& step) {
  std::string text = WordFor(step.state);
  if (step.rows > 0) text += ", " + Grouped(step.rows) + " rows";
  if (step.rowsPerSecond >= 1) text += ", " + Grouped(std::llround(step.rowsPerSecond)) + " rows/s";
  return text;
}

}  // namespace torvik
