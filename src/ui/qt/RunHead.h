#pragma once

#include <QWidget>

class QBoxLayout;
class QLabel;

namespace torvik {

class StepGraphView;
class frmRunnerMain;

/// The head of the Run page: how the run stands, and what can be done with it; beside each other
/// where there is room, else below.
class RunHead final : public QWidget {
 public:
  RunHead(frmRunnerMain& form, StepGraphView& graph);

  /// The time of the run, and what else there is to say of it.
  void ShowTime(const QString& words);

 private:
  void AddTools(frmRunnerMain& form, StepGraphView& graph);
  void Arrange();
  void resizeEvent(QResizeEvent* event) override;

  QBoxLayout *all_, *state_, *tools_;
  QLabel* time_;
};

}  // namespace torvik
