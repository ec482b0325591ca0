#pragma once

#include <QWidget>
#include <functional>
#include <string>
#include <vector>

#include "ui/RunMonitor.h"

namespace torvik {

/// A bar for each step that has begun, from its begin to its end, below a scale of seconds.
class TimeLine final : public QWidget {
 public:
  explicit TimeLine(RunMonitor& monitor);

  /// Told the name of the step that the operator clicks.
  std::function<void(const std::string&)> onChosen;

  /// Shows how the steps stand now.
  void Refresh();
  QSize sizeHint() const override;

 private:
  std::vector<const RunMonitor::Step*> Begun() const;
  int RowHeight() const { return fontMetrics().height() + 4; }
  int NameWidth() const;
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;

  RunMonitor& monitor_;
};

}  // namespace torvik
