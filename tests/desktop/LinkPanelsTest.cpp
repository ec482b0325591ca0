// An operator at the data links of the Job page: their table, their panels and their tests.

#include <gmock/gmock.h>

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTableWidget>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>
#include <tuple>
#include <utility>

#include "desktop/WindowTest.h"
#include "platform/Ado.h"
#include "servers/FtpPeer.h"
#include "servers/PrivateServer.h"

namespace torvik {
namespace {

using testing::HasSubstr;
using testing::Not;

class LinkPanelsTest : public WindowTest {};

TEST_F(LinkPanelsTest, TheLinksOfAJobThatIsOpenedComeByThemselves) {
  const std::pair<const char*, std::function<void()>> ways[] = {
      {"opened", [this] { Open(); }},
      {"named at the start", [this] {
         session_.Start("-config " + Path("hand-off") + " -configfile " + Path("job.etl"));
       }}};
  for (const auto& [way, open] : ways) {
    open();
    auto& table = session_.Find<QTreeWidget>("Data links");
    EXPECT_TRUE(WaitUntil([&] { return table.topLevelItemCount() == 6; })) << way;
    EXPECT_FALSE(session_.Find<QLabel>("Note on the data links").isVisible()) << way;
    EXPECT_FALSE(session_.Window().isWindowModified()) << way;
  }
  // Another job, whose warehouse nobody knows.
  session_.Files().WriteFile("away.etl",
                             std::string(Job()).replace(Job().find("DWDB=DW"), 7, "DWDB=none"));
  session_.Form().OpenJobFile(Path("away.etl"));
  auto& note = session_.Find<QLabel>("Note on the data links");
  EXPECT_TRUE(WaitUntil([&] { return note.text().contains("cannot be read now"); }));
  EXPECT_EQ(session_.Find<QTreeWidget>("Data links").topLevelItemCount(), 0);
  EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST_F(LinkPanelsTest, EachPanelWritesItsLinkIntoTheJobFile) {
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

TEST_F(LinkPanelsTest, LettersNeverReachThePollFields) {
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

TEST_F(LinkPanelsTest, EditsOfLinksAreNeverLostUnasked) {
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

TEST_F(LinkPanelsTest, TheRightsOnAnFtpServerAreTested) {
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
    Click("Test FTP");
    EXPECT_EQ(answer, box);
  }
}

TEST_F(LinkPanelsTest, TheWindowLivesWhileAnFtpServerIsWaitedFor) {
  const FtpPeer peer("when connect|wait 500|reply 530 not now|close");
  session_.Files().AddSettings("[ftp]\nport = " + std::to_string(peer.Port()) + "\n");
  Open();
  SelectLink("orders");
  Click("Copy remote data before each run");
  Click("from an FTP server");
  Type("FTP server", "127.0.0.1");
  auto& test = session_.Find<QPushButton>("Test FTP");
  test.setFocus();
  int ticks = 0;
  QTimer timer;
  QObject::connect(&timer, &QTimer::timeout, &session_.Window(), [&] {
    EXPECT_FALSE(test.isEnabled());
    EXPECT_NE(QApplication::overrideCursor(), nullptr);
    Press(Qt::Key_N);
    ++ticks;
    timer.stop();
  });
  timer.start(50);
  std::string box;
  AnswerNext(box);
  Click("Test FTP");
  EXPECT_EQ("FTP Check|Login failed! FTP site doesn't exist or the password is incorrect!", box);
  EXPECT_EQ(ticks, 1);
  EXPECT_EQ(session_.Window().focusWidget(), &test) << "the keyboard stays where it was";
  EXPECT_TRUE(test.isEnabled());
  EXPECT_EQ(session_.Form().TorvConfigFile, Path("job.etl")) << "New was not to be had";
}

TEST_F(LinkPanelsTest, TheFilesOfADirectoryAreTested) {
  session_.Files().WriteFile("flat/a.csv", "id,name\n");
  session_.Files().WriteFile("flat/b.csv", "1,one\n");
  Open();
  SelectLink("orders");
  std::string box;
  for (const auto& [directory, answer] :
       {std::pair{Path("flat/"), "Test|2 files in " + Path("flat/") + " can be read: 14 bytes."},
        {Path("none/"), "Test|Cannot read " + Path("none/") +
                            ": No such file or directory. Make it readable for the user of the "
                            "job, or choose another directory."}}) {
    Type("Local directory", QString::fromStdString(directory));
    AnswerNext(box);
    Click("Test files");
    EXPECT_EQ(answer, box);
  }
}

TEST_F(LinkPanelsTest, TheFirstRowsOfALinkAreShown) {
  session_.Files().WriteFile("flat/a.csv", "id;name\n1;\"one\nline\"\n");
  session_.Files().WriteFile("flat/b.csv", "x,y,z\n");
  Open();
  SelectLink("orders");
  Type("Local directory", QString::fromStdString(Path("flat/")));
  auto& table = session_.Find<QTableWidget>("Preview of the data link");
  auto& items = session_.Find<QComboBox>("File or table of the preview");
  auto& pages = session_.Find<QTabWidget>("Pages of the data link");
  const auto turnTo = [&](int page) {
    QTest::mouseClick(pages.tabBar(), Qt::LeftButton, {}, pages.tabBar()->tabRect(page).center());
  };
  turnTo(1);
  ASSERT_TRUE(WaitUntil([&] { return table.isVisible() && table.columnCount() == 2; }));
  EXPECT_EQ("one line", table.item(1, 1)->text());
  EXPECT_TRUE(IsShown("Delimiter: a semicolon."));
  items.setFocus();
  QTest::keyClick(&items, Qt::Key_Down);
  ASSERT_TRUE(WaitUntil([&] { return table.columnCount() == 3; }));
  EXPECT_EQ("z", table.item(0, 2)->text());
  session_.Files().WriteFile("flat/b.csv", "x|y\n");
  Click("Read again");
  ASSERT_TRUE(WaitUntil([&] { return table.columnCount() == 2; }));
  turnTo(0);
  Type("Local directory", QString::fromStdString(Path("none/")));
  turnTo(1);
  ASSERT_TRUE(WaitUntil([&] { return !table.isVisible(); }));
  EXPECT_TRUE(IsShown(
      (Path("none/") + ": No such file or directory; choose another directory, or make it readable")
          .c_str()));
  SelectLink("other");
  EXPECT_FALSE(items.isVisible());
  EXPECT_FALSE(pages.isTabVisible(1));
}

TEST_F(LinkPanelsTest, ALongPathShowsItsBeginAndItsEnd) {
  Open();
  SelectLink("orders");
  QLineEdit& field = Line("Local directory");
  const QString middle(200, 'm');
  const auto picture = [&](const QString& path) {
    field.setText(path);
    return field.grab().toImage();
  };
  session_.Find<QTreeWidget>("Data links").setFocus();
  const QImage one = picture("S:\\a" + middle + "1\\");
  EXPECT_NE(one, picture("S:\\b" + middle + "1\\"));
  EXPECT_NE(one, picture("S:\\a" + middle + "2\\"));
  EXPECT_EQ(one, picture("S:\\a" + middle + "mm1\\"));
  EXPECT_THAT(field.toolTip().toStdString(), HasSubstr("mm1\\\n"));
}

TEST_F(LinkPanelsTest, TheTableOfLinksTellsOfEachAndWhatIsEdited) {
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

TEST_F(LinkPanelsTest, TestOpensWhatALinkLeadsTo) {
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

}  // namespace
}  // namespace torvik
