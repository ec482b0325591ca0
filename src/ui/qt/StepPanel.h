#pragma once

#include <QWidget>

#include "ui/RunMonitor.h"

class QLabel;
class QPlainTextEdit;

namespace torvik {

class Sparkline;

/// What is known of one step: what it does, how it stands, rows a second over time, its error.
class StepPanel final : public QWidget {
 public:
  explicit StepPanel(RunMonitor& monitor);

  /// By its position in the package; -1: none.
  void Choose(int step);
  void Refresh();

 private:
  RunMonitor& monitor_;
  int step_ = -1;
  QLabel *name_, *state_, *error_;
  Sparkline* rates_;
  QPlainTextEdit* text_;
};

}  // namespace torvik
