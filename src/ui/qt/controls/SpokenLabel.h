#pragma once

#include <QLabel>

namespace torvik {

/// Shows the text; a screen reader tells what it is as well: "Time of the run: 0:14".
inline void ShowSpoken(QLabel& label, const QString& what, const QString& text) {
  label.setText(text);
  label.setAccessibleName(text.isEmpty() ? what : what + ": " + text);
}

}  // namespace torvik
