#include "ui/qt/StepLook.h"

#include <QDateTime>

#include "ui/qt/controls/Words.h"

namespace torvik {
namespace {

// They stand out on white and on dark grey alike.
const QColor kGreen(46, 140, 80), kRed(205, 60, 60), kBlue(52, 120, 210), kGrey(128, 128, 128),
    kOrange(190, 110, 20);

}  // namespace

StepLook LookOf(const dts::StepOutline& outline, const RunMonitor::Step* step, RunVerdict atEnd) {
  if (step == nullptr || step->state == StepState::NotRun) {
    if (outline.isDisabled) return {"⊘", Tr("disabled"), kGrey};
    if (atEnd == RunVerdict::Failure) return {"–", Tr("not reached"), kOrange};
    if (step != nullptr || atEnd == RunVerdict::Ok) return LookOf(StepState::NotRun);
    return {"○", Tr("waiting"), kGrey};
  }
  return LookOf(step->state);
}

StepLook LookOf(StepState state) {
  switch (state) {
    case StepState::Running: return {"◐", Tr("running"), kBlue};
    case StepState::Done: return {"✓", Tr("done"), kGreen};
    case StepState::Failed: return {"✗", Tr("failed"), kRed};
    case StepState::NotRun: return {"–", Tr("not reached"), kGrey};
  }
  return {};
}

QColor VerdictColour(RunOutcome outcome) {
  if (outcome == RunOutcome::Running) return kBlue;
  return outcome == RunOutcome::Ok ? kGreen : kRed;
}

QColor ForText(const QColor& colour, const QPalette& palette) {
  const bool isDark = palette.color(QPalette::Base).lightness() < 128;
  return isDark ? colour.lighter(165) : colour;
}

QString SecondsText(double seconds) {
  constexpr double kShown = 0.0995;  // less would be written as 0.1 s and shorter
  if (seconds < 0.0005) return Tr("< 1 ms");
  return seconds < kShown ? QString::number(seconds * 1000, 'f', 0) + Tr(" ms")
                          : QString::number(seconds, 'f', 1) + Tr(" s");
}

QString BeginOf(const RunRecord& run) {
  const auto seconds =
      std::chrono::duration_cast<std::chrono::seconds>(run.begin.time_since_epoch()).count();
  return QDateTime::fromSecsSinceEpoch(seconds).toString("yyyy-MM-dd HH:mm:ss");
}

QString SignOf(const RunRecord& run) {
  switch (run.outcome) {
    case RunOutcome::Ok: return "✓";
    case RunOutcome::Running: return "◐";
    default: return "✗";
  }
}

}  // namespace torvik
