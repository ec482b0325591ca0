#include "ui/qt/MainMenus.h"

#include <QActionGroup>
#include <QMainWindow>
#include <QMenuBar>
#include <QPainter>
#include <QStyle>
#include <QToolBar>

#include "ui/frmRunnerMain.h"
#include "ui/qt/JobChecker.h"
#include "ui/qt/RecentJobs.h"
#include "ui/qt/controls/Binders.h"
#include "ui/qt/controls/Theme.h"
#include "ui/qt/controls/Words.h"

namespace torvik {
namespace {

/// That of the style is black, and unseen on dark colours.
QIcon RunIcon() {
  constexpr int kSize = 64;
  QPixmap picture(kSize, kSize);
  picture.fill(Qt::transparent);
  QPainter painter(&picture);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(56, 142, 60));
  painter.drawPolygon(QPolygon({QPoint(14, 8), QPoint(14, 56), QPoint(56, 32)}));
  return picture;
}

}  // namespace

MainMenus::MainMenus(QMainWindow& window, frmRunnerMain& form, JobChecker* checker)
    : QObject(&window),
      window_(window),
      form_(form),
      file_(window.menuBar()->addMenu(Tr("&File"))) {
  MakeFileMenu(checker);
  MakeViewMenu();
  QMenu* const help = window_.menuBar()->addMenu(Tr("&Help"));
  connect(help->addAction(Tr("&About")), &QAction::triggered, this,
          [this] { form_.mnuHelpAbout_Click(); });
  MakeToolBar();
}

QAction* MainMenus::Add(const QString& text, const QKeySequence& keys, Work work) {
  QAction* const action = file_->addAction(text);
  action->setShortcut(keys);
  connect(action, &QAction::triggered, this, std::move(work));
  Watch(form_.Hourglass, *action, [](QAction& one, bool on) { one.setEnabled(!on); });
  return action;
}

QAction* MainMenus::Add(const Tool& tool, const QKeySequence& keys, const QIcon& icon, Work work) {
  QAction* const action = Add(tool.text, keys, std::move(work));
  action->setIcon(icon);
  SetHelp(*action, tool.command, tool.help);
  tools_.push_back(action);
  return action;
}

void MainMenus::MakeFileMenu(JobChecker* checker) {
  const auto icon = [this](QStyle::StandardPixmap picture) {
    return window_.style()->standardIcon(picture);
  };
  Add({Tr("&New"), Tr("Begins another job"), form_.cmdOpen}, QKeySequence::New,
      icon(QStyle::SP_FileIcon), [this] { form_.mnuFileNew_Click(); });
  Add({Tr("&Open..."), Tr("Opens a job file"), form_.cmdOpen}, QKeySequence::Open,
      icon(QStyle::SP_DialogOpenButton), [this] { form_.cmdOpen_Click(); });
  recent_ = file_->addMenu(Tr("Open &recent"));
  recent_->setToolTipsVisible(true);
  connect(recent_, &QMenu::aboutToShow, this, [this] { FillRecent(); });
  Add({Tr("&Save"), Tr("Saves the job"), form_.cmdOpen}, QKeySequence::Save,
      icon(QStyle::SP_DialogSaveButton), [this] { form_.mnuFileSave_Click(); });
  Add(Tr("Save &As..."), QKeySequence::SaveAs, [this] { form_.cmdSave_Click(); });
  file_->addSeparator();
  if (checker != nullptr) AddCheck(*checker);
  QAction* const execute = Add({{}, Tr("Executes the job now"), form_.cmdExecute}, Qt::Key_F5,
                               RunIcon(), [this] { form_.cmdExecute_Click(); });
  file_->addSeparator();
  QAction* const exit = Add({}, QKeySequence::Quit, [this] { form_.cmdClose_Click(); });
  exit->setMenuRole(QAction::QuitRole);
  NameByMode(*execute, *exit);
}

void MainMenus::AddCheck(JobChecker& checker) {
  QAction* const check = Add({Tr("&Check"), Tr("Tries all that the job names"), form_.cmdCheck}, {},
                             window_.style()->standardIcon(QStyle::SP_DialogApplyButton),
                             [&checker] { checker.Start(); });
  for (auto* const one : {&form_.cmdCheck.Enabled, &form_.Hourglass})
    Watch(*one, *check, [this](QAction& action, bool) {
      action.setEnabled(form_.cmdCheck.Enabled.Get() && !form_.Hourglass.Get());
    });
}

/// The scheduler's mode, which the buttons' captions tell: they are called Exit and Cancel then.
void MainMenus::NameByMode(QAction& execute, QAction& exit) {
  Watch(form_.cmdExecute.Caption, *this, [&execute, &exit](MainMenus& menus, const std::string&) {
    const bool isForScheduler = menus.form_.StartInQXJobConfigMode();
    execute.setText(isForScheduler ? Tr("Save and &hand to the scheduler") : Tr("Exec&ute"));
    exit.setText(isForScheduler ? Tr("E&xit, telling the scheduler to cancel") : Tr("E&xit"));
  });
}

void MainMenus::MakeViewMenu() {
  QMenu* const view = window_.menuBar()->addMenu(Tr("&View"));
  auto* const themes = new QActionGroup(this);
  for (const auto& [name, text] : {std::pair{"system", Tr("&System colours")},
                                   {"light", Tr("&Light")},
                                   {"dark", Tr("&Dark")}}) {
    QAction* const action = themes->addAction(view->addAction(text));
    action->setCheckable(true);
    action->setChecked(ThemeName() == name);
    connect(action, &QAction::triggered, this, [name = QString(name)] { ChooseTheme(name); });
  }
}

void MainMenus::MakeToolBar() {
  QToolBar* const bar = window_.addToolBar(Tr("Tools"));
  bar->setMovable(false);
  bar->setContextMenuPolicy(Qt::PreventContextMenu);
  bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  for (QAction* const tool : tools_) {
    bar->addAction(tool);
    bar->widgetForAction(tool)->setFocusPolicy(Qt::TabFocus);
  }
}

void MainMenus::FillRecent() {
  recent_->clear();
  int number = 1;
  const QFontMetrics font = window_.fontMetrics();
  for (const QString& file : RecentJobs()) {
    const QString shown = font.elidedText(file, Qt::ElideMiddle, font.averageCharWidth() * 80);
    QAction* const action = recent_->addAction("&" + QString::number(number++) + "  " + shown);
    action->setToolTip(file);
    connect(action, &QAction::triggered, this,
            [this, file] { form_.OpenJobFile(file.toStdString()); });
  }
  if (recent_->isEmpty()) recent_->addAction(Tr("None"))->setEnabled(false);
}

}  // namespace torvik
