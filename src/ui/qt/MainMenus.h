#pragma once

#include <QObject>
#include <QString>
#include <functional>
#include <vector>

class QAction;
class QIcon;
class QKeySequence;
class QMainWindow;
class QMenu;

namespace torvik {

class JobChecker;
class frmRunnerMain;
struct CommandButton;

/// The menus and the tool bar of the form's window, to which this belongs.
class MainMenus final : public QObject {
 public:
  /// `checker`: null where jobs cannot be checked.
  MainMenus(QMainWindow& window, frmRunnerMain& form, JobChecker* checker);

 private:
  using Work = std::function<void()>;
  /// What stands in the tool bar too.
  struct Tool {
    QString text, help;
    CommandButton& command;  ///< That the reason is told of while the tool is grey.
  };
  QAction* Add(const QString& text, const QKeySequence& keys, Work work);
  QAction* Add(const Tool& tool, const QKeySequence& keys, const QIcon& icon, Work work);
  void MakeFileMenu(JobChecker* checker);
  void AddCheck(JobChecker& checker);
  void NameByMode(QAction& execute, QAction& exit);
  void MakeViewMenu();
  void MakeToolBar();
  void FillRecent();

  QMainWindow& window_;
  frmRunnerMain& form_;
  QMenu *file_, *recent_ = nullptr;
  std::vector<QAction*> tools_;
};

}  // namespace torvik
