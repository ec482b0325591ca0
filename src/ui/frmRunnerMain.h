#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "config/LogDirectory.h"
#include "package/ExecDTSPackage.h"
#include "platform/Files.h"
#include "startup/MainForm.h"
#include "startup/RunDriver.h"
#include "transfer/FtpFuncModule.h"
#include "ui/AsideWork.h"
#include "ui/CRegSettings.h"
#include "ui/Controls.h"
#include "ui/JobHistory.h"
#include "ui/LinkLoader.h"
#include "ui/LinkRow.h"
#include "ui/OutlineLoader.h"
#include "ui/RunMonitor.h"
#include "ui/ctDLSQLServer.h"
#include "ui/ctDLlFlatFile.h"
#include "ui/ctlDLAccesFiles.h"
#include "ui/ctlDLExcelFiles.h"
#include "ui/ctlDLOrcaleServer.h"

namespace torvik {

struct Program;

/// The main form: the editor of one job, and the fields over which an unattended run works. A form
/// without a toolkit: whatever shows it watches the controls and calls the handlers.
class frmRunnerMain final : public MainForm {
 public:
  explicit frmRunnerMain(Program& program);

  // Package group, page 0 of tabDataInfo.
  TabStrip tabDataInfo;
  ComboBox cmbETLModel, cmbETLPackage;
  TextBox txtDTSServer;
  CommandButton cmdDTSServer;
  OptionButton optDTSSecureLogin, optDTSSQLLogin;
  Label lblDTSSQLUsername, lblDTSSQLPassword;
  TextBox txtDTSSQLUsername, txtDTSSQLPassword;
  TextBox txtDTSErrorFile;
  CommandButton cmdDTSErrorFile;
  CheckBox cbTruncateErrorFile;
  CommandButton cmdShowErrorFile;
  TextBox txtLogFilesDir;
  CommandButton cmdLogFilesDir;
  CheckBox cbDefaultLogFilesDir;
  Label lblUsedLogfileDir;
  CheckBox cbWriteWinNTEvent;
  Image imgEventLog, imgErrorFile;
  // Data-warehouse group, page 1.
  TextBox txtDestServer;
  CommandButton cmdDestServer;
  OptionButton optDestSecureLogin, optDestSQLLogin;
  Label lblDestSQLUsername, lblDestSQLPassword;
  TextBox txtDestSQLUsername, txtDestSQLPassword;
  ComboBox cmbDestDB;
  // Data links.
  ListBox lstDataLinks;
  CommandButton cmdLoadDataLinks;
  Observable<std::vector<LinkRow>> LinkRows;  ///< What the entries of lstDataLinks stand for.
  /// Of the selected link: its name and kind; and what the place of its panel says without one.
  Observable<std::string> LinkHeading, LinkHint;
  Observable<bool> ListsLinks;        ///< They are read by themselves, in the background.
  Observable<std::string> LinksNote;  ///< What has become of that; empty when they are listed.
  ctDLlFlatFile ctDLlFlatFileOBJ;
  ctDLSQLServer ctDLSQLServerOBJ;
  ctlDLAccesFiles ctlDLAccesFilesOBJ;
  ctlDLExcelFiles ctlDLExcelFilesOBJ;
  ctlDLOrcaleServer ctlDLOrcaleServerOBJ;
  // Commands.
  CommandButton cmdOpen, cmdSave, cmdExecute, cmdClose, cmdStop, cmdCheck;
  StatusBar sbStatus;
  Observable<std::string> Caption;
  Observable<bool> HasCloseEntry{true};  ///< In the menu of the window's frame.
  Observable<bool> Busy;                 ///< A job is executing.
  Observable<bool> Hourglass;     ///< The pointer, while a job is executing or a test goes on.
  Observable<bool> HasJob{true};  ///< Else neither a file is open nor a new job begun.
  Observable<bool> Modified;      ///< Something is not saved.
  /// Whether a page of tabDataInfo has all that Execute needs of it.
  Observable<bool> PackagePageComplete, WarehousePageComplete;
  RunMonitor Monitor;
  JobHistory History;
  Observable<bool> LoadsOutline;  ///< The package of a run of the history.
  /// Shows a text file where the settings name no program for it; set by whoever shows the form.
  std::function<void(const std::string& path)> viewFile;
  /// The text of bytes in the code page of logs.
  std::string TextOf(const std::string& bytes) const;
  /// The package's own log of the last run: the directory's file of the package's name.
  void cmdShowPackageLog_Click();
  Signal AboutWanted;
  Signal JobFileUsed;  ///< TorvConfigFile has been read or written.
  Signal JobRead;      ///< The fields are those of TorvConfigFile from now on.
  Signal JobOpened;    ///< Another one than before, or a new one.
  Signal Closed;

  // What the program's start and the run driver use.
  void SetStartInQXJobConfigMode(bool on) override;
  void Show() override;
  void Run() override { driver_.Run(); }
  bool IsOpen() const override { return isOpen_; }
  void Close() override;
  bool CheckInputComplete() override;
  ExecDTSPackage& FormToJob() override;
  bool getDataLinkInfo() override;
  void SetBusy(bool busy) override;
  void ShowVerdict(RunVerdict verdict) override { Monitor.ShowVerdict(verdict); }
  std::string ErrorFile() const override { return txtDTSErrorFile.Text.Get(); }
  void SetFormStatus(const std::string& text) override;
  void ShowLogLine(const std::string& line) override;
  void ShowProblem(const std::string& place, const std::string& reason) override {
    Monitor.AddProblem(place, reason);
  }
  void ShowPackage(const std::vector<dts::StepOutline>& steps) override;
  void ShowStep(const StepProgress& progress) override { Monitor.ShowStep(progress); }
  void ShowFetch(const FetchStatus& status) override { Monitor.ShowFetch(status); }
  void ShowFetchProgress(const FetchProgress& progress) override {
    Monitor.ShowFetchProgress(progress);
  }
  void SetFormTitle(const std::string& text);

  bool StartInQXJobConfigMode() const { return startInQXJobConfigMode_; }
  bool DTSInfoComplete() const { return PackagePageComplete.Get(); }
  bool DWInfoComplete() const { return WarehousePageComplete.Get(); }
  /// True when the editor panel of a data link is current.
  bool DataSourceInfoPresent() const { return panel_ != nullptr; }

  // Handlers: commands.
  void cmdOpen_Click();
  /// Asks for the file's name.
  void cmdSave_Click();
  void cmdExecute_Click();
  /// Closes the form, after telling a waiting scheduler; during a run it cancels a wait for remote
  /// data instead.
  void cmdClose_Click();
  /// Asks, and then ends the run: a wait for remote data, or the package's steps.
  void cmdStop_Click();
  void mnuFileNew_Click();
  /// Asks for a name only when there is none.
  void mnuFileSave_Click();
  void mnuHelpAbout_Click() { AboutWanted(); }
  /// Opens a job file that is named by other means than the dialog.
  void OpenJobFile(const std::string& path);

  // Handlers: checks before a run, by whoever shows the form.
  /// False when there is nothing to check: the job is not saved, and the operator does not want to.
  bool BeginCheck();
  /// What was found, in place of the last run.
  void EndCheck(const std::vector<RunMonitor::Problem>& problems, const std::string& sentence);

  /// To the field that a row of a check is about, by what the row begins with.
  void GoTo(const std::string& place);

  // Handlers: the pages of runs.
  void ReadHistory();
  /// Shows a run of the history as the Run page shows one. A package that is not known yet is
  /// loaded meanwhile.
  void ShowRun(std::int64_t id);
  /// Shows the package that is loaded, once it is; to be called now and then while LoadsOutline.
  void TakeOutline();

  // Handlers: fields.
  void cmdDTSServer_Click();
  void cmdDestServer_Click();
  void cmdDTSErrorFile_Click();
  void cmdLogFilesDir_Click();
  void cmdShowErrorFile_Click();
  void imgErrorFile_DblClick() { cmdShowErrorFile_Click(); }
  void imgEventLog_DblClick();
  void txtDTSErrorFile_LostFocus();
  void txtLogFilesDir_LostFocus();
  void cmbETLPackage_LostFocus() { KeepOrReleaseLinks(); }
  void txtDestServer_LostFocus() { KeepOrReleaseLinks(); }
  void cmbDestDB_LostFocus() { KeepOrReleaseLinks(); }
  void cmbETLModel_DropDown();
  void cmbETLPackage_DropDown();
  void cmbDestDB_DropDown();
  void lstDataLinks_Click();
  /// The selected data link, when it has a panel, as torvik-admin reads it; else empty.
  std::string SelectedLinkFile() const;
  void cmdLoadDataLinks_Click();

  // Handlers: the data links of a job that was opened, by whoever shows the form.
  /// Has them read in the background; does nothing for a run that nobody attends, and while a field
  /// misses.
  void ListLinks();
  /// Lists them once they are there, if neither the fields nor the operator have gone on meanwhile;
  /// to be called now and then while ListsLinks.
  void TakeLinks();

 private:
  JobFileServices FileServices();

  // The job and its file.
  void WatchFields();
  void FieldChanged();
  void EnableCommands();
  void LoadJobFile();
  void ReadAgain();
  void ForgetRun();
  void JobToForm();
  void SetDefaults();
  bool SaveJobFile(const std::string& path);
  bool SaveAs();
  bool MayOverwrite(const std::string& path);
  bool Asks(const std::string& question, const char* choice);
  bool MayLoseChanges();
  bool MayEmptyLogDirectory(const std::string& jobFile);
  void RememberSaved();
  std::string FieldsAsText() const;
  void SetDefaultLogDirectory();

  // Data links.
  /// What decides which links there are.
  struct LinksOrigin {
    std::string package, server, database;
  };
  LinksOrigin OriginInFields() const;
  bool KeepOrReleaseLinks();
  bool LoadDataLinksIfNone();
  ServerLogon WarehouseLogon() const;
  bool ConnectWarehouse();
  void ShowLinks(std::vector<std::string> names, bool areLoaded);
  LinkLoader::Wanted ListingInFields() const;
  void DropListing();
  void ShowListing(LinkLoader::Answer answer);
  void ReleaseLinks();
  DataLinkPanel* PanelFor(std::int32_t etlType);
  std::vector<DataLinkPanel*> Panels();
  void ShowPanel(DataLinkPanel* panel);
  void RefreshLinkRows();
  void DescribeSelection();

  // Runs.
  void Remember(const std::string& version, const std::vector<dts::StepOutline>& steps);

  // Commands.
  void FinishSchedulerConfiguration();
  bool NamesWhatExecuteMisses();
  void ExecuteHere();
  void StoreLastUsedFile();
  void OpenWith(const std::string& program, const std::string& file);
  void BrowseForServer(TextBox& box, const std::string& title);
  template <typename Fill>
  void FillKeepingText(ComboBox& box, const Fill& fill);
  ServerLogon PackageServerLogon() const;
  bool RetrievePackages(class ETLPackages& packages);
  void ShowError(const std::string& text, const std::string& title);

  Program& program_;
  ExecDTSPackage job_;
  RunDriver driver_;
  CRegSettings settings_;
  FtpFuncModule ftp_;
  AsideWork aside_;
  DataLinkPanel* panel_ = nullptr;
  bool isOpen_ = false;
  bool startInQXJobConfigMode_ = false;
  bool isFilling_ = false;  // fields change, but not by the operator
  bool isChecking_ = false;
  std::set<std::string> editedLinks_;  // by name; since the job was saved
  LinksOrigin linksOrigin_;            // of the links that are listed
  bool isWarehouseOfLinks_ = false;    // the program's connection was made for them
  std::string savedFields_;
  LogDirectory acceptedLogDirectory_;  // the operator knows what a run deletes there
  FileStatus savedFile_;               // as it was when it was last read or written
  std::map<std::string, std::vector<dts::StepOutline>> outlines_;  // by their packages' versions
  std::string shownVersion_;  // of the package of the run of the history that is shown
  OutlineLoader outlineLoader_;
  LinkLoader linkLoader_;
};

}  // namespace torvik
