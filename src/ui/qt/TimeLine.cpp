#include "ui/qt/TimeLine.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyleOption>
#include <algorithm>
#include <cmath>

#include "ui/qt/StepLook.h"
#include "ui/qt/controls/Binders.h"
#include "ui/qt/controls/Words.h"

namespace torvik {
namespace {

constexpr int kMargin = 6;

/// 1, 2 or 5 times a power of ten, or whole minutes and hours: about six marks on the scale.
double MarkEvery(double seconds) {
  for (const double mark : {0.1, 0.2, 0.5, 1.0, 2.0, 5.0, 10.0, 20.0, 30.0, 60.0, 120.0, 300.0,
                            600.0, 1800.0, 3600.0, 7200.0, 14400.0})
    if (seconds / mark <= 7) return mark;
  return 28800;
}

}  // namespace

std::string PlaceOfFetch(const std::string& link) {
  return "data link " + link;
}

TimeLine::TimeLine(RunMonitor& monitor) : monitor_(monitor) {
  setAccessibleName(Tr("Time line of the steps"));
  TellScreenReaders();
  setFocusPolicy(Qt::StrongFocus);
  setAutoFillBackground(true);
  setBackgroundRole(QPalette::Base);
}

void TimeLine::Refresh() {
  ReadBars();
  const int height = sizeHint().height();
  if (minimumHeight() != height) setMinimumHeight(height);
  update();
}

int TimeLine::Choose(const std::string& place) {
  chosen_ = place;
  update();
  const int bar = ChosenPart();
  TellPartChosen(*this, bar);
  return bar < 0 ? -1 : PartPlace(bar).top();
}

void TimeLine::ReadBars() {
  bars_.clear();
  for (const RunMonitor::Fetch& fetch : monitor_.Fetches())
    bars_.push_back({PlaceOfFetch(fetch.link), fetch.begin, fetch.end, LookOf(fetch.state),
                     ToQt(FiguresOf(fetch))});
  for (const RunMonitor::Step& step : monitor_.Steps())
    if (step.state != StepState::NotRun)
      bars_.push_back({step.name, step.begin, step.end, LookOf(step.state), ToQt(AmountOf(step))});
  widestName_ = 0;
  for (const Bar& bar : bars_)
    widestName_ = std::max(widestName_, fontMetrics().horizontalAdvance(ToQt(bar.place)));
}

QSize TimeLine::sizeHint() const {
  const auto rows = static_cast<int>(bars_.size());
  return {fontMetrics().averageCharWidth() * 80, RowHeight() * (rows + 1) + 4};
}

int TimeLine::NameWidth() const {
  return std::min(widestName_ + 3 * kMargin, width() / 3);
}

void TimeLine::DrawGrid(QPainter& painter, int left, double all) const {
  QColor line = palette().color(QPalette::Text);
  line.setAlphaF(0.15F);
  painter.setPen(line);
  for (double at = 0, mark = MarkEvery(all); at <= all; at += mark) {
    const double x = left + at * (width() - left - 8) / all;
    painter.drawLine(QPointF(x, 0), QPointF(x, height()));
  }
}

/// It stays in sight, above the bars that are scrolled.
void TimeLine::DrawScale(QPainter& painter, int left, double all) const {
  const int top = ScaleTop(), row = RowHeight();
  painter.fillRect(QRect(0, top, width(), row), palette().color(QPalette::Base));
  painter.setPen(palette().color(QPalette::PlaceholderText));
  const double mark = MarkEvery(all);
  for (double at = 0; at <= all; at += mark) {
    const double x = left + at * (width() - left - 8) / all + 3;
    const QString text = mark < 1 ? QString::number(at, 'f', 1) + Tr(" s") : ToQt(ClockText(at));
    if (x + fontMetrics().horizontalAdvance(text) < width())
      painter.drawText(QPointF(x, top + row - 5), text);
  }
}

/// The figures stand right of the bar; where there is no room, in it or left of it.
void TimeLine::DrawBar(QPainter& painter, const Bar& bar, int y, int left, double perSecond) const {
  const int row = RowHeight();
  if (bar.place == chosen_) {
    QColor mark = palette().color(QPalette::Highlight);
    mark.setAlphaF(0.25F);
    painter.fillRect(QRect(0, y, width(), row), mark);
  }
  painter.setPen(palette().color(QPalette::Text));
  painter.drawText(QRect(kMargin, y, left - 2 * kMargin, row), Qt::AlignVCenter | Qt::AlignLeft,
                   fontMetrics().elidedText(ToQt(bar.place), Qt::ElideRight, left - 2 * kMargin));
  const double begin = left + bar.begin * perSecond;
  const double length =
      std::max(2.0, (bar.end.value_or(monitor_.Seconds()) - bar.begin) * perSecond);
  painter.fillRect(QRectF(begin, y + 3, length, row - 6), bar.look.colour);
  const QString words = bar.look.sign + (bar.figures.isEmpty() ? "" : "  " + bar.figures);
  const double room = fontMetrics().horizontalAdvance(words) + 8;
  double at = begin + length + 4;
  if (at + room > width()) {
    at = (length >= room ? begin + length : begin) - room;
    if (length >= room) painter.setPen(Qt::white);
  }
  painter.drawText(QRectF(at, y, room, row), Qt::AlignVCenter | Qt::AlignLeft, words);
}

void TimeLine::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  const int left = NameWidth(), row = RowHeight();
  const double all = std::max(0.1, monitor_.Seconds());
  const double perSecond = (width() - left - 8) / all;
  DrawGrid(painter, left, all);
  // A thousand steps are scrolled: those in sight are drawn.
  const int first = std::max(0, event->rect().top() / row - 1);
  const int last = std::min(static_cast<int>(bars_.size()), event->rect().bottom() / row + 1);
  for (int i = first; i < last; ++i)
    DrawBar(painter, bars_[static_cast<std::size_t>(i)], row * (i + 1), left, perSecond);
  DrawScale(painter, left, all);
  if (!hasFocus()) return;
  QStyleOptionFocusRect focus;
  focus.initFrom(this);
  focus.rect = visibleRegion().boundingRect();
  style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter, this);
}

void TimeLine::moveEvent(QMoveEvent*) {
  update();  // the scale stays where it is
}

void TimeLine::mousePressEvent(QMouseEvent* event) {
  const int y = static_cast<int>(event->position().y());
  const int row = y < ScaleTop() + RowHeight() ? -1 : y / RowHeight() - 1;
  if (row >= 0 && row < PartCount()) ChoosePart(row);
}

void TimeLine::keyPressEvent(QKeyEvent* event) {
  const bool goesOn = event->key() == Qt::Key_Down, goesBack = event->key() == Qt::Key_Up;
  if ((!goesOn && !goesBack) || bars_.empty()) return QWidget::keyPressEvent(event);
  const int now = ChosenPart();
  ChoosePart(now < 0 ? 0 : std::clamp(now + (goesOn ? 1 : -1), 0, PartCount() - 1));
}

QString TimeLine::PartText(int bar) const {
  const Bar& one = bars_[static_cast<std::size_t>(bar)];
  QStringList words = {ToQt(one.place), one.look.word};
  if (!one.figures.isEmpty()) words << one.figures;
  words << Tr("begun at %1").arg(ToQt(ClockText(one.begin)));
  if (one.end) words << Tr("ended at %1").arg(ToQt(ClockText(*one.end)));
  return words.join(", ");
}

QRect TimeLine::PartPlace(int bar) const {
  return {0, RowHeight() * (bar + 1), width(), RowHeight()};
}

int TimeLine::ChosenPart() const {
  const auto found = std::ranges::find(bars_, chosen_, &Bar::place);
  return found == bars_.end() ? -1 : static_cast<int>(found - bars_.begin());
}

void TimeLine::ChoosePart(int bar) {
  if (onChosen) onChosen(std::string(bars_[static_cast<std::size_t>(bar)].place));
}

}  // namespace torvik
