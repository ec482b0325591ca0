#pragma once

#include <QWidget>
#include <cstdint>
#include <vector>

namespace torvik {

/// A small chart of values, the last at the right end.
class Sparkline final : public QWidget {
 public:
  void Show(std::vector<std::int64_t> values);
  QSize sizeHint() const override;

 private:
  void paintEvent(QPaintEvent* event) override;

  std::vector<std::int64_t> values_;
};

}  // namespace torvik
