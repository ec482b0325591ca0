#pragma once

#include <QWidget>
#include <vector>

namespace torvik {

/// A small chart of values, the last at the right end.
class Sparkline final : public QWidget {
 public:
  void Show(std::vector<double> values);
  QSize sizeHint() const override;

 private:
  void paintEvent(QPaintEvent* event) override;

  std::vector<double> values_;
};

}  // namespace torvik
