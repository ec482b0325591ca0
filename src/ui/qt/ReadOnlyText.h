#pragma once

#include <QFontDatabase>
#include <QPlainTextEdit>

namespace torvik {

/// A text to read, in columns; it can be gone through, chosen from and copied by the keyboard too.
inline QPlainTextEdit* NewReadOnlyText(const QString& name) {
  auto* const text = new QPlainTextEdit;
  text->setReadOnly(true);
  text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  text->setAccessibleName(name);
  return text;
}

}  // namespace torvik
