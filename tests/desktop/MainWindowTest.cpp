// An operator at the windows: clicks and keys through the toolkit's own events, on real files and
// an embedded server.

#include <gmock/gmock.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QSplitter>
#include <QTabWidget>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>
#include <QWheelEvent>
#include <algorithm>
#include <filesystem>
#include <tuple>

#include "desktop/WindowTest.h"
#include "platform/Ado.h"
#include "servers/PrivateServer.h"

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

TEST_F(MainWindowTest, EachPanelWritesItsLinkIntoTheJobFile) {
  const struct {
    const char* link;
    std::vector<std::pair<const char*, const char*>> fields;
    std::vector<const char*> lines;
  } cases[] = {
      {"orders",
       {{"Local directory", "S:\\new"}, {"Poll interval", "7"}, {"Poll duration", "90"}},
       {"Directory=S:\\new\\", "PollInterval=7", "PollDuration=90"}},
      {"erp",
       {{"Server", "ERP2"}, {"User name", "u"}, {"Database", "erpdb"}},
       {"Server=ERP2", "User=u", "Database=erpdb"}},
      {"prices", {{"File", "S:\\p.xls"}, {"User name", "x"}}, {"File=S:\\p.xls", "User=x"}},
      {"stock", {{"File", "S:\\s.mdb"}, {"Password", "tiger"}}, {"File=S:\\s.mdb"}},
      {"ledger", {{"Server", "ORA2"}, {"Schema", "LEDGER"}}, {"Server=ORA2", "Database=LEDGER"}}};
  Open();
  for (const auto& c : cases) {
    SelectLink(c.link);
    if (c.link == std::string("orders")) Click("Copy remote data before each run");
    for (const auto& [field, text] : c.fields) Type(field, text);
    session_.Find<QTreeWidget>("Data links").setFocus();
  }
  Press(Qt::Key_S);
  const std::string job = Job();
  EXPECT_THAT(job, Not(HasSubstr("tiger")));
  for (const auto& c : cases) {
    const std::size_t begin = job.find("[Data Source::" + std::string(c.link) + "]");
    ASSERT_NE(job.npos, begin) << job;
    const std::string section = job.substr(begin, job.find("\r\n[", begin) - begin);
    for (const char* line : c.lines) EXPECT_THAT(section, HasSubstr(line)) << c.link;
  }
}

TEST_F(MainWindowTest, LettersNeverReachThePollFields) {
  Open();
  SelectLink("orders");
  Click("Copy remote data before each run");
  Type("Poll interval", "1a2");
  EXPECT_EQ("12", Line("Poll interval").text());
  QApplication::clipboard()->setText("x30 minutes");
  Line("Poll interval").selectAll();
  Line("Poll interval").paste();
  EXPECT_EQ("30", Line("Poll interval").text());
  Type("Poll duration", "99999");
  EXPECT_EQ("9999", Line("Poll duration").text());
  EXPECT_EQ(9999, session_.TheProgram().dataLinks.FindDataLink("orders")->intPollDuration);
  Type("Poll interval", "0");
  EXPECT_TRUE(IsShown("minutes: 0 looks again and again without a pause"));
  Type("Poll interval", "30");
  EXPECT_EQ(30, session_.TheProgram().dataLinks.FindDataLink("orders")->intPollInterval);
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

TEST_F(MainWindowTest, EditsOfLinksAreNeverLostUnasked) {
  Open();
  auto& list = session_.Find<QTreeWidget>("Data links");
  SelectLink("erp");
  Type("Server", "ERP2");
  SelectLink("other");  // of a kind without a panel
  Press(Qt::Key_S);
  EXPECT_FALSE(session_.Window().isWindowModified());
  EXPECT_THAT(Job(), HasSubstr("Server=ERP2\r\n"));

  SelectLink("erp");
  Type("Server", "ERP3");
  SelectLink("other");
  QComboBox& package = *FindCombo("Package");
  session_.Form().cmbETLPackage_DropDown();
  package.setFocus();
  TurnWheelOver(package);
  QTest::keyClick(package.lineEdit(), Qt::Key_X);
  QTest::keyClick(package.lineEdit(), Qt::Key_Backspace);
  list.setFocus();
  QTest::qWait(50);
  EXPECT_EQ("Sales_LoadDW", package.currentText());
  EXPECT_EQ(6, list.topLevelItemCount());

  session_.Form().tabDataInfo.Tab.Set(1);
  std::string box;
  const std::tuple<const char*, int, const char*> answers[] = {{"Cancel", 6, "DW"},
                                                               {"Discard", 0, "Other"}};
  for (const auto& [answer, links, database] : answers) {
    session_.Window().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&session_.Window()));
    AnswerNext(box, QString(answer));
    Type("Database", "Other");
    box.clear();
    session_.Find<QPushButton>("Close").setFocus();
    ASSERT_TRUE(WaitUntil([&] { return !box.empty(); })) << answer;
    EXPECT_THAT(box, HasSubstr("were edited, and the job now has others"));
    EXPECT_TRUE(WaitUntil([&] { return list.topLevelItemCount() == links; })) << answer;
    EXPECT_EQ(database, Line("Database").text().toStdString());
  }
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

TEST_F(MainWindowTest, TheFileMenusLetterForExitLeaves) {
  Open();
  QTest::keyClick(&session_.Window(), Qt::Key_F, Qt::AltModifier);
  QMenu* const file = session_.Window().findChild<QMenuBar*>()->actions().front()->menu();
  ASSERT_TRUE(file->isVisible());
  QTest::keyClick(file, Qt::Key_X);
  EXPECT_FALSE(session_.Form().IsOpen());
  EXPECT_EQ("", session_.Files().ReadFile("err.txt"));
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

TEST_F(MainWindowTest, ListsAndPickersAnswerTheKeyboard) {
  frmRunnerMain& form = Open();
  FindCombo("Package")->showPopup();
  EXPECT_EQ("Sales_LoadDW", FindCombo("Package")->itemText(0));
  FindCombo("Package")->hidePopup();
  EXPECT_EQ("Sales_LoadDW", form.cmbETLPackage.Text.Get());
  OnNextDialog([](QDialog& dialog) {
    EXPECT_EQ("Select your DTS Server...", dialog.windowTitle());
    auto& list = DesktopSession::FindIn<QListWidget>(dialog, "Known servers");
    EXPECT_FALSE(list.findItems("(local)", Qt::MatchExactly).isEmpty());
    QTest::keyClicks(&DesktopSession::FindIn<QLineEdit>(dialog, ""), "TYPED");
    QTest::keyClick(&dialog, Qt::Key_Return);
  });
  form.cmdDTSServer_Click();
  EXPECT_EQ("TYPED", Line("DTS server").text().toStdString());
  session_.Files().WriteFile("a/b/file", "");
  OnNextDialog([](QDialog& dialog) {
    EXPECT_EQ("Select local Directory...", dialog.windowTitle());
    auto& tree = DesktopSession::FindIn<QTreeWidget>(dialog, "Folders");
    QTreeWidgetItem* const a = tree.findItems("a", Qt::MatchExactly | Qt::MatchRecursive).value(0);
    ASSERT_NE(nullptr, a);
    a->setExpanded(true);
    tree.setCurrentItem(a->child(0));
    QTest::keyClick(&dialog, Qt::Key_Return);
  });
  form.txtLogFilesDir.Text.Set("S:\\");
  form.cmdLogFilesDir_Click();
  EXPECT_EQ("S:\\a\\b\\", form.txtLogFilesDir.Text.Get());
  OnNextDialog([](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
  form.cmdDestServer_Click();
  EXPECT_EQ("(local)", form.txtDestServer.Text.Get());
}

TEST_F(MainWindowTest, TheRightsOnAnFtpServerAreTested) {
  const PrivateServer server("private-ftp");
  server.Write("in/status", "idle\r\n");
  session_.Files().AddSettings("[ftp]\nport = " + std::to_string(server.Port()) + "\n");
  Open();
  SelectLink("orders");
  Click("Copy remote data before each run");
  Click("from an FTP server");
  Type("Remote directory", "in");
  Type("FTP server", "127.0.0.1");
  auto& panel = session_.Form().ctDLlFlatFileOBJ;
  panel.txtSourceFTPUsername.Text.Set("torvik");
  std::string box;
  for (const auto& [password, answer] :
       {std::pair{server.Password(),
                  "FTP Check|Check operation succeeded! The user has read and write rights."},
        {std::string("wrong"),
         "FTP Check|Login failed! FTP site doesn't exist or the password is incorrect!"}}) {
    panel.txtSourceFTPPassword.Text.Set(password);
    AnswerNext(box);
    Click("Test");
    EXPECT_EQ(answer, box);
  }
}

TEST_F(MainWindowTest, TheFilesOfADirectoryAreTested) {
  session_.Files().WriteFile("flat/a.csv", "id,name\n");
  session_.Files().WriteFile("flat/b.csv", "1,one\n");
  Open();
  SelectLink("orders");
  std::string box;
  for (const auto& [directory, answer] :
       {std::pair{Path("flat/"),
                  "Test|Files that can be read in " + Path("flat/") + ": 2, of 14 bytes."},
        {Path("none/"), "Test|Cannot read " + Path("none/") +
                            ": No such file or directory. Make it readable for the user of the "
                            "job, or choose another directory."}}) {
    Type("Local directory", QString::fromStdString(directory));
    AnswerNext(box);
    Click("Test files");
    EXPECT_EQ(answer, box);
  }
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

TEST_F(MainWindowTest, TheTableOfLinksTellsOfEachAndWhatIsEdited) {
  const auto warehouse = session_.Files().Connect("DW");
  for (const char* row : {"('Sales', 'extra a', 8)", "('Sales', 'extra b', 7)"})
    warehouse->Execute(std::string("INSERT INTO dwm_data_link (model, source_name, Type) VALUES ") +
                       row);
  Open();
  auto& table = session_.Find<QTreeWidget>("Data links");
  const auto row = [&](const char* name) {
    QStringList texts;
    const auto* const item = table.findItems(name, Qt::MatchExactly).value(0);
    for (int column = 1; column < 5; ++column) texts << item->text(column);
    return texts.join("|").toStdString();
  };
  EXPECT_FALSE(IsShown("Select a data link to edit it."));
  Click("Load");
  EXPECT_TRUE(IsShown("Select a data link to edit it."));
  EXPECT_EQ(row("erp"), "SQL Server|ERPSQL||");
  EXPECT_EQ(row("orders"), "Flat files|S:\\in\\||");
  EXPECT_EQ(row("extra b"), "Oracle|||");
  table.setFocus();
  for (const auto& [name, shown] :
       {std::pair{"other", "other: Kind 2"}, {"extra b", "extra b: Oracle"}}) {
    SelectLink(name);
    EXPECT_TRUE(IsShown(shown)) << name;
    EXPECT_TRUE(IsShown("A data link of this kind has nothing to edit here.")) << name;
  }
  SelectLink("orders");
  EXPECT_TRUE(IsShown("orders: Flat files"));
  Click("Copy remote data before each run");
  EXPECT_EQ(row("orders"), "Flat files|S:\\in\\|by FTP|edited");
  EXPECT_EQ(row("erp"), "SQL Server|ERPSQL||");
  auto& filter = session_.Find<QLineEdit>("Filter of the data links");
  ASSERT_TRUE(filter.isVisible());
  QTest::keyClicks(&filter, "erps");
  EXPECT_TRUE(table.findItems("orders", Qt::MatchExactly)[0]->isHidden());
  EXPECT_FALSE(table.findItems("erp", Qt::MatchExactly)[0]->isHidden());
  filter.clear();
  Press(Qt::Key_S);
  EXPECT_EQ(row("orders"), "Flat files|S:\\in\\|by FTP|");
}

TEST_F(MainWindowTest, TestOpensWhatALinkLeadsTo) {
  Open();
  std::string box;
  SelectLink("erp");
  Type("Server", "(local)");
  Type("Database", "DW");
  auto& test = session_.Find<QPushButton>("Test");
  test.setFocus();
  AnswerNext(box);
  Click("Test");
  EXPECT_EQ("Test|It can be opened: (local)", box);
  EXPECT_EQ(session_.Window().focusWidget(), &test) << "the keyboard stays where it was";
  for (const auto& [link, field, place] : {std::tuple{"erp", "Server", "no.such.server.invalid"},
                                           {"prices", "File", "S:\\none.xls"},
                                           {"stock", "File", "S:\\none.mdb"},
                                           {"ledger", "Server", "no.such.server.invalid"}}) {
    SelectLink(link);
    Type(field, place);
    EXPECT_TRUE(Line(field).toolTip().startsWith(place)) << link;
    AnswerNext(box);
    Click("Test");
    EXPECT_THAT(box, testing::StartsWith(std::string("Test|Error while connecting to : ") + place))
        << link;
  }
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

TEST_F(MainWindowTest, NoTwoVisibleControlsHaveTheSameKey) {
  Open();
  for (const char* link : {"orders", "erp", "prices", "ledger"})
    for (const int page : {0, 1}) {
      SelectLink(link);
      session_.Form().tabDataInfo.Tab.Set(page);
      std::map<QString, QString> keys;
      const auto add = [&](const QString& text) {
        const QString key = QKeySequence::mnemonic(text).toString();
        EXPECT_FALSE(!key.isEmpty() && keys.contains(key))
            << (keys[key] + "|" + text).toStdString();
        keys[key] = text;
      };
      for (const QAction* menu : dynamic_cast<QMainWindow&>(session_.Window()).menuBar()->actions())
        add(menu->text());
      const auto* const tabs = session_.Window().findChild<QTabWidget*>();
      for (int i = 0; i < tabs->count(); ++i) add(tabs->tabText(i));
      for (const QLabel* label : session_.Window().findChildren<QLabel*>())
        if (label->isVisible() && label->buddy()) add(label->text());
      for (const QAbstractButton* button : session_.Window().findChildren<QAbstractButton*>())
        if (button->isVisible()) add(button->text());
    }
}

/// What a screen reader would find without a name among what the keyboard reaches.
void FindNameless(QAccessibleInterface* one, QStringList& nameless) {
  if (one == nullptr || one->state().invisible) return;
  const QWidget* const widget = qobject_cast<QWidget*>(one->object());
  const bool isReached = widget != nullptr && (widget->focusPolicy() & Qt::TabFocus) != 0;
  const bool isBar = one->role() == QAccessible::PageTabList;  // its tabs have the names
  const bool isArea = qobject_cast<const QScrollArea*>(widget) != nullptr;
  if (isReached && !isBar && !isArea && one->text(QAccessible::Name).isEmpty())
    nameless << widget->metaObject()->className();
  for (int i = 0; i < one->childCount(); ++i) FindNameless(one->child(i), nameless);
}

TEST_F(MainWindowTest, AScreenReaderGetsNamesAndStates) {
  Open();
  auto* const pages = session_.Window().findChild<QTabWidget*>();
  for (const int page : {2, 1, 0}) {
    pages->setCurrentIndex(page);
    SelectLink("orders");
    QStringList nameless;
    FindNameless(QAccessible::queryAccessibleInterface(&session_.Window()), nameless);
    EXPECT_EQ(nameless.join(", ").toStdString(), "") << "page " << page;
  }
  const auto state = [this](const char* button) {
    return QAccessible::queryAccessibleInterface(&session_.Find<QAbstractButton>(button))->state();
  };
  EXPECT_FALSE(state("Copy remote data before each run").checked);
  EXPECT_TRUE(state("from an FTP server").disabled);
  Click("Copy remote data before each run");
  EXPECT_TRUE(state("Copy remote data before each run").checked);
  EXPECT_FALSE(state("from an FTP server").disabled);
  EXPECT_TRUE(state("from an FTP server").checked);
}

TEST_F(MainWindowTest, EveryFieldHasANameAndTheTabKeyReachesIt) {
  Open();
  for (QWidget* widget : session_.Window().findChildren<QWidget*>()) {
    const bool isField = qobject_cast<QLineEdit*>(widget) || qobject_cast<QComboBox*>(widget) ||
                         qobject_cast<QListWidget*>(widget);
    const bool isPart = qobject_cast<QComboBox*>(widget->parentWidget()) != nullptr;
    if (!isField || isPart) continue;
    EXPECT_FALSE(widget->accessibleName().isEmpty());
    EXPECT_FALSE(widget->toolTip().isEmpty()) << widget->accessibleName().toStdString();
    EXPECT_TRUE(widget->focusPolicy() & Qt::TabFocus) << widget->accessibleName().toStdString();
  }
}

}  // namespace
}  // namespace torvik
