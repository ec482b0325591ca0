#include "ui/qt/MainWindow.h"

#include <QAccessible>
#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QHBoxLayout>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QSettings>
#include <QShortcut>
#include <QSplitter>
#include <QStackedWidget>
#include <QStatusBar>
#include <QStyle>
#include <QTabBar>
#include <QTabWidget>

#include "platform/Neighbourhood.h"
#include "platform/Version.h"
#include "ui/frmRunnerMain.h"
#include "ui/qt/HistoryPage.h"
#include "ui/qt/JobChecker.h"
#include "ui/qt/JobPages.h"
#include "ui/qt/LinkPanels.h"
#include "ui/qt/MainMenus.h"
#include "ui/qt/RecentJobs.h"
#include "ui/qt/RunPage.h"
#include "ui/qt/RunView.h"
#include "ui/qt/StartPage.h"
#include "ui/qt/TextWindow.h"
#include "ui/qt/controls/Binders.h"
#include "ui/qt/controls/ScrolledPage.h"
#include "ui/qt/controls/Words.h"

namespace torvik {
namespace {

constexpr const char* kGeometry = "window/geometry";
const QString kSplitters = "window/splitter/";  // and the splitter's name
constexpr int kJobPage = 0, kRunPage = 1, kHistoryPage = 2;

QPushButton* NewCommand(CommandButton& command, std::function<void()> click, const QString& help) {
  auto* const button = new QPushButton;
  Bind(*button, command, std::move(click));
  SetHelp(*button, command, help);
  button->setAutoDefault(false);
  return button;
}

QString DroppedJobFile(const QMimeData& data) {
  for (const QUrl& url : data.urls())
    if (url.isLocalFile() && url.path().endsWith(".etl", Qt::CaseInsensitive))
      return url.toLocalFile();
  return {};
}

}  // namespace

MainWindow::MainWindow(frmRunnerMain& form, const std::string& admin, Neighbourhood& places)
    : form_(form), checker_(admin.empty() ? nullptr : new JobChecker(form, admin, this)) {
  setAcceptDrops(true);
  setWindowIcon(QIcon::fromTheme("torvik", QApplication::windowIcon()));
  form_.viewFile = [this, &places](const std::string& path) {
    auto* const window =
        new TextWindow(ToQt(places.LinuxPath(path)), ToQt(path),
                       [this](const std::string& bytes) { return form_.TextOf(bytes); });
    connect(this, &QObject::destroyed, window, &QWidget::close);
    window->show();
  };
  new MainMenus(*this, form_, checker_);
  MakeCentre(admin);
  WatchForm();
  RestorePlaces();
}

void MainWindow::RestorePlaces() {
  const QSettings settings;
  if (!restoreGeometry(settings.value(kGeometry).toByteArray()))
    resize(QSize(fontMetrics().averageCharWidth() * 165, fontMetrics().height() * 50)
               .boundedTo(screen()->availableSize()));
  for (QSplitter* const splitter : findChildren<QSplitter*>())
    splitter->restoreState(settings.value(kSplitters + splitter->objectName()).toByteArray());
}

void MainWindow::SavePlaces() {
  QSettings settings;
  settings.setValue(kGeometry, saveGeometry());
  for (const QSplitter* const splitter : findChildren<QSplitter*>())
    settings.setValue(kSplitters + splitter->objectName(), splitter->saveState());
}

void MainWindow::MakeCentre(const std::string& admin) {
  auto* const tabs = new QTabWidget;
  tabs->setAccessibleName(Tr("Fields of the job"));
  tabs->addTab(Scrolled(NewPackagePage(form_)), Tr("Packa&ge"));
  tabs->addTab(Scrolled(NewWarehousePage(form_)), Tr("Data &warehouse"));
  Bind(*tabs, form_.tabDataInfo);
  int tab = 0;
  for (auto* const complete : {&form_.PackagePageComplete, &form_.WarehousePageComplete})
    Watch(*complete, *tabs, [page = tab++](QTabWidget& all, bool isComplete) {
      all.setTabIcon(
          page, isComplete ? QIcon() : all.style()->standardIcon(QStyle::SP_MessageBoxWarning));
      all.setTabToolTip(page, isComplete ? QString() : Tr("Execute needs a field of this page"));
    });
  fields_ = tabs;
  links_ = NewLinkPanels(form_, admin);

  auto* const editors = new QSplitter;
  editors->setObjectName("editors");
  editors->setChildrenCollapsible(false);
  editors->addWidget(tabs);
  editors->addWidget(Scrolled(links_));
  editors->setStretchFactor(0, 1);
  editors->setStretchFactor(1, 1);
  pages_ = new QTabWidget;
  pages_->setDocumentMode(true);
  pages_->setAccessibleName(Tr("Pages"));
  auto* const job = new QStackedWidget;
  job->addWidget(NewStartPage(form_));
  job->addWidget(editors);
  Watch(form_.HasJob, *job,
        [](QStackedWidget& stack, bool hasJob) { stack.setCurrentIndex(hasJob ? 1 : 0); });
  pages_->addTab(job, Tr("Job"));
  pages_->addTab(Scrolled(NewRunPage(form_, [this] { pages_->setCurrentIndex(kJobPage); })),
                 Tr("Run"));
  pages_->addTab(Scrolled(NewHistoryPage(form_, [this] { pages_->setCurrentIndex(kRunPage); })),
                 Tr("History"));
  for (int one = kJobPage; one <= kHistoryPage; ++one) {
    const QKeySequence keys(Qt::CTRL | static_cast<Qt::Key>(Qt::Key_1 + one));
    pages_->setTabToolTip(one, keys.toString(QKeySequence::NativeText));
    connect(new QShortcut(keys, this), &QShortcut::activated, this,
            [this, one] { pages_->setCurrentIndex(one); });
  }
  connect(pages_, &QTabWidget::currentChanged, this, [this](int page) {
    if (page == kHistoryPage) form_.ReadHistory();
  });

  auto* const centre = new QWidget;
  auto* const layout = new QVBoxLayout(centre);
  layout->addWidget(pages_, 1);
  layout->addLayout(MakeCommands());
  setCentralWidget(centre);
}

QLayout* MainWindow::MakeCommands() {
  auto* const commands = new QHBoxLayout;
  commands->addWidget(NewCommand(
      form_.cmdOpen, [this] { form_.cmdOpen_Click(); }, Tr("Opens a job file")));
  commands->addWidget(NewCommand(
      form_.cmdSave, [this] { form_.cmdSave_Click(); }, Tr("Saves the job under a name")));
  commands->addStretch();
  if (checker_ != nullptr)
    commands->addWidget(NewCommand(
        form_.cmdCheck, [this] { checker_->Start(); },
        Tr("Tries all that the job names: servers, files, data links; runs nothing")));
  commands->addWidget(NewCommand(
      form_.cmdExecute, [this] { form_.cmdExecute_Click(); }, Tr("Executes the job now")));
  commands->addWidget(NewCommand(
      form_.cmdClose, [this] { form_.cmdClose_Click(); },
      Tr("Closes the form; during a run it ends a wait for data")));
  return commands;
}

void MainWindow::WatchForm() {
  Watch(form_.Caption, *this, [](MainWindow& window, const std::string& caption) {
    window.setWindowTitle((caption.empty() ? "Torv" : ToQt(caption)) + "[*]");
  });
  Watch(form_.HasCloseEntry, *this, [](MainWindow& window, bool has) {
    const bool isVisible = window.isVisible();
    window.setWindowFlag(Qt::WindowCloseButtonHint, has);
    window.setVisible(isVisible);
  });
  Watch(form_.Modified, *this,
        [](MainWindow& window, bool modified) { window.setWindowModified(modified); });
  Watch(form_.sbStatus.Text, *this, [](MainWindow& window, const std::string& text) {
    window.statusBar()->showMessage(ToQt(text));
  });
  Watch(form_.Busy, *this, [](MainWindow& window, bool busy) {
    window.fields_->setEnabled(!busy);
    window.links_->setEnabled(!busy);
  });
  Watch(form_.Monitor.Runs, *this, [](MainWindow& window, bool runs) {
    if (runs) {
      window.pages_->setCurrentIndex(kRunPage);
      window.pages_->setFocus();
    }
    window.ShowRunTab();
  });
  Watch(form_.Monitor.Verdict, *this, [](MainWindow& window, RunVerdict) { window.ShowRunTab(); });
  Watch(form_.Monitor.Problems, *this, [](MainWindow& window, const auto& problems) {
    if (!problems.empty()) window.pages_->setCurrentIndex(kRunPage);
  });
  Watch(form_.Hourglass, *this, [](MainWindow& window, bool on) {
    if (on) QApplication::setOverrideCursor(Qt::WaitCursor);
    if (!on && QApplication::overrideCursor() != nullptr) QApplication::restoreOverrideCursor();
    // What takes long without a run is not disturbed.
    if (on) window.focus_ = window.focusWidget();
    window.centralWidget()->setEnabled(!on || window.form_.Busy.Get());
    if (!on && window.focus_ && window.focus_->isEnabled()) window.focus_->setFocus();
  });
  const QPointer<MainWindow> self(this);
  form_.AboutWanted.Observe([self] {
    if (self) self->ShowAbout();
  });
  form_.JobFileUsed.Observe([self] {
    if (!self) return;
    self->AddRecent();
    self->form_.ReadHistory();
  });
  form_.JobOpened.Observe([self] {
    if (self) self->pages_->setCurrentIndex(kJobPage);
  });
  form_.Closed.Observe([self] {
    if (!self) return;
    if (self->form_.StartInConfigMode) self->SavePlaces();
    self->mayGo_ = true;
    self->close();
  });
}

/// A screen reader, which is at the pages during a run, tells how the run stands and how it ends.
void MainWindow::ShowRunTab() {
  const RunMonitor& monitor = form_.Monitor;
  pages_->setTabText(kRunPage, monitor.Runs.Get() ? Tr("Run ●") : Tr("Run"));
  pages_->tabBar()->setAccessibleTabName(
      kRunPage, HasRun(monitor) ? Tr("Run: ") + VerdictText(monitor) : Tr("Run"));
  QAccessibleEvent changed(pages_->tabBar(), QAccessible::NameChanged);
  changed.setChild(kRunPage);
  QAccessible::updateAccessibility(&changed);
}

void MainWindow::ShowAbout() {
  QMessageBox::about(this, Tr("About Torvik"),
                     Tr("<b>Torvik %1</b><p>The job runner of the data warehouse: prepares jobs, "
                        "runs their packages, and leaves a log and one word.</p>")
                         .arg(kVersion));
}

/// The job file that the operator works with comes first.
void MainWindow::AddRecent() {
  if (!form_.StartInConfigMode) return;
  const QString file = ToQt(form_.TorvConfigFile);
  const bool isRelative = !file.contains(':') && !file.startsWith('\\') && !file.startsWith('/');
  AddRecentJob(isRelative ? QDir::current().absoluteFilePath(file) : file);
}

void MainWindow::closeEvent(QCloseEvent* event) {
  if (mayGo_) return event->accept();
  event->ignore();
  form_.cmdClose_Click();
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (!form_.Hourglass.Get() && !DroppedJobFile(*event->mimeData()).isEmpty())
    event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
  const QString file = DroppedJobFile(*event->mimeData());
  if (!file.isEmpty()) form_.OpenJobFile(file.toStdString());
}

}  // namespace torvik
