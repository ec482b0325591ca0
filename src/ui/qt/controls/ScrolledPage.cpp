#include "ui/qt/controls/ScrolledPage.h"

#include <QApplication>
#include <QScrollArea>

namespace torvik {
namespace {

class ScrolledPage final : public QScrollArea {
 public:
  explicit ScrolledPage(QWidget* page) {
    setWidget(page);
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* focus) {
      // What is clicked stays below the mouse.
      const bool isClicked = QApplication::mouseButtons() != Qt::NoButton;
      if (focus != nullptr && !isClicked && widget()->isAncestorOf(focus))
        BringIntoSight(*ShownWith(focus));
    });
  }

 private:
  /// What is itself scrolled on the page is shown as a whole where it has room.
  QWidget* ShownWith(QWidget* focus) const {
    QWidget* shown = focus;
    for (QWidget* one = focus; one != widget(); one = one->parentWidget())
      if (qobject_cast<QAbstractScrollArea*>(one) != nullptr &&
          one->height() <= viewport()->height())
        shown = one;
    return shown;
  }

  /// Of what is larger than the area, its begin.
  void BringIntoSight(const QWidget& shown) {
    const int margin = fontMetrics().height() / 2;
    const QPoint begin = shown.mapTo(widget(), QPoint());
    const QPoint end = begin + QPoint(shown.width(), shown.height());
    ensureVisible(end.x(), end.y(), margin, margin);
    ensureVisible(begin.x(), begin.y(), margin, margin);
  }

  /// That of the base class cares for the text cursor alone.
  bool focusNextPrevChild(bool next) override {
    return QWidget::focusNextPrevChild(next);  // NOLINT(bugprone-parent-virtual-call)
  }
};

}  // namespace

QScrollArea* Scrolled(QWidget* page) {
  return new ScrolledPage(page);
}

}  // namespace torvik
