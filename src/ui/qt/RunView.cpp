#include "ui/qt/RunView.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPointer>
#include <QProgressBar>
#include <QScrollArea>
#include <QStyle>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <vector>

#include "ui/RunMonitor.h"
#include "ui/qt/Binders.h"
#include "ui/qt/Words.h"

namespace torvik {
namespace {

/// A row for each step: its name, a bar, what has become of it.
class StepRows final : public QWidget {
 public:
  StepRows() : grid_(new QGridLayout(this)) {
    grid_->setColumnStretch(2, 1);
    grid_->setRowStretch(1000, 1);
  }

  void Show(const std::vector<RunMonitor::Step>& steps) {
    while (rows_.size() > steps.size()) Drop();
    for (std::size_t i = 0; i < steps.size(); ++i) {
      if (i == rows_.size()) Add();
      rows_[i].name->setText(ToQt(steps[i].name));
      rows_[i].state->setText(ToQt(Described(steps[i])));
      ShowState(*rows_[i].bar, steps[i].state);
    }
  }

 private:
  struct Row {
    QLabel* name;
    QProgressBar* bar;
    QLabel* state;
  };

  void Add() {
    const int row = static_cast<int>(rows_.size());
    rows_.push_back({new QLabel, new QProgressBar, new QLabel});
    rows_.back().bar->setTextVisible(false);
    rows_.back().bar->setFixedWidth(fontMetrics().averageCharWidth() * 20);
    grid_->addWidget(rows_.back().name, row, 0);
    grid_->addWidget(rows_.back().bar, row, 1);
    grid_->addWidget(rows_.back().state, row, 2);
  }

  void Drop() {
    for (QWidget* widget :
         {static_cast<QWidget*>(rows_.back().name), static_cast<QWidget*>(rows_.back().bar),
          static_cast<QWidget*>(rows_.back().state)})
      delete widget;
    rows_.pop_back();
  }

  /// How far a running step is nobody knows: its bar runs by itself.
  static void ShowState(QProgressBar& bar, StepState state) {
    bar.setRange(0, state == StepState::Running ? 0 : 1);
    bar.setValue(state == StepState::Done ? 1 : 0);
  }

  QGridLayout* grid_;
  std::vector<Row> rows_;
};

void ShowVerdict(QLabel& label, RunVerdict verdict, bool runs) {
  struct Look {
    const char* text;
    const char* colours;
  };
  const Look look = runs                             ? Look{"Running ...", ""}
                    : verdict == RunVerdict::Ok      ? Look{"Succeeded", "#1b5e20"}
                    : verdict == RunVerdict::Failure ? Look{"Failed", "#b71c1c"}
                                                     : Look{"Ended without a verdict", "#795548"};
  label.setText(Tr(look.text));
  label.setAccessibleName(Tr(look.text));
  const QString colour = look.colours;
  label.setStyleSheet(colour.isEmpty()
                          ? QString()
                          : "background: " + colour +
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
    setSelectionMode(ExtendedSelection);
    setMaximumHeight(fontMetrics().height() * 9);
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
    resizeColumnToContents(0);
    setVisible(!problems.empty());
  }

 private:
  void Copy() {
    QStringList lines;
    for (const QTreeWidgetItem* row : selectedItems()) lines << row->text(0) + ": " + row->text(1);
    QApplication::clipboard()->setText(lines.join("\n"));
  }
};

void ShowLines(QPlainTextEdit& log, const std::vector<std::string>& lines) {
  // Lines are added; fewer of them are another run's.
  if (lines.size() <= 1) log.clear();
  if (!lines.empty()) log.appendPlainText(ToQt(lines.back()));
}

}  // namespace

QWidget* NewRunView(RunMonitor& monitor) {
  auto* const group = new QGroupBox(Tr("Run"));
  auto* const layout = new QVBoxLayout(group);
  auto* const verdict = new QLabel;
  verdict->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
  auto* const steps = new StepRows;
  auto* const scroll = new QScrollArea;
  scroll->setWidget(steps);
  scroll->setWidgetResizable(true);
  scroll->setFrameShape(QFrame::NoFrame);
  scroll->setMaximumHeight(group->fontMetrics().height() * 8);
  auto* const log = new QPlainTextEdit;
  log->setReadOnly(true);
  log->setMaximumBlockCount(10'000);
  log->setAccessibleName(Tr("Lines of the log"));
  log->setMinimumHeight(group->fontMetrics().height() * 4);
  auto* const problems = new ProblemList;
  layout->addWidget(verdict);
  layout->addWidget(problems);
  layout->addWidget(scroll);
  layout->addWidget(log, 1);
  group->hide();

  Watch(monitor.Steps, *steps,
        [](StepRows& rows, const std::vector<RunMonitor::Step>& all) { rows.Show(all); });
  Watch(monitor.Problems, *problems,
        [](ProblemList& list, const std::vector<RunMonitor::Problem>& all) { list.Show(all); });
  const auto show = [&monitor](QLabel& label, const auto&) {
    ShowVerdict(label, monitor.Verdict.Get(), monitor.Runs.Get());
  };
  Watch(monitor.Verdict, *verdict, show);
  Watch(monitor.Runs, *verdict, show);
  Watch(monitor.Runs, *group, [](QGroupBox& box, bool runs) {
    if (runs) box.show();
  });
  monitor.LinesChanged.Observe([&monitor, pointer = QPointer<QPlainTextEdit>(log)] {
    if (pointer) ShowLines(*pointer, monitor.Lines());
  });
  return group;
}

}  // namespace torvik
