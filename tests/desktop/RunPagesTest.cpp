// An operator who watches runs: the Run and History pages, Check, and the windows of logs.

#include <gmock/gmock.h>

#include <QApplication>
#include <QDropEvent>
#include <QGraphicsItem>
#include <QGraphicsView>
#include <QLineEdit>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>
#include <QUrl>

#include "desktop/WindowTest.h"
#include "platform/Ado.h"

namespace torvik {
namespace {

using testing::HasSubstr;

class RunPagesTest : public WindowTest {};

/// The steps of the Run page, each with what its tip says.
std::string StepsShown(QWidget& window) {
  QStringList tips;
  const auto* const view = window.findChild<QGraphicsView*>();
  for (const QGraphicsItem* item : view->scene()->items())
    if (!item->toolTip().isEmpty()) tips << QString(item->toolTip()).replace("\n", ": ");
  tips.sort();
  return tips.join("; ").toStdString();
}

TEST_F(RunPagesTest, ExecuteTurnsToTheRunAndItsStepsAreShownAsTheyStand) {
  Open();
  auto* const pages = session_.Window().findChild<QTabWidget*>();
  EXPECT_EQ(pages->currentIndex(), 0);
  Click("Execute");
  EXPECT_EQ(pages->tabText(pages->currentIndex()), "Run");
  EXPECT_THAT(
      StepsShown(session_.Window()),
      testing::MatchesRegex("create orders: done, (< )?[0-9.]+ m?s; load orders: done, 3 rows, "
                            "(< )?[0-9.]+ m?s"));
  auto& graph = session_.Find<QGraphicsView>("Steps");
  QTest::keyClicks(&session_.Find<QLineEdit>("Find a step"), "LOAD");
  QTest::keyClick(&session_.Find<QLineEdit>("Find a step"), Qt::Key_Return);
  EXPECT_THAT(session_.Find<QPlainTextEdit>("What the step does").toPlainText().toStdString(),
              HasSubstr("dw, table orders"));
  QTest::mouseClick(
      graph.viewport(), Qt::LeftButton, {},
      graph.mapFromScene(graph.scene()->items().back()->sceneBoundingRect().center()));
  session_.Form().OpenJobFile(Path("job.etl"));
  EXPECT_EQ(pages->currentIndex(), 0) << "another job has no run yet";
  EXPECT_EQ(StepsShown(session_.Window()), "");
}

TEST_F(RunPagesTest, StopEndsARunsStepsOnceItIsConfirmed) {
  session_.Files().PutPackage("Sales_LoadDW",
                              "[[steps]]\nname = \"long\"\ntask = \"ExecuteProcess\"\n"
                              "program = \"sleep\"\narguments = [ '300' ]\n[[steps]]\n"
                              "name = \"next\"\ntask = \"ExecuteProcess\"\nprogram = \"true\"\n"
                              "after = [ { step = \"long\" } ]\n");
  Open();
  std::string question, failure;
  int asked = 0;
  QTimer timer;
  QObject::connect(&timer, &QTimer::timeout, &session_.Window(), [&] {
    if (StepsShown(session_.Window()).find("long: running") == std::string::npos) return;
    timer.stop();
    AnswerNext(question, "Cancel");
    Click("Stop");
    EXPECT_TRUE(session_.Form().Busy.Get()) << "it was not confirmed";
    AnswerNext(question, "Stop");
    ++asked;
    Click("Stop");
    AnswerNext(failure);
  });
  timer.start(50);
  Click("Execute");
  EXPECT_EQ(asked, 1);
  EXPECT_THAT(question, HasSubstr("are cancelled"));
  EXPECT_EQ(session_.Files().ReadFile("err.txt").find("succesfully"), std::string::npos);
  EXPECT_THAT(session_.Files().ReadFile("err.txt"), HasSubstr("Stopped by the operator\r\n"));
  EXPECT_THAT(StepsShown(session_.Window()),
              testing::MatchesRegex("long: failed, (< )?[0-9.]+ m?s; next: not reached"));
  EXPECT_FALSE(session_.Find<QPushButton>("Stop").isEnabled());
}

TEST_F(RunPagesTest, TheVerdictIsRightWhileTheBoxOfAFailureIsOpen) {
  Open();
  session_.Files().WriteFile("orders.csv", "no,name\nx,one\n");
  session_.Files().PutPackage("Sales_LoadDW",
                              "[[steps]]\nname = \"bad\"\ntask = \"ExecuteProcess\"\n"
                              "program = \"false\"\n[[steps]]\nname = \"next\"\n"
                              "task = \"ExecuteProcess\"\nprogram = \"true\"\n"
                              "after = [ { step = \"bad\" } ]\n");
  auto* const pages = session_.Window().findChild<QTabWidget*>();
  auto& time = session_.Find<QLabel>("Time of the run");
  bool hasLooked = false;
  OnNextDialog([&](QDialog& box) {
    hasLooked = true;
    EXPECT_TRUE(session_.Form().Busy.Get());
    EXPECT_TRUE(IsShown("Failed"));
    EXPECT_EQ(pages->tabText(1), "Run") << "without the mark of a run";
    EXPECT_THAT(session_.Find<QLabel>("Error of the step").text().toStdString(),
                HasSubstr("ended with exit code 1"))
        << "of the step that has failed";
    const QString seconds = time.text();
    QTest::qWait(1100);
    EXPECT_EQ(seconds, time.text());
    EXPECT_THAT(StepsShown(session_.Window()),
                testing::MatchesRegex("bad: failed, (< )?[0-9.]+ m?s; next: not reached"));
    box.reject();
  });
  Click("Execute");
  EXPECT_TRUE(hasLooked);
}

TEST_F(RunPagesTest, ANewJobOrAnotherFileClearsWhatTheLastRunHasLeft) {
  session_.Files().WriteJob("other.etl", "Sales_LoadDW");
  const std::pair<const char*, std::function<void()>> ways[] = {
      {"New", [this] { Press(Qt::Key_N); }},
      {"Drop", [this] {
         QMimeData data;
         data.setUrls({QUrl::fromLocalFile(QString::fromStdString(Path("other.etl")))});
         QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
         QApplication::sendEvent(&session_.Window(), &enter);
         QDropEvent drop({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
         QApplication::sendEvent(&session_.Window(), &drop);
       }}};
  for (const auto& [way, change] : ways) {
    Open();
    session_.Files().WriteFile("orders.csv", "no,name\nx,one\n");
    std::string box;
    AnswerNext(box);
    Click("Execute");
    EXPECT_TRUE(IsShown("Failed")) << way;
    change();
    auto* const pages = session_.Window().findChild<QTabWidget*>();
    EXPECT_EQ(pages->currentIndex(), 0) << way;
    Press(Qt::Key_2);
    QTest::qWait(200);
    EXPECT_FALSE(IsShown("Failed")) << way;
    EXPECT_EQ(StepsShown(session_.Window()), "") << way;
    EXPECT_EQ(session_.Find<QPlainTextEdit>("Lines of the log").toPlainText(), "") << way;
    EXPECT_EQ(session_.Find<QTreeWidget>("Problems").topLevelItemCount(), 0) << way;
    EXPECT_EQ(session_.Find<QLabel>("Time of the run").text(), "") << way;
    EXPECT_EQ(session_.Form().sbStatus.Text.Get(), "") << way;
    Press(Qt::Key_3);
    EXPECT_EQ(session_.Find<QTreeWidget>("Runs").topLevelItemCount(), 0) << way;
  }
}

TEST_F(RunPagesTest, TheErrorFileIsShownAndFollowedInAWindowOfItsOwn) {
  Open();
  session_.Files().WriteFile("err.txt", "first line\r\nsecond: caf\xE9\r\n");
  Click("Show");
  QWidget* window = nullptr;
  for (QWidget* one : QApplication::topLevelWidgets())
    if (one->windowTitle() == "S:\\err.txt") window = one;
  ASSERT_NE(window, nullptr);
  auto& text = DesktopSession::FindIn<QPlainTextEdit>(*window, "Text of the file");
  EXPECT_EQ(text.toPlainText().toStdString(), "first line\nsecond: caf\u00e9\n");
  session_.Files().WriteFile("err.txt", "first line\r\nsecond: caf\xE9\r\nthird\r\n");
  EXPECT_TRUE(WaitUntil([&] { return text.toPlainText().endsWith("third\n"); }));
  auto& search = DesktopSession::FindIn<QLineEdit>(*window, "Find");
  QTest::keyClicks(&search, "SECOND");
  QTest::keyClick(&search, Qt::Key_Return);
  EXPECT_EQ(text.textCursor().selectedText(), "second");
  session_.Files().WriteFile("err.txt", "anew\r\n");
  EXPECT_TRUE(WaitUntil([&] { return text.toPlainText() == "anew\n"; }));
  window->close();
}

TEST_F(RunPagesTest, CheckTriesWhatTheSavedJobNamesAndLeadsToTheField) {
  session_.Files().Connect("DW")->Execute("DELETE FROM dwm_data_link");
  Open();
  Type("Error file", "S:\\none\\there\\err.txt");
  std::string question;
  AnswerNext(question, "Cancel");
  Click("Check");
  EXPECT_THAT(question, HasSubstr("Save the job first?"));
  EXPECT_TRUE(session_.Find<QPushButton>("Check").isEnabled());
  AnswerNext(question, "Save");
  Click("Check");
  EXPECT_FALSE(session_.Find<QPushButton>("Check").isEnabled()) << "one at a time";
  auto& problems = session_.Find<QTreeWidget>("Problems");
  ASSERT_TRUE(WaitUntil([&] { return problems.topLevelItemCount() > 0; }));
  auto* const pages = session_.Window().findChild<QTabWidget*>();
  EXPECT_EQ(pages->currentIndex(), 1);
  const auto found = problems.findItems("exception log", Qt::MatchExactly);
  ASSERT_EQ(found.size(), 1);
  const QPoint place = problems.visualItemRect(found[0]).center();
  QTest::mouseClick(problems.viewport(), Qt::LeftButton, {}, place);
  QTest::mouseDClick(problems.viewport(), Qt::LeftButton, {}, place);
  EXPECT_EQ(pages->currentIndex(), 0);
  Type("Error file", "S:\\err.txt");
  AnswerNext(question, "Save");
  Click("Check");
  EXPECT_TRUE(WaitUntil([&] {
    return session_.Form().sbStatus.Text.Get().find("0 problems") != std::string::npos;
  })) << session_.Form().sbStatus.Text.Get();
}

TEST_F(RunPagesTest, ARunOfTheHistoryHasItsArrowsWhenThePackageCanStillBeLoaded) {
  Open();
  Click("Execute");
  const auto openRun = [this](int run) {
    session_.Start("");
    session_.Form().OpenJobFile(Path("job.etl"));
    auto* const pages = session_.Window().findChild<QTabWidget*>();
    pages->setCurrentIndex(2);
    auto& table = session_.Find<QTreeWidget>("Runs");
    const QPoint place = table.visualItemRect(table.topLevelItem(run)).center();
    QTest::mouseClick(table.viewport(), Qt::LeftButton, {}, place);
    QTest::mouseDClick(table.viewport(), Qt::LeftButton, {}, place);
  };
  const auto arrows = [this] {
    const auto items = session_.Find<QGraphicsView>("Steps").scene()->items();
    return std::ranges::count_if(
        items, [](auto* one) { return qgraphicsitem_cast<QGraphicsPathItem*>(one) != nullptr; });
  };
  // Another version is the latest by now; the run is shown with its own.
  session_.Files().PutPackage("Sales_LoadDW", "");
  openRun(0);
  EXPECT_TRUE(WaitUntil([&] { return arrows() == 1; }));
  EXPECT_FALSE(session_.Find<QLabel>("Note on the run").isVisible());
  EXPECT_THAT(StepsShown(session_.Window()), HasSubstr("load orders: done, 3 rows"));
  session_.Files().Connect("msdb")->Execute("DELETE FROM sysdtspackages");
  openRun(0);
  auto& note = session_.Find<QLabel>("Note on the run");
  EXPECT_TRUE(WaitUntil([&] { return note.text().contains("cannot be loaded: "); }));
  EXPECT_TRUE(note.isVisible());
  EXPECT_EQ(arrows(), 0);
  EXPECT_THAT(StepsShown(session_.Window()), HasSubstr("load orders: done, 3 rows"));
}

TEST_F(RunPagesTest, TheHistoryPageHasTheRunsAndOpensOne) {
  Open();
  Click("Execute");
  session_.Files().WriteFile("orders.csv", "no,name\nx,one\n");
  std::string box;
  AnswerNext(box);
  Click("Execute");
  auto* const pages = session_.Window().findChild<QTabWidget*>();
  QTest::mouseClick(pages->tabBar(), Qt::LeftButton, {}, pages->tabBar()->tabRect(2).center());
  auto& table = session_.Find<QTreeWidget>("Runs");
  ASSERT_EQ(table.topLevelItemCount(), 2);
  EXPECT_THAT(table.topLevelItem(0)->text(0).toStdString(), HasSubstr("failure"));
  EXPECT_THAT(table.topLevelItem(0)->text(5).toStdString(), HasSubstr("load orders: "));
  EXPECT_EQ(table.topLevelItem(1)->text(3), "3");
  const QPoint second = table.visualItemRect(table.topLevelItem(1)).center();
  QTest::mouseClick(table.viewport(), Qt::LeftButton, {}, second);
  QTest::mouseDClick(table.viewport(), Qt::LeftButton, {}, second);
  EXPECT_EQ(pages->currentIndex(), 1);
  EXPECT_TRUE(IsShown("Succeeded"));
  EXPECT_THAT(StepsShown(session_.Window()), HasSubstr("load orders: done, 3 rows"));
}

}  // namespace
}  // namespace torvik
