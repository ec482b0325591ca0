#pragma once

#include <QColor>
#include <QPalette>
#include <QString>

#include "ui/RunMonitor.h"

namespace torvik {

/// How a step stands, for a picture: a sign as well as a colour, so that neither is needed alone.
struct StepLook {
  QString sign;
  QString word;
  QColor colour;
  bool operator==(const StepLook&) const = default;
};

/// `step` is null for one that has not begun. Once the run is over, with the verdict `atEnd`, such
/// a step was not reached, which is told by colour in a failed run alone.
StepLook LookOf(const dts::StepOutline& outline, const RunMonitor::Step* step, RunVerdict atEnd);

/// Of a fetch, or of a step that has begun or will not.
StepLook LookOf(StepState state);

/// Of a run.
QColor VerdictColour(RunOutcome outcome);

/// The same colour, as bright as a text needs it.
QColor ForText(const QColor& colour, const QPalette& palette);

/// "12 ms", "3.4 s".
QString SecondsText(double seconds);

/// When a run began, and the sign of how it ended.
QString BeginOf(const RunRecord& run);
QString SignOf(const RunRecord& run);

}  // namespace torvik
