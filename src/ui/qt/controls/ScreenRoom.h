#pragma once

#include <QScreen>
#include <QWidget>

namespace torvik {

/// The window gets its size where the screen has it, and leaves room for its frame.
inline void ResizeOnScreen(QWidget& window, const QSize& size) {
  window.resize(size.boundedTo(window.screen()->availableSize() * 9 / 10));
}

}  // namespace torvik
