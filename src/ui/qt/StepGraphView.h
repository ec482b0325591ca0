#pragma once

#include <QGraphicsView>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "ui/RunMonitor.h"
#include "ui/qt/controls/PictureParts.h"

namespace torvik {

class StepBox;

/// A package as a graph of boxes and arrows, each box with its step's state. Dragged and zoomed by
/// the mouse, walked through by the arrow keys.
class StepGraphView final : public QGraphicsView, public PictureParts {
 public:
  explicit StepGraphView(RunMonitor& monitor);

  /// Told the position of the step that the operator chooses; -1: none.
  std::function<void(int)> onChosen;

  void ShowPackage();
  void ShowSteps();
  /// Chooses the next step whose name holds the text; false when there is none.
  bool FindNext(const QString& text);
  void FitAll() { Fit(0); }
  void Zoom(double factor);
  int Chosen() const { return chosen_; }
  void Choose(int step);

  int PartCount() const override { return static_cast<int>(boxes_.size()); }
  QString PartText(int step) const override;
  QRect PartPlace(int step) const override;
  int ChosenPart() const override { return chosen_; }
  void ChoosePart(int step) override { Choose(step); }
  bool IsBusy() const override { return monitor_.Runs.Get(); }

 private:
  void Fit(double smallest);
  void FollowRun();
  void resizeEvent(QResizeEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

  RunMonitor& monitor_;
  QGraphicsScene scene_;
  std::vector<StepBox*> boxes_;
  int chosen_ = -1;
  std::optional<double> fit_;  // its smallest factor, until the operator zooms
  bool follows_ = true;        // the steps that run, until the operator looks elsewhere
};

}  // namespace torvik
