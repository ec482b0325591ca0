#pragma once

#include <QFontDatabase>
#include <QPlainTextEdit>

namespace torvik {

/// A text to read, in columns; it can be gone through, chosen from and copied by the keyboard too.
/// A few lines are enough for it; it takes what room there is.
class ReadOnlyText final : public QPlainTextEdit {
 public:
  explicit ReadOnlyText(const QString& name) {
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    setAccessibleName(name);
  }

  QSize sizeHint() const override {
    return {fontMetrics().averageCharWidth() * 30, fontMetrics().height() * 5};
  }
};

}  // namespace torvik
