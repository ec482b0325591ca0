#pragma once

#include "package/ExecDTSPackage.h"
#include "startup/MainForm.h"
#include "startup/RunDriver.h"
#include "ui/Controls.h"

namespace torvik {

struct Program;

/// The main form: the editor of one job, and the fields over which an unattended run works. A form
/// without a toolkit: whatever shows it watches the controls.
class frmRunnerMain final : public MainForm {
 public:
  explicit frmRunnerMain(Program& program);

  // Package group.
  ComboBox cmbETLModel;
  ComboBox cmbETLPackage;
  TextBox txtDTSServer;
  OptionButton optDTSSecureLogin;
  OptionButton optDTSSQLLogin;
  TextBox txtDTSSQLUsername;
  TextBox txtDTSSQLPassword;
  TextBox txtDTSErrorFile;
  CheckBox cbTruncateErrorFile;
  TextBox txtLogFilesDir;
  CheckBox cbDefaultLogFilesDir;
  CheckBox cbWriteWinNTEvent;
  // Data-warehouse group.
  TextBox txtDestServer;
  OptionButton optDestSecureLogin;
  OptionButton optDestSQLLogin;
  TextBox txtDestSQLUsername;
  TextBox txtDestSQLPassword;
  ComboBox cmbDestDB;
  // Data links and commands.
  ListBox lstDataLinks;
  CommandButton cmdSave;
  CommandButton cmdExecute;
  CommandButton cmdClose;
  StatusBar sbStatus;
  Observable<std::string> Caption;
  Observable<bool> Busy;  ///< A job is executing: the pointer is the hourglass.

  void SetStartInQXJobConfigMode(bool on) override;
  void Show() override;
  void Run() override { driver_.Run(); }
  bool IsOpen() const override { return isOpen_; }
  void Close() override { isOpen_ = false; }
  bool CheckInputComplete() override;
  ExecDTSPackage& FormToJob() override;
  bool getDataLinkInfo() override;
  void SetBusy(bool busy) override;
  std::string ErrorFile() const override { return txtDTSErrorFile.Text.Get(); }
  void SetFormStatus(const std::string& text) override;
  void SetFormTitle(const std::string& text);

  /// The Execute button in scheduler configuration mode, captioned "Exit": saves the job, hands its
  /// command line to the scheduler and closes. Without a job file it says so and stays open.
  void FinishSchedulerConfiguration();

  /// The Close button: closes the form, after telling a waiting scheduler; during a run it cancels
  /// a wait for remote data instead.
  void cmdClose_Click();

 private:
  void LoadJobFile();
  bool SaveJobFile();
  void JobToForm();
  void SetDefaults();
  void UseDefaultLogDirectory();
  JobFileServices FileServices();

  Program& program_;
  ExecDTSPackage job_;
  RunDriver driver_;
  bool isOpen_ = false;
  bool startInQXJobConfigMode_ = false;
};

}  // namespace torvik
