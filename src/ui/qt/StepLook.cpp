#include "ui/qt/StepLook.h"

#include "ui/qt/Words.h"

namespace torvik {
namespace {

// They stand out on white and on dark grey alike.
const QColor kGreen(46, 140, 80), kRed(205, 60, 60), kBlue(52, 120, 210), kGrey(128, 128, 128),
    kOrange(190, 110, 20);

}  // namespace

StepLook LookOf(const dts::StepOutline& outline, const RunMonitor::Step* step, bool isOver) {
  if (step == nullptr || step->state == StepState::NotRun) {
    if (outline.isDisabled) return {"⊘", Tr("disabled"), kGrey};
    if (step != nullptr || isOver) return {"–", Tr("not reached"), kOrange};
    return {"○", Tr("waiting"), kGrey};
  }
  switch (step->state) {
    case StepState::Running: return {"◐", Tr("running"), kBlue};
    case StepState::Done: return {"✓", Tr("done"), kGreen};
    case StepState::Failed: return {"✗", Tr("failed"), kRed};
    case StepState::NotRun: break;
  }
  return {};
}

QColor VerdictColour(RunOutcome outcome) {
  if (outcome == RunOutcome::Running) return kBlue;
  return outcome == RunOutcome::Ok ? kGreen : kRed;
}

}  // namespace torvik
