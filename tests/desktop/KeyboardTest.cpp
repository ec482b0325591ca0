// An operator without a mouse.

#include <gmock/gmock.h>

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QTabWidget>
#include <QTest>
#include <QTreeWidget>

#include "desktop/WindowTest.h"

namespace torvik {
namespace {

class KeyboardTest : public WindowTest {};

TEST_F(KeyboardTest, TheFileMenusLetterForExitLeaves) {
  Open();
  QTest::keyClick(&session_.Window(), Qt::Key_F, Qt::AltModifier);
  QMenu* const file = session_.Window().findChild<QMenuBar*>()->actions().front()->menu();
  ASSERT_TRUE(file->isVisible());
  QTest::keyClick(file, Qt::Key_X);
  EXPECT_FALSE(session_.Form().IsOpen());
  EXPECT_EQ("", session_.Files().ReadFile("err.txt"));
}

TEST_F(KeyboardTest, ListsAndPickersAnswerTheKeyboard) {
  frmRunnerMain& form = Open();
  FindCombo("Package")->setFocus();
  FindCombo("Package")->showPopup();
  EXPECT_TRUE(FindCombo("Package")->view()->isVisible());
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

TEST_F(KeyboardTest, NoTwoVisibleControlsHaveTheSameKey) {
  const auto expectNoneTwice = [this](const std::string& place) {
    std::map<QString, QString> keys;
    const auto add = [&](const QString& text) {
      const QString key = QKeySequence::mnemonic(text).toString();
      EXPECT_FALSE(!key.isEmpty() && keys.contains(key))
          << place << ": " << (keys[key] + "|" + text).toStdString();
      keys[key] = text;
    };
    for (const QAction* menu : dynamic_cast<QMainWindow&>(session_.Window()).menuBar()->actions())
      add(menu->text());
    for (const QTabWidget* tabs : session_.Window().findChildren<QTabWidget*>())
      for (int i = 0; tabs->isVisible() && i < tabs->count(); ++i)
        if (tabs->isTabVisible(i)) add(tabs->tabText(i));
    for (const QLabel* label : session_.Window().findChildren<QLabel*>())
      if (label->isVisible() && label->buddy()) add(label->text());
    for (const QAbstractButton* button : session_.Window().findChildren<QAbstractButton*>())
      if (button->isVisible()) add(button->text());
  };
  session_.Start("");
  expectNoneTwice("start");
  Open();
  for (const char* link : {"orders", "erp", "prices", "ledger"})
    for (const int page : {0, 1}) {
      SelectLink(link);
      session_.Form().tabDataInfo.Tab.Set(page);
      expectNoneTwice(link);
    }
  session_.Find<QTabWidget>("Pages of the data link").setCurrentIndex(1);
  expectNoneTwice("preview");
  for (const int page : {1, 2}) {
    session_.Window().findChild<QTabWidget*>()->setCurrentIndex(page);
    expectNoneTwice("page " + std::to_string(page));
  }
}

}  // namespace
}  // namespace torvik
