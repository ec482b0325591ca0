#pragma once

#include <QLineEdit>

namespace torvik {

/// A field for a path. While the keyboard is elsewhere a long path is shown with its middle left
/// out, since its begin and its end say most.
class PathEdit final : public QLineEdit {
 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace torvik
