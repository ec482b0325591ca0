#include "ui/qt/LinkPreviewPane.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include "ui/qt/controls/Words.h"

namespace torvik {
namespace {

constexpr int kRows = 20;
constexpr int kWidestColumn = 40;  ///< In characters.

QStringList TextsIn(const QJsonValue& array) {
  QStringList texts;
  for (const auto& text : array.toArray()) texts << text.toString();
  return texts;
}

/// A cell is one line, whatever its value holds.
QString OneLine(QString text) {
  for (QChar& c : text)
    if (c.category() == QChar::Other_Control) c = ' ';
  return text;
}

void Fill(QTableWidget& table, const QJsonObject& answer) {
  const QStringList columns = TextsIn(answer["columns"]);
  const QJsonArray rows = answer["rows"].toArray();
  table.clear();
  table.setColumnCount(static_cast<int>(columns.size()));
  table.setRowCount(static_cast<int>(rows.size()));
  table.setHorizontalHeaderLabels(columns);
  for (int row = 0; row < table.rowCount(); ++row) {
    const QStringList values = TextsIn(rows[row]);
    for (int column = 0; column < std::min<int>(table.columnCount(), values.size()); ++column) {
      auto* const cell = new QTableWidgetItem(OneLine(values[column]));
      cell->setToolTip(values[column]);
      table.setItem(row, column, cell);
    }
  }
  table.horizontalHeader()->setMaximumSectionSize(table.fontMetrics().averageCharWidth() *
                                                  kWidestColumn);
  table.resizeColumnsToContents();
}

}  // namespace

LinkPreviewPane::LinkPreviewPane(const QString& admin, std::function<std::string()> link)
    : admin_(admin), link_(std::move(link)) {
  items_ = new QComboBox;
  items_->setAccessibleName(Tr("File or table of the preview"));
  items_->setToolTip(Tr("Whose rows are shown: a file of the directory, a table"));
  items_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  items_->setFocusPolicy(Qt::StrongFocus);
  note_ = new QLabel;
  note_->setWordWrap(true);
  note_->setTextFormat(Qt::PlainText);
  note_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  table_ = new QTableWidget;
  table_->setAccessibleName(Tr("Preview of the data link"));
  table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  table_->setMinimumHeight(table_->fontMetrics().height() * 6);
  table_->setTabKeyNavigation(false);
  table_->verticalHeader()->setDefaultSectionSize(table_->fontMetrics().height() * 3 / 2);
  auto* const again = new QPushButton(Tr("Read again"));
  again->setAutoDefault(false);
  again->setToolTip(Tr("Shows the first %1 rows as they are now").arg(kRows));
  label_ = new QLabel(Tr("Rows of:"));
  label_->setBuddy(items_);
  auto* const head = new QHBoxLayout;
  head->addWidget(label_);
  head->addWidget(items_, 1);
  head->addWidget(again);
  auto* const layout = new QVBoxLayout(this);
  layout->addLayout(head);
  layout->addWidget(note_);
  layout->addWidget(table_, 1);
  layout->addStretch();
  Forget();
  connect(again, &QPushButton::clicked, this, [this] { Read(items_->currentText()); });
  connect(items_, &QComboBox::textActivated, this, [this](const QString& item) { Read(item); });
  connect(&process_, &QProcess::finished, this, [this] { Finish(); });
  connect(&process_, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
    if (error == QProcess::FailedToStart) Tell(process_.errorString());
  });
}

LinkPreviewPane::~LinkPreviewPane() {
  EndProcess();
}

void LinkPreviewPane::EndProcess() {
  const QSignalBlocker silence(process_);
  if (process_.state() == QProcess::NotRunning) return;
  process_.kill();
  process_.waitForFinished(1000);
}

void LinkPreviewPane::Forget() {
  EndProcess();
  items_->clear();
  ShowItems();
  table_->hide();
  note_->hide();
}

void LinkPreviewPane::ShowItems() {
  for (QWidget* const one : {static_cast<QWidget*>(label_), static_cast<QWidget*>(items_)})
    one->setVisible(items_->count() > 0);
}

void LinkPreviewPane::Tell(const QString& words) {
  note_->setText(words);
  note_->setVisible(!words.isEmpty());
}

/// The password goes by the pipe, where nobody sees it.
void LinkPreviewPane::Read(const QString& item) {
  EndProcess();
  const std::string link = link_();
  if (link.empty()) return;
  QStringList words = {"link", "preview", "-", "--json", "--rows", QString::number(kRows)};
  if (!item.isEmpty()) words << "--item" << item;
  Tell(Tr("Reading..."));
  process_.start(admin_, words);
  process_.write(QByteArray::fromStdString(link));
  process_.closeWriteChannel();
}

void LinkPreviewPane::Finish() {
  const QJsonObject preview = QJsonDocument::fromJson(process_.readAllStandardOutput()).object();
  if (preview.isEmpty()) {
    QString words = QString::fromUtf8(process_.readAllStandardError()).trimmed();
    const QString program = "torvik-admin: ";
    if (words.startsWith(program)) words.remove(0, program.size());
    table_->hide();
    return Tell(words.isEmpty() ? Tr("It cannot be read.") : words);
  }
  ShowAnswer(preview);
}

void LinkPreviewPane::ShowAnswer(const QJsonObject& preview) {
  items_->clear();
  items_->addItems(TextsIn(preview["items"]));
  items_->setCurrentText(preview["item"].toString());
  ShowItems();
  Fill(*table_, preview);
  table_->setVisible(table_->columnCount() > 0);
  Tell(preview["note"].toString());
}

}  // namespace torvik
