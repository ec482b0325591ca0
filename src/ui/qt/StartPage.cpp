#include "ui/qt/StartPage.h"

#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "ui/frmRunnerMain.h"
#include "ui/qt/RecentJobs.h"
#include "ui/qt/StepLook.h"
#include "ui/qt/controls/Binders.h"
#include "ui/qt/controls/TableRows.h"
#include "ui/qt/controls/Words.h"

namespace torvik {
namespace {

void FillJobs(QTreeWidget& jobs, JobHistory& history) {
  jobs.clear();
  for (const QString& file : RecentJobs()) {
    const auto run = history.LastRun(file.toStdString());
    auto* const row = new QTreeWidgetItem(
        &jobs, {QFileInfo(file).fileName(),
                run ? SignOf(*run) + " " + VerdictWord(run->outcome) : Tr("no run yet"),
                run ? BeginOf(*run) : QString(), QFileInfo(file).path()});
    row->setData(0, Qt::UserRole, file);
    if (run) row->setForeground(1, ForText(VerdictColour(run->outcome), jobs.palette()));
    for (const int column : {0, 3}) row->setToolTip(column, file);
  }
  FitColumns(jobs);
  jobs.setCurrentItem(jobs.topLevelItem(0));
}

QPushButton* NewStartButton(const QString& text, const QString& help, std::function<void()> click) {
  auto* const button = new QPushButton(text);
  button->setToolTip(help);
  button->setAutoDefault(false);
  QObject::connect(button, &QPushButton::clicked, button, std::move(click));
  return button;
}

}  // namespace

QWidget* NewStartPage(frmRunnerMain& form) {
  auto* const page = new QWidget;
  auto* const jobs = new QTreeWidget;
  jobs->setHeaderLabels({Tr("Job"), Tr("Last run"), Tr("Begin"), Tr("Directory")});
  jobs->setAccessibleName(Tr("Recent jobs"));
  jobs->setToolTip(Tr("A double-click, or the return key, opens a job"));
  jobs->setRootIsDecorated(false);
  SpaceRows(*jobs);
  jobs->setTextElideMode(Qt::ElideMiddle);
  QObject::connect(jobs, &QTreeWidget::itemActivated, page, [&form](QTreeWidgetItem* row) {
    form.OpenJobFile(row->data(0, Qt::UserRole).toString().toStdString());
  });
  auto* const buttons = new QHBoxLayout;
  buttons->addWidget(NewStartButton(Tr("New job"), Tr("Begins a job of its own"),
                                    [&form] { form.mnuFileNew_Click(); }));
  buttons->addWidget(NewStartButton(Tr("Open a job file"), Tr("Chooses a file of a job"),
                                    [&form] { form.cmdOpen_Click(); }));
  buttons->addStretch();
  auto* const layout = new QVBoxLayout(page);
  layout->addWidget(new QLabel(Tr("Recent jobs")));
  layout->addWidget(jobs, 1);
  layout->addLayout(buttons);
  Watch(form.HasJob, *jobs, [&form](QTreeWidget& all, bool hasJob) {
    if (!hasJob) FillJobs(all, form.History);
  });
  return page;
}

}  // namespace torvik
