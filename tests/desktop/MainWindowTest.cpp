// An operator at the windows: clicks and keys through the toolkit's own events, on real files and
// an embedded server.

#include <gmock/gmock.h>

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSplitter>
#include <QTabWidget>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>
#include <filesystem>
#include <utility>

#include "desktop/WindowTest.h"
#include "platform/Ado.h"

namespace torvik {
namespace {

using testing::HasSubstr;
using testing::Not;

class MainWindowTest : public WindowTest {};

TEST_F(MainWindowTest, AJobIsOpenedEditedAndSaved) {
  session_.Start("");
  EXPECT_EQ("Torv : [new][*]", session_.Window().windowTitle());
  OnNextDialog([this](QDialog& dialog) {
    auto& files = dynamic_cast<QFileDialog&>(dialog);
    EXPECT_EQ("Torv : Open Configuration", files.windowTitle());
    auto* const name = files.findChild<QLineEdit*>("fileNameEdit");
    name->setText(QString::fromStdString(Path("job.etl")));
    QTest::keyClick(name, Qt::Key_Return);
  });
  Click("Open...");
  EXPECT_EQ("Torv : [job.etl][*]", session_.Window().windowTitle());
  EXPECT_EQ("Sales_LoadDW", Line("Package").text());
  EXPECT_EQ("Sales", Line("ETL model").text());
  EXPECT_FALSE(session_.Window().isWindowModified());
  Type("DTS server", "DTSPROD");
  Click("Use SQL Server authentication");
  Type("User name", "loader");
  Type("Password", "tiger");
  Click("Empty the error file before each run");
  EXPECT_TRUE(session_.Window().isWindowModified());
  Press(Qt::Key_S);
  EXPECT_FALSE(session_.Window().isWindowModified());
  const std::string job = Job();
  for (const char* line : {"DTSServer=DTSPROD", "DTSNTAut=FALSE", "DTSUser=loader",
                           "TruncLogFile=TRUE", "Package=Sales_LoadDW", "[Data Source::orders]"})
    EXPECT_THAT(job, HasSubstr(std::string(line) + "\r\n"));
  EXPECT_THAT(job, Not(HasSubstr("tiger")));
  EXPECT_EQ(QLineEdit::Password, Line("Password").echoMode());
  // The job comes back as it was saved.
  session_.Start("");
  session_.Form().OpenJobFile(Path("job.etl"));
  EXPECT_EQ("tiger", session_.Form().txtDTSSQLPassword.Text.Get());
  EXPECT_TRUE(session_.Find<QCheckBox>("Empty the error file before each run").isChecked());
}

TEST_F(MainWindowTest, AJobIsExecutedAndItsLinesAndVerdictShown) {
  Open();
  EXPECT_TRUE(session_.Find<QPushButton>("Execute").isEnabled());
  Click("Execute");
  EXPECT_EQ("3", session_.Files().Query("SELECT COUNT(*) FROM orders").substr(0, 1));
  auto& log = session_.Find<QPlainTextEdit>("Lines of the log");
  EXPECT_TRUE(log.isVisible());
  EXPECT_THAT(log.toPlainText().toStdString(),
              testing::StartsWith("Loading DTS Package : Sales_LoadDW\n"));
  EXPECT_THAT(log.toPlainText().toStdString(), testing::EndsWith("Executed succesfully ..."));
  EXPECT_TRUE(session_.Find<QLabel>("Succeeded").isVisible());
  EXPECT_THAT(session_.Files().ReadFile("err.txt"), HasSubstr("Executed succesfully ...\r\n"));
}

TEST_F(MainWindowTest, AFailureIsShownInABoxAndInColour) {
  Open();
  session_.Files().WriteFile("orders.csv", "no,name\nx,one\n");
  std::string box;
  AnswerNext(box);
  Click("Execute");
  EXPECT_THAT(box, HasSubstr("DTS Exec Error|load orders in 'Sales_LoadDW' failed."));
  EXPECT_TRUE(session_.Find<QLabel>("Failed").isVisible());
  // The reason stands in the window, and can be taken along.
  auto& problems = session_.Find<QTreeWidget>("Problems");
  EXPECT_TRUE(problems.isVisible());
  ASSERT_EQ(problems.topLevelItemCount(), 1);
  problems.topLevelItem(0)->setSelected(true);
  session_.Window().activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&session_.Window()));
  problems.setFocus();
  QTest::keyClick(&problems, Qt::Key_C, Qt::ControlModifier);
  EXPECT_THAT(
      QApplication::clipboard()->text().toStdString(),
      HasSubstr("load orders: S:\\orders.csv, line 2, column 1 (no): \"x\" is not a whole"));
  session_.Files().WriteFile("orders.csv", "no,name\n1,one\n");
  Click("Execute");
  EXPECT_FALSE(problems.isVisible());
}

TEST_F(MainWindowTest, AWaitForRemoteDataIsCancelledByClose) {
  Open();
  SelectLink("orders");
  Click("Copy remote data before each run");
  Click("from a share");
  Type("Remote directory", QString::fromStdString(Path("remote")) + "/");
  session_.Files().WriteFile("remote/status", "busy\r\n");
  bool wasBusy = false;
  QTimer timer;
  QObject::connect(&timer, &QTimer::timeout, &session_.Window(), [&] {
    const bool isLoaded = session_.Form().Monitor.Lines().size() > 2;
    if (!session_.Form().Busy.Get() || !isLoaded) return;
    timer.stop();
    wasBusy = true;
    EXPECT_FALSE(session_.Find<QPushButton>("Execute").isEnabled());
    session_.Window().close();
    EXPECT_TRUE(session_.Form().IsOpen());
  });
  timer.start(200);
  Click("Execute");
  EXPECT_TRUE(wasBusy);
  EXPECT_THAT(session_.Files().ReadFile("err.txt"), HasSubstr("Waiting for end of execution\r\n"));
  EXPECT_TRUE(session_.Form().IsOpen());
  EXPECT_FALSE(session_.Form().Busy.Get());
}

TEST_F(MainWindowTest, TheSchedulerGetsItsLine) {
  session_.Start("-config " + Path("hand.txt") + " -configfile " + Path("job.etl"));
  EXPECT_TRUE(session_.Find<QPushButton>("Exit").isVisible());
  Click("Exit");
  EXPECT_FALSE(session_.Form().IsOpen());
  EXPECT_FALSE(session_.Window().isVisible());
  EXPECT_EQ("-configfile \"" + Path("job.etl") + "\"\r\n", session_.Files().ReadFile("hand.txt"));
  session_.Start("-config " + Path("hand.txt"));
  Click("Cancel");
  EXPECT_EQ("canceled\r\n", session_.Files().ReadFile("hand.txt"));
  session_.Start("-config " + Path("no/such/hand.txt"));
  std::string box;
  AnswerNext(box);
  Click("Cancel");
  EXPECT_THAT(box, HasSubstr("Save QXJob Config file|Unable to write to : "));
}

TEST_F(MainWindowTest, UnsavedChangesAreAskedFor) {
  Open();
  Type("DTS server", "NEW");
  std::string box;
  AnswerNext(box, QMessageBox::Cancel);
  Press(Qt::Key_Q);
  EXPECT_EQ("Torv|Save the changes to \"job.etl\"?", box);
  EXPECT_TRUE(session_.Form().IsOpen());
  AnswerNext(box, QString("Discard"));
  session_.Window().close();
  EXPECT_FALSE(session_.Form().IsOpen());
  EXPECT_THAT(Job(), HasSubstr("DTSServer=(local)\r\n"));
}

TEST_F(MainWindowTest, WhatSomeoneElseHasChangedIsReplacedByNobodysReturnKey) {
  Open();
  Type("DTS server", "MINE");
  session_.Files().WriteFile("job.etl", Job() + "; theirs\r\n");
  std::string box;
  OnNextDialog([&box](QDialog& dialog) {
    box = dynamic_cast<QMessageBox&>(dialog).text().toStdString();
    QTest::keyClick(&dialog, Qt::Key_Return);
  });
  Press(Qt::Key_S);
  EXPECT_THAT(box, HasSubstr("was changed by someone else since it was opened"));
  EXPECT_THAT(Job(), HasSubstr("; theirs"));
  EXPECT_TRUE(session_.Window().isWindowModified());
  AnswerNext(box, QString("Reload"));
  Press(Qt::Key_S);
  EXPECT_EQ("(local)", Line("DTS server").text());
  EXPECT_FALSE(session_.Window().isWindowModified());
}

TEST_F(MainWindowTest, ADirectoryOrNoiseIsNoJob) {
  Open();
  session_.Files().WriteFile("noise.etl", "\x01\x02[[[=");
  std::string box;
  AnswerNext(box);
  session_.Form().OpenJobFile(Path("noise.etl"));
  EXPECT_THAT(box, HasSubstr("It is no job file"));
  EXPECT_EQ("Torv : [job.etl][*]", session_.Window().windowTitle());
  std::filesystem::create_directory(Path("dir.etl"));
  AnswerNext(box);
  session_.Form().OpenJobFile(Path("dir.etl"));
  EXPECT_THAT(box, HasSubstr("Can't load Config file"));
  EXPECT_EQ("Torv : [dir.etl][*]", session_.Window().windowTitle());
}

TEST_F(MainWindowTest, BadInputIsSaidInWords) {
  Open();
  std::string box;
  AnswerNext(box);
  session_.Form().OpenJobFile(Path("server"));  // a directory
  EXPECT_EQ("Torv Error|Error: Can't load Config file " + Path("server"), box);
  session_.Form().OpenJobFile(Path("job.etl"));
  const std::string longPath = "S:\\" + std::string(4096, 'x');
  Line("Error file").setText(QString::fromStdString(longPath));
  EXPECT_EQ(longPath, session_.Form().txtDTSErrorFile.Text.Get());
  session_.Files().WriteFile("job.etl", Job() + "; by someone else\r\n");
  AnswerNext(box, QMessageBox::No);
  Press(Qt::Key_S);
  EXPECT_THAT(box, HasSubstr("was changed by someone else since it was opened."));
  EXPECT_THAT(Job(), HasSubstr("; by someone else"));
  session_.Files().Connect("DW")->Execute("DROP TABLE dwm_data_link");
  AnswerNext(box);
  Click("Load");
  EXPECT_THAT(box, HasSubstr("Checking DataWarehouse database|dwm_data_link table not found"));
  session_.Form().txtDestServer.Text.Set("no.such.server.invalid");
  AnswerNext(box);
  Click("Load");
  EXPECT_THAT(box,
              HasSubstr("Connect to Datawarehouse server|Error while connecting to : no.such"));
}

TEST_F(MainWindowTest, RecentJobFilesAreInTheMenu) {
  Open();
  session_.Start("");
  QMenu* menu = nullptr;
  for (QMenu* one : session_.Window().findChildren<QMenu*>())
    if (one->title() == "Open &recent") menu = one;
  ASSERT_NE(nullptr, menu);
  emit menu->aboutToShow();
  EXPECT_EQ("&1  " + Path("job.etl"), menu->actions().value(0)->text().toStdString());
  menu->actions().value(0)->trigger();
  EXPECT_EQ(Path("job.etl"), session_.Form().TorvConfigFile);
}

TEST_F(MainWindowTest, WhatIsGreyOrMissesAFieldSaysWhatToFillIn) {
  session_.Start("");
  Click("New job");
  auto* const tabs = session_.Find<QLineEdit>("DTS server")
                         .window()
                         ->findChild<QSplitter*>("editors")
                         ->findChild<QTabWidget*>();
  const auto marks = [&] {
    return std::pair(!tabs->tabIcon(0).isNull(), !tabs->tabIcon(1).isNull());
  };
  EXPECT_EQ(marks(), std::pair(true, true));
  for (const char* button : {"Execute", "Check", "Save...", "Load"}) {
    auto& one = session_.Find<QPushButton>(button);
    EXPECT_FALSE(one.isEnabled()) << button;
    EXPECT_THAT(one.toolTip().toStdString(), HasSubstr("Fill in: package")) << button;
  }
  FindCombo("Package")->setEditText("Sales_LoadDW");
  EXPECT_THAT(session_.Find<QPushButton>("Load").toolTip().toStdString(),
              HasSubstr("Fill in: data warehouse's database"));
  EXPECT_EQ(marks(), std::pair(true, true)) << "no error file yet";
  Type("Error file", "S:\\err.txt");
  EXPECT_EQ(marks(), std::pair(false, true));
  session_.Form().cmbDestDB.Text.Set("DW");
  EXPECT_EQ(marks(), std::pair(false, false));
  for (const char* button : {"Execute", "Check", "Save...", "Load"})
    EXPECT_THAT(session_.Find<QPushButton>(button).toolTip().toStdString(),
                Not(HasSubstr("Fill in")))
        << button;
}

TEST_F(MainWindowTest, TheWindowFitsASmallScreenAndComesBackAsItWasLeft) {
  Open();
  SelectLink("orders");
  EXPECT_LE(session_.Window().minimumSizeHint().width(), 640);
  EXPECT_LE(session_.Window().minimumSizeHint().height(), 360);
  session_.Window().resize(900, 700);
  auto* splitter = session_.Window().findChild<QSplitter*>("editors");
  splitter->setSizes({300, 500});
  const QList<int> sizes = splitter->sizes();
  session_.Form().cmdClose_Click();
  session_.Start("");
  EXPECT_EQ(session_.Window().size(), QSize(900, 700));
  EXPECT_EQ(session_.Window().findChild<QSplitter*>("editors")->sizes(), sizes);
}

TEST_F(MainWindowTest, TheStartPageHasTheRecentJobsWithTheirLastVerdicts) {
  Open();
  session_.Files().WriteFile("orders.csv", "no,name\nx,one\n");
  std::string box;
  AnswerNext(box);
  Click("Execute");
  session_.Files().WriteJob("never.etl", "Sales_LoadDW");
  session_.Form().OpenJobFile(Path("never.etl"));
  session_.Start("");
  auto& jobs = session_.Find<QTreeWidget>("Recent jobs");
  ASSERT_TRUE(jobs.isVisible());
  ASSERT_GE(jobs.topLevelItemCount(), 2);
  EXPECT_EQ(jobs.topLevelItem(0)->text(0), "never.etl");
  EXPECT_EQ(jobs.topLevelItem(0)->text(1), "no run yet");
  EXPECT_EQ(jobs.topLevelItem(1)->text(1), QString("✗ failure"));
  jobs.setFocus();
  QTest::keyClick(&jobs, Qt::Key_Down);
  QTest::keyClick(&jobs, Qt::Key_Return);
  EXPECT_EQ(session_.Form().TorvConfigFile, Path("job.etl"));
  EXPECT_FALSE(jobs.isVisible());
  EXPECT_TRUE(Line("Package").isVisible());
}

TEST_F(MainWindowTest, TheToolBarOpensANewJobAndRunsOne) {
  Open();
  const auto tool = [this](const char* text) {
    for (QToolButton* one : session_.Window().findChildren<QToolButton*>())
      if (one->text() == text && !one->icon().isNull()) return one;
    NoSuchWidget(text);
  };
  for (const char* text : {"Open", "Save", "Check"}) EXPECT_TRUE(tool(text)->isEnabled()) << text;
  tool("Execute")->setFocus();
  QTest::keyClick(tool("Execute"), Qt::Key_Space);
  EXPECT_TRUE(IsShown("Succeeded"));
  QTest::mouseClick(tool("New"), Qt::LeftButton);
  EXPECT_EQ("Torv : [new][*]", session_.Window().windowTitle());
  EXPECT_FALSE(tool("Check")->isEnabled());
}

TEST_F(MainWindowTest, AnEtlFileMayBeDropped) {
  session_.Start("");
  QMimeData data;
  data.setUrls({QUrl::fromLocalFile(QString::fromStdString(Path("job.etl")))});
  QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(&session_.Window(), &enter);
  EXPECT_TRUE(enter.isAccepted());
  QDropEvent drop({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(&session_.Window(), &drop);
  EXPECT_EQ(Path("job.etl"), session_.Form().TorvConfigFile);
}

}  // namespace
}  // namespace torvik
