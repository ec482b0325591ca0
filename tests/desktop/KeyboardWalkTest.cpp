// An operator who goes through the pages by the Tab key.

#include <gmock/gmock.h>

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTableWidget>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>
#include <QWindow>
#include <algorithm>
#include <utility>
#include <vector>

#include "desktop/WindowTest.h"

namespace torvik {
namespace {

using Stops = std::vector<QWidget*>;

std::string NameOf(const QWidget* widget) {
  if (widget == nullptr) return "nothing";
  const auto* const button = qobject_cast<const QAbstractButton*>(widget);
  const bool isCalledByText = button != nullptr && widget->accessibleName().isEmpty();
  const QString words = isCalledByText ? button->text() : widget->accessibleName();
  return (QString(widget->metaObject()->className()) + " \"" + words + "\"").toStdString();
}

std::vector<std::string> NamesOf(const Stops& stops) {
  std::vector<std::string> names;
  for (const QWidget* stop : stops) names.push_back(NameOf(stop));
  return names;
}

/// Whether the eye comes to `next` after `one`: right of it, or below. Of two that stand in
/// different panes, the panes count.
bool IsBehind(const QWidget* one, const QWidget* next) {
  const auto isIn = [](const QWidget* widget, const QWidget* pane) {
    return pane == widget || pane->isAncestorOf(widget);
  };
  while (!isIn(next, one->parentWidget())) one = one->parentWidget();
  while (!isIn(one, next->parentWidget())) next = next->parentWidget();
  const QRect a = one->geometry(), b = next->geometry();
  const int shared = std::min(a.bottom(), b.bottom()) - std::max(a.top(), b.top());
  const bool isSameRow = shared > std::min(a.height(), b.height()) / 2;
  return isSameRow ? b.left() >= a.right() : b.top() >= a.bottom();
}

/// It is in sight, as far as there is room, and looks otherwise than without the keyboard.
void ExpectSeen(QWidget& stop) {
  QRect seen = stop.rect();
  for (const QWidget* pane = stop.parentWidget(); pane != nullptr; pane = pane->parentWidget())
    seen &= QRect(stop.mapFrom(pane, QPoint()), pane->size());
  const QSize enough = stop.size().boundedTo({100, 60});
  EXPECT_EQ(seen.size().expandedTo(enough), seen.size()) << NameOf(&stop);
  const auto picture = [&stop] {
    const QRect place(stop.mapTo(stop.window(), QPoint()), stop.size());
    return stop.window()->grab(place.adjusted(-4, -4, 4, 4)).toImage();
  };
  const QImage with = picture();
  stop.clearFocus();
  EXPECT_FALSE(with == picture()) << NameOf(&stop) << " looks the same without the keyboard";
  stop.setFocus(Qt::TabFocusReason);
}

class KeyboardWalkTest : public WindowTest {
 protected:
  QWidget* Press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QTest::keyClick(session_.Window().windowHandle(), key, modifiers);
    QApplication::processEvents();
    return QApplication::focusWidget();
  }

  /// Where the keyboard comes to by Tab until it comes round, from the window's last button on.
  Stops Walk(Qt::KeyboardModifiers modifiers) {
    auto& last = session_.Find<QAbstractButton>("Close");
    last.setFocus();
    Stops stops;
    do {
      QWidget* const stop = Press(Qt::Key_Tab, modifiers);
      const bool isCaught = stop == nullptr || std::ranges::find(stops, stop) != stops.end();
      EXPECT_FALSE(isCaught) << NameOf(stop) << " again";
      if (isCaught) break;
      ExpectSeen(*stop);
      stops.push_back(stop);
    } while (stops.back() != &last);
    return stops;
  }

  void ExpectWalk(const std::string& place) {
    SCOPED_TRACE(place);
    session_.Window().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&session_.Window()));
    EXPECT_EQ(session_.Window().size(), size_) << "no page makes the window grow";
    const Stops forth = Walk({});
    for (std::size_t i = 1; i < forth.size(); ++i)
      EXPECT_TRUE(IsBehind(forth[i - 1], forth[i])) << NameOf(forth[i]);
    Stops back = Walk(Qt::ShiftModifier);
    ASSERT_FALSE(back.empty());
    std::ranges::reverse(back);
    std::ranges::rotate(back, back.begin() + 1);
    EXPECT_EQ(NamesOf(back), NamesOf(forth));
    Stops all;
    for (QWidget* widget : session_.Window().findChildren<QWidget*>())
      if (widget->isVisible() && widget->isEnabled() && (widget->focusPolicy() & Qt::TabFocus) &&
          widget->focusProxy() == nullptr)
        all.push_back(widget);
    EXPECT_THAT(NamesOf(forth), testing::UnorderedElementsAreArray(NamesOf(all)));
  }

  void ExpectWalksOfJob() {
    Open();
    session_.Window().resize(size_);
    ASSERT_TRUE(WaitUntil([this] { return !session_.Form().ListsLinks.Get(); }));
    ExpectWalk("package");
    session_.Form().tabDataInfo.Tab.Set(1);
    session_.Form().optDestSQLLogin.Value.Set(true);
    for (const char* link : {"orders", "erp", "prices", "stock", "ledger", "other"}) {
      SelectLink(link);
      if (link == std::string("orders")) Click("Copy remote data before each run");
      ExpectWalk(link);
    }
    SelectLink("orders");
    Type("Local directory", QString::fromStdString(Path("flat/")));
    auto& pages = session_.Find<QTabWidget>("Pages of the data link");
    pages.setCurrentIndex(1);
    auto& table = session_.Find<QTableWidget>("Preview of the data link");
    ASSERT_TRUE(WaitUntil([&table] { return table.isVisible(); }));
    ExpectWalk("preview");
    Click("Copy remote data before each run");
  }

  void ExpectWalksOfRun() {
    Open();
    session_.Window().resize(size_);
    QTest::keyClick(&session_.Window(), Qt::Key_2, Qt::ControlModifier);
    ExpectWalk("before a run");
    std::string box;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &session_.Window(), [&] {
      if (session_.Form().Monitor.Steps().empty()) return;
      timer.stop();
      ExpectWalk("during a run");
      AnswerNext(box, "Stop");
      Click("Stop");
      AnswerNext(box);
    });
    timer.start(50);
    Click("Execute");
    ExpectWalk("problems of a run");
    session_.Find<QTabWidget>("Texts of the run").setCurrentIndex(0);
    ExpectWalk("log of a run");
    QTest::keyClick(&session_.Window(), Qt::Key_3, Qt::ControlModifier);
    ExpectWalk("history");
  }

  QSize size_;
};

TEST_F(KeyboardWalkTest, TheTabKeyGoesThroughEveryPageAsTheEyeDoes) {
  session_.Files().WriteFile("flat/a.csv", "id,name\n1,one\n2,two\n");
  session_.Files().PutPackage("Sales_LoadDW",
                              "[[steps]]\nname = \"long\"\ntask = \"ExecuteProcess\"\n"
                              "program = \"sleep\"\narguments = [ '300' ]\n");
  for (const QSize size : {QSize(1280, 800), QSize(640, 360)}) {
    SCOPED_TRACE(size.width());
    size_ = size;
    session_.Start("");
    session_.Window().resize(size_);
    ExpectWalk("start");
    ExpectWalksOfJob();
    ExpectWalksOfRun();
  }
}

TEST_F(KeyboardWalkTest, KeysTurnPagesAndTheKeyboardGoesAlong) {
  Open();
  SelectLink("orders");
  const struct {
    const char* from;
    Qt::Key key;
    const char* to;
  } cases[] = {{"Error file", Qt::Key_Tab, "QLineEdit \"Server\""},
               {"Database", Qt::Key_Tab, "QLineEdit \"Error file\""},
               {"Local directory", Qt::Key_Tab, "QPushButton \"Read again\""},
               {"Error file", Qt::Key_3, "QTreeWidget \"Runs\""},
               {"Runs", Qt::Key_2, "QLineEdit \"Find a step\""},
               {"Lines of the log", Qt::Key_1, "QLineEdit \"Error file\""}};
  for (const auto& c : cases) {
    session_.Find<QWidget>(c.from).setFocus();
    EXPECT_EQ(NameOf(Press(c.key, Qt::ControlModifier)), c.to) << c.from;
  }
}

TEST_F(KeyboardWalkTest, TheArrowsChooseAndTheLettersLeadToFields) {
  frmRunnerMain& form = Open();
  session_.Find<QRadioButton>("Use Windows NT authentication").setFocus();
  Press(Qt::Key_Down);
  EXPECT_TRUE(form.optDTSSQLLogin.Value.Get());
  Click("Load");
  session_.Find<QPushButton>("Load").setFocus();
  Press(Qt::Key_Tab, Qt::ShiftModifier);
  auto& links = session_.Find<QTreeWidget>("Data links");
  EXPECT_EQ(links.selectedItems(), QList{links.topLevelItem(0)}) << "what is shown is marked";
  Press(Qt::Key_Down);
  EXPECT_EQ(links.selectedItems(), QList{links.topLevelItem(1)});
  for (const char* link : {"orders", "erp", "prices", "ledger"}) {
    SelectLink(link);
    for (const QLabel* label : session_.Window().findChildren<QLabel*>()) {
      const QKeySequence letter = QKeySequence::mnemonic(label->text());
      if (!label->isVisible() || !label->buddy() || !label->buddy()->isEnabled() ||
          letter.isEmpty())
        continue;
      EXPECT_EQ(Press(letter[0].key(), Qt::AltModifier), label->buddy())
          << link << ", " << label->text().toStdString();
    }
  }
}

TEST_F(KeyboardWalkTest, ReturnAndEscapeAnswerQuestionsAsTheirButtonsSay) {
  frmRunnerMain& form = Open();
  const auto answer = [](std::string& usual, Qt::Key key) {
    OnNextDialog([&usual, key](QDialog& dialog) {
      for (const QPushButton* button : dialog.findChildren<QPushButton*>())
        if (button->isDefault()) usual = button->text().remove('&').toStdString();
      QTest::keyClick(&dialog, key);
    });
  };
  std::string usual;
  form.txtDTSServer.Text.Set("NEW");
  answer(usual, Qt::Key_Escape);
  form.cmdClose_Click();
  EXPECT_TRUE(form.IsOpen());
  EXPECT_THAT(Job(), testing::Not(testing::HasSubstr("NEW")));
  answer(usual, Qt::Key_Return);
  form.cmdClose_Click();
  EXPECT_EQ(usual, "Save");
  EXPECT_FALSE(form.IsOpen());
  EXPECT_THAT(Job(), testing::HasSubstr("DTSServer=NEW\r\n"));
}

TEST_F(KeyboardWalkTest, ALogIsReadSearchedAndClosedByKeys) {
  Open();
  session_.Files().WriteFile("err.txt", "one x\r\ntwo x\r\nthree x\r\n");
  Click("Show");
  QWidget* window = nullptr;
  for (QWidget* one : QApplication::topLevelWidgets())
    if (one->windowTitle() == "S:\\err.txt") window = one;
  ASSERT_NE(window, nullptr);
  const QPointer<QWidget> closed(window);
  window->activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(window));
  const auto press = [&](Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QTest::keyClick(window->windowHandle(), key, modifiers);
  };
  auto& text = DesktopSession::FindIn<QPlainTextEdit>(*window, "Text of the file");
  text.setFocus();
  press(Qt::Key_F, Qt::ControlModifier);
  press(Qt::Key_X);
  for (const auto& [modifiers, line] :
       {std::pair{Qt::NoModifier, 0}, {Qt::NoModifier, 1}, {Qt::ShiftModifier, 0}}) {
    press(Qt::Key_Return, modifiers);
    EXPECT_EQ(text.textCursor().blockNumber(), line);
  }
  Stops stops;
  for (int i = 0; i < 5; ++i) {
    press(Qt::Key_Tab);
    stops.push_back(QApplication::focusWidget());
    ExpectSeen(*stops.back());
  }
  EXPECT_THAT(NamesOf(stops),
              testing::ElementsAre("QPushButton \"&Next\"", "QPushButton \"&Before\"",
                                   "QCheckBox \"&Follow\"", "QPlainTextEdit \"Text of the file\"",
                                   "QLineEdit \"Find\""));
  press(Qt::Key_Escape);
  QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_TRUE(closed.isNull());
}

}  // namespace
}  // namespace torvik
