// An operator with a screen reader: what the toolkit tells one of every page.

#include <gmock/gmock.h>

#include <QAccessible>
#include <QGraphicsView>
#include <QLineEdit>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTableWidget>
#include <QTest>
#include <QToolButton>
#include <QTreeWidget>
#include <functional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "desktop/WindowTest.h"

namespace torvik {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

std::string NameOf(QAccessibleInterface& one) {
  // A box with a list is called by its label; what it holds is its text.
  for (const auto& [label, relation] : one.relations(QAccessible::Label))
    if (one.role() == QAccessible::ComboBox && label->role() == QAccessible::StaticText)
      return label->text(QAccessible::Name).toStdString();
  return one.text(QAccessible::Name).toStdString();
}

using Visit = std::function<void(QAccessibleInterface& one, QAccessibleInterface& parent)>;

void VisitAll(QAccessibleInterface& parent, const Visit& visit) {
  for (int i = 0; i < parent.childCount(); ++i) {
    QAccessibleInterface* const one = parent.child(i);
    if (one == nullptr || one->state().invisible) continue;
    visit(*one, parent);
    VisitAll(*one, visit);
  }
}

class ScreenReaderTest : public WindowTest {
 protected:
  QAccessibleInterface& Root() {
    return *QAccessible::queryAccessibleInterface(&session_.Window());
  }

  template <typename Widget>
  QAccessibleInterface& Of(const char* name) {
    return *QAccessible::queryAccessibleInterface(&session_.Find<Widget>(name));
  }

  /// All that the keyboard reaches has a name of its own, a role, and more to say than its name.
  static void ExpectTold(QWidget& window, const std::string& place) {
    std::set<std::tuple<QAccessibleInterface*, int, std::string>> siblings;
    VisitAll(*QAccessible::queryAccessibleInterface(&window), [&](QAccessibleInterface& one,
                                                                  QAccessibleInterface& parent) {
      const auto* const widget = qobject_cast<QWidget*>(one.object());
      if (widget == nullptr || (widget->focusPolicy() & Qt::TabFocus) == 0) return;
      if (qobject_cast<const QTabWidget*>(widget) != nullptr) return;  // its bar is reached
      const std::string name = NameOf(one), all = place + ": " + name;
      EXPECT_THAT(name, testing::Not(testing::AnyOf("", "...", HasSubstr("&")))) << all;
      EXPECT_TRUE(siblings.emplace(&parent, one.role(), name).second) << all << " twice";
      EXPECT_NE(one.role(), QAccessible::Client) << all << " has no role";
      const bool isField =
          qobject_cast<const QLineEdit*>(widget) || qobject_cast<const QAbstractButton*>(widget);
      const bool isPart = qobject_cast<QComboBox*>(widget->parentWidget()) != nullptr;
      const bool isInBox = qobject_cast<QDialog*>(&window) != nullptr;  // its title says it
      EXPECT_TRUE(!isField || isPart || isInBox || !one.text(QAccessible::Description).isEmpty())
          << all;
    });
  }
  void ExpectTold(const std::string& place) { ExpectTold(session_.Window(), place); }

  /// The children of a picture.
  static std::string PartsOf(QAccessibleInterface& picture) {
    std::string parts;
    for (int i = 0; i < picture.childCount(); ++i)
      parts += picture.child(i)->text(QAccessible::Name).toStdString() + "; ";
    return parts;
  }
};

TEST_F(ScreenReaderTest, AllThatTheKeyboardReachesSaysWhatItIs) {
  session_.Files().WriteFile("flat/a.csv", "id,name\n1,one\n");
  session_.Start("");
  ExpectTold("start");
  Click("New job");
  ExpectTold("new job");
  Open();
  for (const char* link : {"orders", "erp", "prices", "stock", "ledger", "other"}) {
    SelectLink(link);
    session_.Form().tabDataInfo.Tab.Set(link == std::string("erp") ? 1 : 0);
    ExpectTold(link);
  }
  for (const auto& open :
       {&frmRunnerMain::cmdDTSServer_Click, &frmRunnerMain::cmdLogFilesDir_Click}) {
    OnNextDialog([](QDialog& dialog) {
      ExpectTold(dialog, dialog.windowTitle().toStdString());
      dialog.reject();
    });
    (session_.Form().*open)();
  }
  SelectLink("orders");
  Type("Local directory", QString::fromStdString(Path("flat/")));
  session_.Find<QTabWidget>("Pages of the data link").setCurrentIndex(1);
  auto& table = session_.Find<QTableWidget>("Preview of the data link");
  ASSERT_TRUE(WaitUntil([&table] { return table.isVisible(); }));
  ExpectTold("preview");
  session_.Files().WriteFile("orders.csv", "no,name\nx,one\n");
  std::string box;
  AnswerNext(box);
  Click("Execute");
  ExpectTold("run");
  session_.Window().findChild<QTabWidget*>()->setCurrentIndex(2);
  ExpectTold("history");
}

TEST_F(ScreenReaderTest, StatesAreToldAndWhyAButtonIsGrey) {
  session_.Start("");
  Click("New job");
  const std::string lacking = "Fill in: package, error file, data warehouse's database";
  for (const char* button : {"Save...", "Check", "Execute"}) {
    EXPECT_TRUE(Of<QPushButton>(button).state().disabled) << button;
    EXPECT_EQ(Of<QPushButton>(button).text(QAccessible::Description).toStdString(), lacking);
  }
  EXPECT_THAT(Of<QToolButton>("Check").text(QAccessible::Description).toStdString(),
              HasSubstr(lacking));
  EXPECT_EQ(Of<QLineEdit>("Error file").text(QAccessible::Description), "must be filled in");
  Open();
  EXPECT_EQ(Of<QPushButton>("Stop").text(QAccessible::Description), "No job is running");
  SelectLink("orders");
  const auto expectGrey = [this](const char* button, const char* why) {
    EXPECT_TRUE(Of<QPushButton>(button).state().disabled) << button;
    EXPECT_EQ(Of<QPushButton>(button).text(QAccessible::Description), why);
  };
  expectGrey("Choose the remote directory", "No remote data is copied");
  expectGrey("Test FTP", "No remote data is copied");
  EXPECT_TRUE(Of<QAbstractButton>("from an FTP server").state().disabled);
  Click("Copy remote data before each run");
  EXPECT_TRUE(Of<QAbstractButton>("Copy remote data before each run").state().checked);
  EXPECT_TRUE(Of<QAbstractButton>("from an FTP server").state().checked);
  expectGrey("Choose the remote directory", "A path of an FTP server cannot be browsed");
  Click("from a share");
  expectGrey("Test FTP", "The data comes from a share");
  std::vector<std::string> selected;
  VisitAll(Of<QTreeWidget>("Data links"), [&](QAccessibleInterface& one, QAccessibleInterface&) {
    if (one.state().selected) selected.push_back(one.text(QAccessible::Name).toStdString());
  });
  EXPECT_THAT(selected,
              testing::ElementsAre("orders", "Flat files", "S:\\in\\", testing::_, "edited"));
}

TEST_F(ScreenReaderTest, PasswordsAreToldByNobody) {
  frmRunnerMain& form = Open();
  form.optDTSSQLLogin.Value.Set(true);
  SelectLink("stock");
  for (QLineEdit* field : session_.Window().findChildren<QLineEdit*>()) {
    if (field->accessibleName() != "Password") continue;
    field->setText("tiger");
    EXPECT_TRUE(QAccessible::queryAccessibleInterface(field)->state().passwordEdit);
  }
  VisitAll(Root(), [](QAccessibleInterface& one, QAccessibleInterface&) {
    for (const auto kind : {QAccessible::Name, QAccessible::Description, QAccessible::Value})
      EXPECT_FALSE(one.text(kind).contains("tiger")) << one.text(QAccessible::Name).toStdString();
  });
}

TEST_F(ScreenReaderTest, ARunIsToldStepByStepAndItsVerdictAtTheEnd) {
  Open();
  session_.Files().WriteFile("orders.csv", "no,name\nx,one\n");
  auto& pages = *QAccessible::queryAccessibleInterface(session_.Find<QTabWidget>("Pages").tabBar());
  std::string during;
  OnNextDialog([&](QDialog& dialog) { dialog.reject(); });
  session_.Form().Monitor.StepsChanged.Observe([&] {
    if (session_.Form().Monitor.Runs.Get()) during = NameOf(*pages.child(1));
  });
  Click("Execute");
  EXPECT_EQ(during, "Run: Running");
  EXPECT_EQ(NameOf(*pages.child(1)), "Run: Failed");
  auto& graph = Of<QGraphicsView>("Steps");
  EXPECT_THAT(PartsOf(graph),
              MatchesRegex("create orders, done, [^;]*s; load orders, failed, [^;]*s; "));
  EXPECT_THAT(PartsOf(Of<QWidget>("Time line of the steps")),
              MatchesRegex("create orders, done, begun at 0:00, ended at 0:00; load orders, .*"));
  EXPECT_THAT(NameOf(Of<QLabel>("Error of the step")), HasSubstr("\"x\" is not a whole number"));
  auto& view = session_.Find<QGraphicsView>("Steps");
  session_.Window().activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&session_.Window()));
  view.setFocus();
  EXPECT_EQ(graph.focusChild(), graph.child(1));
  QTest::keyClick(&view, Qt::Key_Left);
  EXPECT_EQ(graph.focusChild(), graph.child(0));
  EXPECT_TRUE(graph.child(0)->state().selected);
  const QPoint second = graph.child(1)->rect().center();
  EXPECT_EQ(graph.childAt(second.x(), second.y()), graph.child(1));
  graph.child(1)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  EXPECT_THAT(NameOf(Of<QLabel>("State of the step")), HasSubstr("DataPump\n✗ failed"));
  QAccessibleInterface* const step = graph.child(1);
  session_.Form().mnuFileNew_Click();
  EXPECT_FALSE(step->isValid());
}

}  // namespace
}  // namespace torvik
