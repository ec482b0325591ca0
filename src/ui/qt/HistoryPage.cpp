#include "ui/qt/HistoryPage.h"

#include <QHeaderView>
#include <QHelpEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>

#include "platform/NumberText.h"
#include "ui/frmRunnerMain.h"
#include "ui/qt/StepLook.h"
#include "ui/qt/controls/Binders.h"
#include "ui/qt/controls/TableRows.h"
#include "ui/qt/controls/Words.h"

namespace torvik {
namespace {

/// The columns of them.
constexpr int kNumbers[] = {3, 4};

QString ReasonOf(const RunRecord& run) {
  return ToQt(run.failedStep.empty() ? run.error : run.failedStep + ": " + run.error);
}

QString TimeOf(const JobHistory& history, const RunRecord& run) {
  const auto seconds = RunSeconds(run);
  if (!seconds) return {};
  const QString text = *seconds < 60 ? SecondsText(*seconds) : ToQt(ClockText(*seconds));
  return text + (history.IsSlow(run) ? Tr("  more than twice its median") : QString());
}

/// A bar for each run, the oldest left: its height is the duration, its colour the verdict, and a
/// run without success has a cross on it too.
class RunStrip final : public QWidget {
 public:
  explicit RunStrip(JobHistory& history) : history_(history) {
    setAccessibleName(Tr("Durations of the last runs"));
    setMinimumHeight(fontMetrics().height() * 5);
    setMouseTracking(true);
  }

  std::function<void(std::int64_t)> onChosen;

 private:
  double BarWidth() const { return static_cast<double>(width()) / JobHistory::kMostRuns; }

  const RunRecord* RunAt(double x) const {
    const auto& runs = history_.Runs();
    const auto fromRight = static_cast<std::size_t>((width() - x) / BarWidth());
    return fromRight < runs.size() ? &runs[fromRight] : nullptr;
  }

  /// A line at the height of the longest run, and one below all.
  void DrawScale(QPainter& painter, double most, double top) const {
    QColor line = palette().color(QPalette::Text);
    line.setAlphaF(0.2F);
    painter.setPen(line);
    for (const double y : {top, height() - 1.0})
      painter.drawLine(QPointF(0, y), QPointF(width(), y));
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(QPointF(2, top - 4), most < 60 ? SecondsText(most) : ToQt(ClockText(most)));
    painter.setPen(palette().color(QPalette::Text));
  }

  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    double most = 0.1;
    for (const RunRecord& run : history_.Runs()) most = std::max(most, RunSeconds(run).value_or(0));
    const double room = height() - fontMetrics().height() - 2, bar = BarWidth();
    DrawScale(painter, most, height() - room);
    double right = width();
    for (const RunRecord& run : history_.Runs()) {
      const double high = std::max(3.0, room * RunSeconds(run).value_or(0) / most);
      const bool isOk = run.outcome == RunOutcome::Ok;
      painter.fillRect(QRectF(right - bar + 1, height() - high, bar - 2, high),
                       VerdictColour(run.outcome));
      if (!isOk)
        painter.drawText(QRectF(right - bar, height() - high - fontMetrics().height(), bar,
                                fontMetrics().height()),
                         Qt::AlignCenter, SignOf(run));
      right -= bar;
    }
  }

  bool event(QEvent* event) override {
    if (event->type() != QEvent::ToolTip) return QWidget::event(event);
    auto& help = static_cast<QHelpEvent&>(*event);
    const RunRecord* const run = RunAt(help.pos().x());
    QToolTip::showText(help.globalPos(),
                       run == nullptr ? QString()
                                      : BeginOf(*run) + ", " + VerdictWord(run->outcome) + ", " +
                                            TimeOf(history_, *run) + "\n" + ReasonOf(*run));
    return true;
  }

  void mouseDoubleClickEvent(QMouseEvent* event) override {
    if (const RunRecord* const run = RunAt(event->position().x()); run != nullptr && onChosen)
      onChosen(run->id);
  }

  JobHistory& history_;
};

void FillTable(QTreeWidget& table, const JobHistory& history) {
  table.clear();
  for (const RunRecord& run : history.Runs()) {
    auto* const row = new QTreeWidgetItem(
        &table, {SignOf(run) + " " + VerdictWord(run.outcome), BeginOf(run), TimeOf(history, run),
                 ToQt(Grouped(run.rows)), ToQt(Grouped(run.rejectedRows)), ReasonOf(run)});
    row->setData(0, Qt::UserRole, QVariant::fromValue(run.id));
    row->setToolTip(5, ReasonOf(run));
    row->setForeground(0, ForText(VerdictColour(run.outcome), table.palette()));
    for (const int number : kNumbers) row->setTextAlignment(number, Qt::AlignRight);
  }
  FitColumns(table);
}

}  // namespace

QWidget* NewHistoryPage(frmRunnerMain& form, std::function<void()> show) {
  auto* const page = new QWidget;
  auto* const trouble = new QLabel;
  trouble->setWordWrap(true);
  auto* const strip = new RunStrip(form.History);
  auto* const table = new QTreeWidget;
  table->setHeaderLabels(
      {Tr("Verdict"), Tr("Begin"), Tr("Duration"), Tr("Rows"), Tr("Rejected"), Tr("Reason")});
  table->setAccessibleName(Tr("Runs"));
  table->setRootIsDecorated(false);
  table->setUniformRowHeights(true);
  table->setAlternatingRowColors(true);
  SpaceRows(*table);
  for (const int number : kNumbers) {
    table->headerItem()->setTextAlignment(number, Qt::AlignRight);
    table->headerItem()->setText(number, table->headerItem()->text(number) + QChar(0x2002));
  }
  auto* const layout = new QVBoxLayout(page);
  layout->addWidget(trouble);
  layout->addWidget(strip);
  layout->addWidget(table, 1);
  const auto open = [&form, show = std::move(show)](std::int64_t run) {
    form.ShowRun(run);
    if (!form.Busy.Get()) show();
  };
  strip->onChosen = open;
  QObject::connect(table, &QTreeWidget::itemActivated, page,
                   [open](QTreeWidgetItem* row) { open(row->data(0, Qt::UserRole).toLongLong()); });
  Watch(form.History.Trouble, *trouble, [](QLabel& label, const std::string& text) {
    label.setText(ToQt(text));
    label.setVisible(!text.empty());
  });
  Watch(form.History.Ids, *page, [&form, strip, table](QWidget&, const auto&) {
    FillTable(*table, form.History);
    strip->setVisible(!form.History.Runs().empty());
    strip->update();
  });
  return page;
}

}  // namespace torvik
