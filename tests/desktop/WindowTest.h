#pragma once

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QTest>
#include <QTreeWidget>
#include <QWheelEvent>
#include <algorithm>
#include <string>

#include "desktop/DesktopSession.h"

namespace torvik {

/// An operator at the windows of a job.
class WindowTest : public testing::Test {
 protected:
  WindowTest() { session_.MakeJob(); }

  /// The form with the job.
  frmRunnerMain& Open() {
    session_.Start("");
    session_.Form().OpenJobFile(Path("job.etl"));
    return session_.Form();
  }

  std::string Path(const std::string& name) { return session_.Files().PathOf(name); }
  std::string Job(const std::string& name = "job.etl") { return session_.Files().ReadFile(name); }

  void Type(const QString& field, const QString& text) {
    auto& line = Line(field);
    line.setFocus();
    line.selectAll();
    QTest::keyClicks(&line, text);
  }
  QLineEdit& Line(const QString& field) {
    auto* const combo = FindCombo(field);
    return combo ? *combo->lineEdit() : session_.Find<QLineEdit>(field);
  }
  QComboBox* FindCombo(const QString& field) {
    for (QComboBox* box : session_.Window().findChildren<QComboBox*>())
      if (box->accessibleName() == field && box->isVisible()) return box;
    return nullptr;
  }
  void Click(const QString& button) {
    QTest::mouseClick(&session_.Find<QAbstractButton>(button), Qt::LeftButton, {}, {5, 5});
  }

  /// A shortcut with the control key.
  void Press(Qt::Key key) {
    session_.Window().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&session_.Window()));
    QTest::keyClick(&session_.Window(), key, Qt::ControlModifier);
  }

  /// What the next message box says; it is answered with `button`.
  void AnswerNext(std::string& text, QMessageBox::StandardButton button = QMessageBox::Ok) {
    OnNextDialog([&text, button](QDialog& dialog) {
      auto* const box = qobject_cast<QMessageBox*>(&dialog);
      text = box ? (box->windowTitle() + "|" + box->text()).toStdString() : "another dialog";
      QAbstractButton* const pressed = box ? box->button(button) : nullptr;
      pressed ? pressed->click() : dialog.reject();
    });
  }

  /// The same with the button that has this text.
  void AnswerNext(std::string& text, const QString& button) {
    OnNextDialog([&text, button](QDialog& dialog) {
      text = dynamic_cast<QMessageBox&>(dialog).text().toStdString();
      for (QAbstractButton* one : dialog.findChildren<QAbstractButton*>())
        if (one->text().remove('&') == button) return one->click();
      dialog.reject();
    });
  }

  void TurnWheelOver(QWidget& widget) {
    const QPointF middle = widget.rect().center();
    QWheelEvent turn(middle, widget.mapToGlobal(middle), {}, {0, -120}, Qt::NoButton,
                     Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&widget, &turn);
  }

  bool IsShown(const QString& words) {
    const auto labels = session_.Window().findChildren<QLabel*>();
    return std::any_of(labels.begin(), labels.end(), [&](const QLabel* label) {
      return label->isVisible() && label->text() == words;
    });
  }

  void SelectLink(const QString& name) {
    auto& list = session_.Find<QTreeWidget>("Data links");
    if (list.topLevelItemCount() == 0) Click("Load");
    list.setCurrentItem(list.findItems(name, Qt::MatchExactly).value(0));
  }

  DesktopSession session_;
};

}  // namespace torvik
