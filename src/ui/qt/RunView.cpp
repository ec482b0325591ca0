#include "ui/qt/RunView.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QPointer>
#include <QStyle>
#include <QTabWidget>
#include <QTreeWidget>
#include <vector>

#include "ui/RunMonitor.h"
#include "ui/qt/controls/Binders.h"
#include "ui/qt/controls/ReadOnlyText.h"
#include "ui/qt/controls/TableRows.h"
#include "ui/qt/controls/Words.h"

namespace torvik {
namespace {

const char* ColourOf(const RunMonitor& monitor) {
  if (monitor.Runs.Get()) return "#1c5fa8";
  switch (monitor.Verdict.Get()) {
    case RunVerdict::Ok: return "#1b5e20";
    case RunVerdict::Failure: return "#b71c1c";
    case RunVerdict::None: break;
  }
  return "#795548";
}

void ShowVerdict(QLabel& label, const RunMonitor& monitor) {
  label.setText(VerdictText(monitor));
  label.setAccessibleName(label.text());
  label.setStyleSheet(QString("background: ") + ColourOf(monitor) +
                      "; color: white; border-radius: 3px; padding: 3px 8px");
}

/// The reasons of a failure, each with its place; the rows that are chosen can be copied.
class ProblemList final : public QTreeWidget {
 public:
  ProblemList() {
    setHeaderLabels({Tr("Problem in"), Tr("Reason")});
    setAccessibleName(Tr("Problems"));
    setRootIsDecorated(false);
    setWordWrap(true);
    SpaceRows(*this);
    setSelectionMode(ExtendedSelection);
    auto* const copy = new QAction(Tr("&Copy"), this);
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    connect(copy, &QAction::triggered, this, [this] { Copy(); });
    addAction(copy);
    setContextMenuPolicy(Qt::ActionsContextMenu);
  }

  void Show(const std::vector<RunMonitor::Problem>& problems) {
    clear();
    for (const RunMonitor::Problem& problem : problems) {
      auto* const row = new QTreeWidgetItem(this, {ToQt(problem.place), ToQt(problem.reason)});
      row->setIcon(0, style()->standardIcon(QStyle::SP_MessageBoxCritical));
      row->setToolTip(1, ToQt(problem.reason));
    }
    FitColumns(*this);
  }

 private:
  void Copy() {
    QStringList lines;
    for (const QTreeWidgetItem* row : selectedItems()) lines << row->text(0) + ": " + row->text(1);
    if (lines.isEmpty()) return;
    QApplication::clipboard()->setText(lines.join("\n"));
  }
};

void ShowLines(QPlainTextEdit& log, const std::vector<std::string>& lines) {
  // Lines are added; fewer of them are another run's.
  if (lines.size() <= 1) log.clear();
  if (!lines.empty()) log.appendPlainText(ToQt(lines.back()));
}

}  // namespace

bool HasRun(const RunMonitor& monitor) {
  return monitor.Runs.Get() || !monitor.Lines().empty() ||
         monitor.Verdict.Get() != RunVerdict::None;
}

QString VerdictText(const RunMonitor& monitor) {
  if (monitor.Runs.Get()) return Tr("Running");
  switch (monitor.Verdict.Get()) {
    case RunVerdict::Ok: return Tr("Succeeded");
    case RunVerdict::Failure: return Tr("Failed");
    case RunVerdict::None: break;
  }
  return Tr("Ended without a verdict");
}

QLabel* NewVerdictLabel(RunMonitor& monitor) {
  auto* const verdict = new QLabel;
  verdict->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
  const auto show = [&monitor](QLabel& label, const auto&) {
    ShowVerdict(label, monitor);
    label.setVisible(HasRun(monitor));
  };
  Watch(monitor.Verdict, *verdict, show);
  Watch(monitor.Runs, *verdict, show);
  return verdict;
}

QTabWidget* NewRunTexts(RunMonitor& monitor, std::function<void(const std::string&)> go) {
  auto* const tabs = new QTabWidget;
  tabs->setAccessibleName(Tr("Texts of the run"));
  auto* const log = new ReadOnlyText(Tr("Lines of the log"));
  log->setMaximumBlockCount(10'000);
  auto* const problems = new ProblemList;
  QObject::connect(problems, &QTreeWidget::itemActivated, problems,
                   [go = std::move(go)](QTreeWidgetItem* row) { go(row->text(0).toStdString()); });
  tabs->addTab(log, Tr("Log"));
  tabs->addTab(problems, Tr("Problems"));
  Watch(monitor.Problems, *problems,
        [tabs](ProblemList& list, const std::vector<RunMonitor::Problem>& all) {
          list.Show(all);
          const QString count = all.empty() ? "" : " " + QString::number(all.size());
          tabs->setTabText(1, Tr("Problems") + count);
          tabs->setCurrentIndex(all.empty() ? 0 : 1);
        });
  monitor.LinesChanged.Observe([&monitor, pointer = QPointer<QPlainTextEdit>(log)] {
    if (pointer) ShowLines(*pointer, monitor.Lines());
  });
  return tabs;
}

}  // namespace torvik
