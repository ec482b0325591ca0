#pragma once

#include <QWidget>
#include <algorithm>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "ui/RunMonitor.h"
#include "ui/qt/StepLook.h"
#include "ui/qt/controls/PictureParts.h"

namespace torvik {

/// How a fetch is named among the steps: "data link NAME".
std::string PlaceOfFetch(const std::string& link);

/// A bar for each fetch and each step that has begun, from its begin to its end, below a scale of
/// seconds. The arrow keys go from bar to bar.
class TimeLine final : public QWidget, public PictureParts {
 public:
  explicit TimeLine(RunMonitor& monitor);

  /// Told the name of the step that the operator chooses, or the place of the fetch.
  std::function<void(const std::string&)> onChosen;

  /// Marks the bar of that place; answers where it stands, -1: nowhere.
  int Choose(const std::string& place);
  /// Shows how the steps stand now.
  void Refresh();
  QSize sizeHint() const override;

  int PartCount() const override { return static_cast<int>(bars_.size()); }
  QString PartText(int bar) const override;
  QRect PartPlace(int bar) const override;
  int ChosenPart() const override;
  void ChoosePart(int bar) override;
  bool IsBusy() const override { return monitor_.Runs.Get(); }

 private:
  struct Bar {
    std::string place;
    double begin = 0;
    std::optional<double> end;
    StepLook look;
    QString figures;
  };

  void ReadBars();
  int RowHeight() const { return fontMetrics().height() + 4; }
  int NameWidth() const;
  int ScaleTop() const { return std::max(0, -y()); }
  void DrawGrid(QPainter& painter, int left, double all) const;
  void DrawScale(QPainter& painter, int left, double all) const;
  void DrawBar(QPainter& painter, const Bar& bar, int y, int left, double perSecond) const;
  void moveEvent(QMoveEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

  RunMonitor& monitor_;
  std::vector<Bar> bars_;
  int widestName_ = 0;  // of the bars
  std::string chosen_;
};

}  // namespace torvik
