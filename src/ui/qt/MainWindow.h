#pragma once

#include <QMainWindow>

class QTabWidget;

namespace torvik {

class frmRunnerMain;

/// The window of the main form.
class MainWindow final : public QMainWindow {
 public:
  explicit MainWindow(frmRunnerMain& form);

 private:
  void MakeMenus();
  void MakeCentre();
  void WatchForm();
  void ShowAbout();
  void AddRecent();
  void FillRecent();

  void closeEvent(QCloseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

  frmRunnerMain& form_;
  QMenu* recent_ = nullptr;
  QWidget* fields_ = nullptr;  // what must not change during a run
  QWidget* links_ = nullptr;
  QTabWidget* pages_ = nullptr;  // the job, its run, its history
  bool mayGo_ = false;
};

}  // namespace torvik
