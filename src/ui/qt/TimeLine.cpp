#include "ui/qt/TimeLine.h"

#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "ui/qt/Binders.h"
#include "ui/qt/StepLook.h"
#include "ui/qt/Words.h"

namespace torvik {
namespace {

/// 1, 2 or 5 times a power of ten, or whole minutes and hours: about six marks on the scale.
double MarkEvery(double seconds) {
  for (const double mark : {0.1, 0.2, 0.5, 1.0, 2.0, 5.0, 10.0, 20.0, 30.0, 60.0, 120.0, 300.0,
                            600.0, 1800.0, 3600.0, 7200.0, 14400.0})
    if (seconds / mark <= 7) return mark;
  return 28800;
}

}  // namespace

TimeLine::TimeLine(RunMonitor& monitor) : monitor_(monitor) {
  setAccessibleName(Tr("Time line of the steps"));
}

void TimeLine::Refresh() {
  const int height = sizeHint().height();
  if (minimumHeight() != height) setMinimumHeight(height);
  update();
}

std::vector<const RunMonitor::Step*> TimeLine::Begun() const {
  std::vector<const RunMonitor::Step*> steps;
  for (const RunMonitor::Step& step : monitor_.Steps())
    if (step.state != StepState::NotRun) steps.push_back(&step);
  return steps;
}

QSize TimeLine::sizeHint() const {
  const auto rows = static_cast<int>(Begun().size());
  return {fontMetrics().averageCharWidth() * 80, RowHeight() * (rows + 1) + 4};
}

int TimeLine::NameWidth() const {
  int width = 0;
  for (const RunMonitor::Step* step : Begun())
    width = std::max(width, fontMetrics().horizontalAdvance(ToQt(step->name)));
  return std::min(width + 12, this->width() / 3);
}

void TimeLine::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  const int left = NameWidth(), row = RowHeight();
  const double all = std::max(0.1, monitor_.Seconds());
  const double perSecond = (width() - left - 8) / all;
  painter.setPen(palette().color(QPalette::PlaceholderText));
  const double mark = MarkEvery(all);
  for (double at = 0; at <= all; at += mark) {
    const double x = left + at * perSecond;
    painter.drawLine(QPointF(x, row - 3), QPointF(x, height()));
    painter.drawText(QPointF(x + 3, row - 5),
                     mark < 1 ? QString::number(at, 'f', 1) + Tr(" s") : ToQt(ClockText(at)));
  }
  const std::vector<const RunMonitor::Step*> steps = Begun();
  // A thousand steps are scrolled: those in sight are drawn.
  const int first = std::max(0, event->rect().top() / row - 1);
  const int last = std::min(static_cast<int>(steps.size()), event->rect().bottom() / row + 1);
  for (int i = first; i < last; ++i) {
    const RunMonitor::Step& step = *steps[static_cast<std::size_t>(i)];
    const StepLook look = LookOf({}, &step, true);
    const int y = row * (i + 1);
    painter.setPen(palette().color(QPalette::Text));
    painter.drawText(QRect(0, y, left - 8, row), Qt::AlignVCenter | Qt::AlignLeft,
                     fontMetrics().elidedText(ToQt(step.name), Qt::ElideRight, left - 8));
    const double begin = left + step.begin * perSecond,
                 end = left + step.end.value_or(monitor_.Seconds()) * perSecond;
    painter.fillRect(QRectF(begin, y + 3, std::max(2.0, end - begin), row - 6), look.colour);
    painter.drawText(QPointF(std::max(2.0, end - begin) + begin + 4, y + row - 6), look.sign);
  }
}

void TimeLine::mousePressEvent(QMouseEvent* event) {
  const int row = static_cast<int>(event->position().y()) / RowHeight() - 1;
  const std::vector<const RunMonitor::Step*> steps = Begun();
  if (row >= 0 && row < static_cast<int>(steps.size()) && onChosen)
    onChosen(steps[static_cast<std::size_t>(row)]->name);
}

}  // namespace torvik
