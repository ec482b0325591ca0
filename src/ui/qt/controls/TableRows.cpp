#include "ui/qt/controls/TableRows.h"

#include <QStyledItemDelegate>
#include <QTreeWidget>

namespace torvik {
namespace {

class RowDelegate final : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
    const int pad = option.fontMetrics.height() / 2;
    return QStyledItemDelegate::sizeHint(option, index) + QSize(2 * pad, pad);
  }

 protected:
  void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
    QStyledItemDelegate::initStyleOption(option, index);
    if (option->displayAlignment & Qt::AlignRight) option->text += QChar(0x2002);
    option->displayAlignment =
        (option->displayAlignment & Qt::AlignHorizontal_Mask) | Qt::Alignment(Qt::AlignVCenter);
  }
};

}  // namespace

void SpaceRows(QTreeWidget& table) {
  table.setItemDelegate(new RowDelegate(&table));
}

void FitColumns(QTreeWidget& table) {
  for (int column = 0; column + 1 < table.columnCount(); ++column)
    table.resizeColumnToContents(column);
}

}  // namespace torvik
