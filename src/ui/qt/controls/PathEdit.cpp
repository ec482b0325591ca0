#include "ui/qt/controls/PathEdit.h"

#include <QStyleOptionFrame>
#include <QStylePainter>

namespace torvik {

void PathEdit::paintEvent(QPaintEvent* event) {
  QStyleOptionFrame frame;
  initStyleOption(&frame);
  const int margin = fontMetrics().averageCharWidth() / 2;
  const QRect room = style()
                         ->subElementRect(QStyle::SE_LineEditContents, &frame, this)
                         .marginsRemoved(textMargins())
                         .adjusted(margin, 0, -margin, 0);
  if (hasFocus() || fontMetrics().horizontalAdvance(text()) <= room.width())
    return QLineEdit::paintEvent(event);
  QStylePainter painter(this);
  painter.drawPrimitive(QStyle::PE_PanelLineEdit, frame);
  painter.drawItemText(room, Qt::AlignLeft | Qt::AlignVCenter, palette(), isEnabled(),
                       fontMetrics().elidedText(text(), Qt::ElideMiddle, room.width()),
                       QPalette::Text);
}

}  // namespace torvik
