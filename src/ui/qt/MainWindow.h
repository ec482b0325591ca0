#pragma once

#include <QMainWindow>
#include <QPointer>

class QTabWidget;

namespace torvik {

class JobChecker;
class Neighbourhood;
class frmRunnerMain;

/// The window of the main form.
class MainWindow final : public QMainWindow {
 public:
  /// `admin`: the path of torvik-admin; empty where there is none.
  MainWindow(frmRunnerMain& form, const std::string& admin, Neighbourhood& places);

 private:
  void MakeCentre(const std::string& admin);
  QLayout* MakeCommands();
  void WatchForm();
  void ShowRunTab();
  void ShowAbout();
  void AddRecent();
  void RestorePlaces();
  void SavePlaces();

  void closeEvent(QCloseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

  frmRunnerMain& form_;
  JobChecker* checker_ = nullptr;
  QWidget* fields_ = nullptr;  // what must not change during a run
  QWidget* links_ = nullptr;
  QTabWidget* pages_ = nullptr;  // the job, its run, its history
  QPointer<QWidget> focus_;      // has the keyboard again after what takes long
  bool mayGo_ = false;
};

}  // namespace torvik
