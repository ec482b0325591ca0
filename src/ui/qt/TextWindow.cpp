#include "ui/qt/TextWindow.h"

#include <QCheckBox>
#include <QFile>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QShortcut>
#include <QTextDocument>
#include <QVBoxLayout>

#include "ui/qt/controls/Binders.h"
#include "ui/qt/controls/ReadOnlyText.h"
#include "ui/qt/controls/ScreenRoom.h"
#include "ui/qt/controls/Words.h"

namespace torvik {
namespace {

constexpr qint64 kMostBytes = qint64{8} << 20;
constexpr int kPaceMilliseconds = 500;

}  // namespace

TextWindow::TextWindow(QString path, const QString& title,
                       std::function<std::string(const std::string&)> decode)
    : path_(std::move(path)),
      decode_(std::move(decode)),
      text_(new ReadOnlyText(Tr("Text of the file"))),
      search_(new QLineEdit),
      follow_(new QCheckBox(Tr("&Follow"))),
      state_(new QLabel) {
  setAttribute(Qt::WA_DeleteOnClose);
  setWindowTitle(title);
  text_->setLineWrapMode(QPlainTextEdit::NoWrap);
  search_->setPlaceholderText(Tr("Find"));
  search_->setAccessibleName(Tr("Find"));
  search_->setToolTip(Tr("The return key finds the next place, with Shift the one before"));
  follow_->setChecked(true);
  follow_->setToolTip(Tr("What is written meanwhile comes into sight"));
  auto* const next = new QPushButton(Tr("&Next"));
  auto* const before = new QPushButton(Tr("&Before"));
  auto* const head = new QHBoxLayout;
  for (QWidget* widget : {static_cast<QWidget*>(search_), static_cast<QWidget*>(next),
                          static_cast<QWidget*>(before), static_cast<QWidget*>(follow_)})
    head->addWidget(widget);
  auto* const layout = new QVBoxLayout(this);
  layout->addLayout(head);
  layout->addWidget(text_, 1);
  layout->addWidget(state_);
  connect(search_, &QLineEdit::returnPressed, this, [this] { Find(false); });
  connect(next, &QPushButton::clicked, this, [this] { Find(false); });
  connect(before, &QPushButton::clicked, this, [this] { Find(true); });
  connect(new QShortcut(Qt::SHIFT | Qt::Key_Return, search_), &QShortcut::activated, this,
          [this] { Find(true); });
  connect(new QShortcut(QKeySequence::Find, this), &QShortcut::activated, search_,
          [this] { search_->setFocus(); });
  connect(new QShortcut(QKeySequence(Qt::Key_Escape), this), &QShortcut::activated, this,
          &QWidget::close);
  connect(&timer_, &QTimer::timeout, this, [this] { ReadOn(); });
  timer_.start(kPaceMilliseconds);
  ResizeOnScreen(*this, {fontMetrics().averageCharWidth() * 110, fontMetrics().height() * 36});
  ReadOn();
}

/// A file that has become shorter was begun anew.
void TextWindow::ReadOn() {
  QFile file(path_);
  if (!file.open(QIODevice::ReadOnly)) {
    state_->setText(path_ + ": " + file.errorString());
    return;
  }
  const qint64 size = file.size();
  if (size < read_) {
    read_ = 0;
    text_->clear();
  }
  state_->setText(size > kMostBytes && read_ < size - kMostBytes
                      ? Tr("%1 MB, of which the last 8 are shown").arg(size >> 20)
                      : path_);
  read_ = std::max(read_, size - kMostBytes);
  if (size == read_ || !file.seek(read_)) return;
  const QByteArray bytes = file.read(size - read_);
  read_ += bytes.size();
  QScrollBar& bar = *text_->verticalScrollBar();
  const int place = bar.value();
  QTextCursor end(text_->document());
  end.movePosition(QTextCursor::End);
  end.insertText(ToQt(decode_(bytes.toStdString())).remove('\r'));
  bar.setValue(follow_->isChecked() ? bar.maximum() : place);
}

/// Begins again at the other end when there is no further place.
void TextWindow::Find(bool backwards) {
  const auto flags = backwards ? QTextDocument::FindBackward : QTextDocument::FindFlags();
  if (search_->text().isEmpty()) return;
  follow_->setChecked(false);
  if (text_->find(search_->text(), flags)) return;
  text_->moveCursor(backwards ? QTextCursor::End : QTextCursor::Start);
  if (!text_->find(search_->text(), flags))
    state_->setText(Tr("\"%1\" is not in the file").arg(search_->text()));
}

}  // namespace torvik
