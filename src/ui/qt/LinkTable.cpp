#include "ui/qt/LinkTable.h"

#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QStyle>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "ui/frmRunnerMain.h"
#include "ui/qt/controls/Binders.h"
#include "ui/qt/controls/Words.h"

namespace torvik {
namespace {

/// From so many links on they can be filtered.
constexpr std::size_t kManyLinks = 8;
constexpr int kPlaceColumn = 2;
constexpr int kListingMilliseconds = 50;

QStyle::StandardPixmap IconOf(LinkPicture picture) {
  switch (picture) {
    case LinkPicture::Server: return QStyle::SP_DriveNetIcon;
    case LinkPicture::Files: return QStyle::SP_DirIcon;
    case LinkPicture::Workbook: return QStyle::SP_FileDialogDetailedView;
    case LinkPicture::Database: return QStyle::SP_DriveHDIcon;
    case LinkPicture::Other: break;
  }
  return QStyle::SP_FileIcon;
}

class LinkTable final : public QTreeWidget {
 public:
  explicit LinkTable(frmRunnerMain& form) : form_(form) {
    setHeaderLabels({Tr("Name"), Tr("Kind"), Tr("Leads to"), Tr("Fetched"), Tr("Edited")});
    setAccessibleName(Tr("Data links"));
    setToolTip(Tr("The data links of the package's model"));
    setRootIsDecorated(false);
    setUniformRowHeights(true);
    setTextElideMode(Qt::ElideMiddle);
    header()->setStretchLastSection(false);
    header()->setSectionResizeMode(kPlaceColumn, QHeaderView::Stretch);
    Fit();
    setMinimumSize(fontMetrics().averageCharWidth() * 16, fontMetrics().height() * 7);
    Watch(form.LinkRows, *this,
          [](LinkTable& table, const std::vector<LinkRow>& rows) { table.Show(rows); });
    Watch(form.lstDataLinks.ListIndex, *this, [](LinkTable& table, int position) {
      if (table.Position() != position) table.setCurrentItem(table.topLevelItem(position));
    });
    connect(this, &QTreeWidget::currentItemChanged, this, [this] { Choose(); });
  }

  void Filter(const QString& text) {
    for (int i = 0; i < topLevelItemCount(); ++i) {
      bool isShown = false;
      for (int column = 0; column < columnCount(); ++column)
        isShown |= topLevelItem(i)->text(column).contains(text, Qt::CaseInsensitive);
      topLevelItem(i)->setHidden(!isShown);
    }
  }

 private:
  int Position() const { return indexOfTopLevelItem(currentItem()); }

  void Choose() {
    if (isFilling_ || form_.lstDataLinks.ListIndex.Get() == Position()) return;
    // The keyboard makes the first row the current one when it comes here.
    if (currentItem() != nullptr) currentItem()->setSelected(true);
    form_.lstDataLinks.ListIndex.Set(Position());
    form_.lstDataLinks_Click();
  }

  /// Rows change in their place while a link is edited.
  void Show(const std::vector<LinkRow>& rows) {
    isFilling_ = true;
    const bool isOther = topLevelItemCount() != static_cast<int>(rows.size());
    if (isOther) clear();
    for (std::size_t i = 0; i < rows.size(); ++i)
      ShowRow(isOther ? *new QTreeWidgetItem(this) : *topLevelItem(static_cast<int>(i)), rows[i]);
    if (isOther) Fit();
    isFilling_ = false;
  }

  /// What stands in a column, and a gap before the next.
  void Fit() {
    for (const int column : {0, 1, 3, 4}) {
      resizeColumnToContents(column);
      setColumnWidth(column, columnWidth(column) + fontMetrics().averageCharWidth());
    }
  }

  void ShowRow(QTreeWidgetItem& item, const LinkRow& row) {
    const QString texts[] = {ToQt(row.name), ToQt(row.kind), ToQt(row.place), ToQt(row.fetched),
                             row.isEdited ? Tr("edited") : QString()};
    for (int column = 0; column < columnCount(); ++column) item.setText(column, texts[column]);
    item.setToolTip(kPlaceColumn, texts[kPlaceColumn]);
    item.setIcon(1, style()->standardIcon(IconOf(row.picture)));
  }

  frmRunnerMain& form_;
  bool isFilling_ = false;
};

/// Lists the links of a job that is opened, and says what becomes of it.
QLabel* NewListing(frmRunnerMain& form) {
  auto* const note = new QLabel;
  note->setWordWrap(true);
  note->setEnabled(false);
  note->setAccessibleName(Tr("Note on the data links"));
  Watch(form.LinksNote, *note, [](QLabel& label, const std::string& text) {
    label.setText(Tr(text.c_str()));
    label.setVisible(!text.empty());
  });
  auto* const timer = new QTimer(note);
  timer->setInterval(kListingMilliseconds);
  QObject::connect(timer, &QTimer::timeout, note, [&form] { form.TakeLinks(); });
  Watch(form.ListsLinks, *timer, [](QTimer& one, bool lists) { lists ? one.start() : one.stop(); });
  form.JobRead.Observe([&form, isShown = QPointer<QLabel>(note)] {
    if (isShown) form.ListLinks();
  });
  return note;
}

}  // namespace

QWidget* NewLinkTable(frmRunnerMain& form) {
  auto* const side = new QWidget;
  auto* const layout = new QVBoxLayout(side);
  layout->setContentsMargins(0, 0, 0, 0);
  auto* const table = new LinkTable(form);
  auto* const filter = new QLineEdit;
  filter->setPlaceholderText(Tr("Filter"));
  filter->setAccessibleName(Tr("Filter of the data links"));
  filter->setToolTip(Tr("Shows the data links that have this text in one of their columns"));
  filter->setClearButtonEnabled(true);
  QObject::connect(filter, &QLineEdit::textChanged, table,
                   [table](const QString& text) { table->Filter(text); });
  Watch(form.LinkRows, *filter, [table](QLineEdit& line, const std::vector<LinkRow>& rows) {
    line.setVisible(rows.size() >= kManyLinks);
    if (rows.size() < kManyLinks) line.clear();
    table->Filter(line.text());
  });
  auto* const load = new QPushButton;
  load->setAutoDefault(false);
  Bind(*load, form.cmdLoadDataLinks, [&form] { form.cmdLoadDataLinks_Click(); });
  SetHelp(*load, form.cmdLoadDataLinks, Tr("Reads the data links from the data warehouse"));
  layout->addWidget(filter);
  layout->addWidget(table);
  layout->addWidget(NewListing(form));
  layout->addWidget(load);
  return side;
}

}  // namespace torvik
