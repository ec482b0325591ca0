#include "ui/qt/controls/Sparkline.h"

#include <QPainter>
#include <algorithm>

namespace torvik {

void Sparkline::Show(std::vector<std::int64_t> values) {
  if (values == values_) return;
  values_ = std::move(values);
  setVisible(values_.size() > 1);
  update();
}

QSize Sparkline::sizeHint() const {
  return {fontMetrics().averageCharWidth() * 20, fontMetrics().height() * 2};
}

void Sparkline::paintEvent(QPaintEvent*) {
  if (values_.empty()) return;
  QPainter painter(this);
  const auto most =
      static_cast<double>(std::max<std::int64_t>(1, *std::ranges::max_element(values_)));
  const double step = static_cast<double>(width()) / static_cast<double>(values_.size());
  for (std::size_t i = 0; i < values_.size(); ++i) {
    const double high = (height() - 2) * static_cast<double>(values_[i]) / most;
    painter.fillRect(
        QRectF(static_cast<double>(i) * step, height() - high, std::max(1.0, step - 1), high),
        QColor(52, 120, 210));
  }
}

}  // namespace torvik
