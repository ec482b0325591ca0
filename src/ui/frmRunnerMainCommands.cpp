// The main form's commands, pickers and lists.

#include "config/FileUtils.h"
#include "datalinks/DatabaseLists.h"
#include "datalinks/ETLPackages.h"
#include "platform/FileDialogs.h"
#include "platform/Messages.h"
#include "platform/PlatformError.h"
#include "platform/Process.h"
#include "platform/Text.h"
#include "startup/HandOffFile.h"
#include "startup/Program.h"
#include "ui/DropDownLists.h"
#include "ui/ListedNames.h"
#include "ui/ModSHBrowse.h"
#include "ui/frmRunnerMain.h"

namespace torvik {
namespace {

constexpr int kPackagePage = 0, kWarehousePage = 1;

/// A path of a drive or of the network, or one from the root on.
bool IsFullPath(const std::string& path) {
  return (path.size() > 1 && path[1] == ':') || path.starts_with("\\\\") || path.starts_with('/');
}

}  // namespace

void frmRunnerMain::StoreLastUsedFile() {
  settings_.SaveSetting("Torv", "LastUsedConfigFile", TorvConfigFile);
}

void frmRunnerMain::cmdExecute_Click() {
  if (Hourglass.Get()) return;
  SetFormStatus("");
  StoreLastUsedFile();
  if (startInQXJobConfigMode_) return FinishSchedulerConfiguration();
  if (NamesWhatExecuteMisses() || !MayEmptyLogDirectory(TorvConfigFile)) return;
  ExecuteHere();
}

/// Saves the job, hands its command line to the scheduler and closes. Without a job file it says so
/// and stays open.
void frmRunnerMain::FinishSchedulerConfiguration() {
  if (TorvConfigFile.empty())
    return ShowError(
        "You did not save your current settings to an Torvik config file.\r\n"
        "Settings must be saved, because Torvik will read this info when \r\n"
        "the Job is executed.",
        "QXJob Config mode");
  if (!SaveJobFile(TorvConfigFile)) return;
  WriteHandOffFile(program_.platform.files, program_.platform.messages, QXJobConfigFile,
                   HandOffLine(program_.platform.files.FullPath(TorvConfigFile)));
  Close();
}

/// Brings the first field forward that must be filled; true when there is one.
bool frmRunnerMain::NamesWhatExecuteMisses() {
  const auto bring = [this](int page, Control& control) {
    tabDataInfo.Tab.Set(page);
    control.SetFocus();
    return true;
  };
  const bool hasPackage = !cmbETLPackage.Text.Get().empty();
  if (!hasPackage || cmbDestDB.Text.Get().empty()) {
    ShowError("Please fill in DTS Package, DTS Server and Data Warehouse database",
              "Connect to Datawarehouse server");
    if (!hasPackage) return bring(kPackagePage, cmbETLPackage);
    const bool hasServer = !txtDestServer.Text.Get().empty();
    return hasServer ? bring(kWarehousePage, cmbDestDB) : bring(kWarehousePage, txtDestServer);
  }
  if (!txtDTSErrorFile.Text.Get().empty()) return false;
  ShowError("Please fill in Error File before Executing DTS Package",
            "DTS Package Info Check input");
  return bring(kPackagePage, txtDTSErrorFile);
}

/// A run deletes every file of the log directory: what is no log there is asked about, once.
bool frmRunnerMain::MayEmptyLogDirectory(const std::string& jobFile) {
  Files& files = program_.platform.files;
  const LogDirectory directory{txtLogFilesDir.Text.Get(), cmbETLPackage.Text.Get(),
                               txtDTSErrorFile.Text.Get(), jobFile, StatusFile};
  if (!StartInConfigMode || directory == acceptedLogDirectory_) return true;
  std::string reason = WhyUnusable(files, directory.path);
  if (!directory.path.empty() && files.IsRoot(directory.path))
    reason = "The log directory " + directory.path +
             " is no directory of the job's own, so a run cannot log in it.\r\nChoose another one.";
  if (!reason.empty()) return ShowError(reason, "Torv Error"), false;
  const auto findings = ForeignFiles(files, directory);
  std::string question =
      "Every run deletes all files in the log directory " + directory.path + ", among them:";
  for (const std::string& finding : findings) question += "\r\n" + finding;
  const bool mayUse = findings.empty() || Asks(question + "\r\nUse it all the same?", "Use it");
  if (mayUse) acceptedLogDirectory_ = directory;
  return mayUse;
}

void frmRunnerMain::ExecuteHere() {
  if (!LoadDataLinksIfNone() || (!isWarehouseOfLinks_ && !ConnectWarehouse())) return;
  try {
    program_.dataLinks.SaveAllDataLinks(program_.dataWarehouse.Connection());
  } catch (const PlatformError& error) {
    return ShowError(error.Description(), "Torv Error");
  }
  SetFormStatus("Start");
  driver_.ExecuteJob();
  cmdShowErrorFile.Enabled.Set(!txtDTSErrorFile.Text.Get().empty());
}

void frmRunnerMain::cmdClose_Click() {
  if (aside_.IsOn()) return aside_.Afterwards([this] { cmdClose_Click(); });
  StoreLastUsedFile();
  if (Busy.Get()) {
    program_.log.EchoToLog("Waiting for end of execution");
    program_.remoteData.CancelPolling();
    return;
  }
  if (startInQXJobConfigMode_)
    WriteHandOffFile(program_.platform.files, program_.platform.messages, QXJobConfigFile,
                     kHandOffCanceled);
  else if (!MayLoseChanges())
    return;
  Close();
}

void frmRunnerMain::cmdStop_Click() {
  if (!Busy.Get() ||
      !Asks(
          "Stop the run? The steps that run are cancelled, what they have not committed is undone, "
          "and the run fails.",
          "Stop"))
    return;
  if (!Busy.Get()) return;  // it has ended meanwhile
  program_.log.EchoToLog("Stopped by the operator");
  program_.remoteData.Stop();
  job_.Cancel();
}

bool frmRunnerMain::BeginCheck() {
  const bool isSaved = !Modified.Get() && !TorvConfigFile.empty();
  if (!isSaved && !Asks("A check looks at the job file. Save the job first?", "Save")) return false;
  if (!isSaved) mnuFileSave_Click();
  if (Modified.Get() || TorvConfigFile.empty()) return false;
  isChecking_ = true;
  cmdCheck.EnableUnless("A check goes on");
  sbStatus.Text.Set("Checking the job ...");
  return true;
}

void frmRunnerMain::EndCheck(const std::vector<RunMonitor::Problem>& problems,
                             const std::string& sentence) {
  isChecking_ = false;
  if (Busy.Get()) return;  // a run has begun meanwhile, and says more
  CheckInputComplete();
  Monitor.Forget();
  for (const RunMonitor::Problem& problem : problems)
    Monitor.AddProblem(problem.place, problem.reason);
  sbStatus.Text.Set(sentence);
}

void frmRunnerMain::GoTo(const std::string& place) {
  const struct {
    const char* start;
    int page;
    Control& field;
  } fields[] = {{"package server", 0, txtDTSServer},   {"package", 0, cmbETLPackage},
                {"connection", 0, cmbETLPackage},      {"step", 0, cmbETLPackage},
                {"exception log", 0, txtDTSErrorFile}, {"log directory", 0, txtLogFilesDir},
                {"data warehouse", 1, txtDestServer},  {"table", 1, cmbDestDB},
                {"data link", 0, lstDataLinks},        {"job file", 0, cmbETLPackage}};
  for (const auto& [start, page, field] : fields) {
    if (!place.starts_with(start)) continue;
    tabDataInfo.Tab.Set(page);
    field.SetFocus();
    return;
  }
}

void frmRunnerMain::BrowseForServer(TextBox& box, const std::string& title) {
  const std::string server = BrowseForComputer(program_.platform.browser, title);
  if (!server.empty()) box.Text.Set(server);
}

void frmRunnerMain::cmdDTSServer_Click() {
  BrowseForServer(txtDTSServer, "Select your DTS Server...");
}

void frmRunnerMain::cmdDestServer_Click() {
  BrowseForServer(txtDestServer, "Select your DW Server...");
}

void frmRunnerMain::cmdDTSErrorFile_Click() {
  const std::string file = program_.platform.dialogs.SaveFile(
      {"Select the Error File...", "Text (*.txt)|*.txt", "txt", txtDTSErrorFile.Text.Get(), false});
  if (!file.empty()) txtDTSErrorFile.Text.Set(file);
}

void frmRunnerMain::cmdLogFilesDir_Click() {
  std::string start = txtLogFilesDir.Text.Get();
  std::string folder =
      BrowseForFolder(program_.platform.browser, start, "Select local Directory...");
  if (!folder.empty()) txtLogFilesDir.Text.Set(AddTrailingSeparator(folder));
}

void frmRunnerMain::txtDTSErrorFile_LostFocus() {
  const std::string file(Trimmed(txtDTSErrorFile.Text.Get()));
  if (!file.empty() && !IsFullPath(file))
    txtDTSErrorFile.Text.Set(program_.platform.files.TempDirectory() + file);
}

void frmRunnerMain::txtLogFilesDir_LostFocus() {
  std::string folder = txtLogFilesDir.Text.Get();
  if (!folder.empty()) txtLogFilesDir.Text.Set(AddTrailingSeparator(folder));
}

void frmRunnerMain::cmdShowErrorFile_Click() {
  if (!txtDTSErrorFile.Text.Get().empty()) OpenWith("NOTEPAD.EXE ", txtDTSErrorFile.Text.Get());
}

void frmRunnerMain::cmdShowPackageLog_Click() {
  const std::string directory = job_.LogFileDir, package = cmbETLPackage.Text.Get();
  if (directory.empty() || package.empty()) return;
  OpenWith("NOTEPAD.EXE ", directory + package + ".log");
}

void frmRunnerMain::imgEventLog_DblClick() {
  OpenWith("eventvwr.exe", "");
}

void frmRunnerMain::OpenWith(const std::string& program, const std::string& file) {
  const std::string line = program + (file.empty() ? "" : "\"" + file + "\"");
  if (program_.platform.processes.CreateProcessA(line) != 0) return;
  if (viewFile && !file.empty())
    viewFile(file);
  else
    ShowError(
        "Unable to start : " + line + "\r\nName a program for it in [programs] of the settings.",
        "Torv Error");
}

ServerLogon frmRunnerMain::PackageServerLogon() const {
  return {txtDTSServer.Text.Get(), optDTSSecureLogin.Value.Get(), txtDTSSQLUsername.Text.Get(),
          txtDTSSQLPassword.Text.Get()};
}

bool frmRunnerMain::RetrievePackages(ETLPackages& packages) {
  const ServerLogon logon = PackageServerLogon();
  packages.strSQLServer = logon.server;
  packages.blnSQLTrustedLogin = logon.isTrusted;
  packages.strSQLUser = logon.user;
  packages.strSQLPassword = logon.password;
  bool isRead = false;
  aside_.Do([&] { isRead = packages.RetrievePackages(); },
            [&] {
              if (!isRead)
                ShowError("Error while connecting to : " + logon.server +
                              "\r\nIts packages cannot be listed.",
                          "Connect to DTS Server");
            });
  return isRead && PackageServerLogon() == logon;
}

/// Filling a list empties its field; what stood there is chosen again, or stands there again.
template <typename Fill>
void frmRunnerMain::FillKeepingText(ComboBox& box, const Fill& fill) {
  const std::string text = box.Text.Get();
  isFilling_ = true;
  fill();
  Select(box, text);
  isFilling_ = false;
  FieldChanged();
}

void frmRunnerMain::cmbETLModel_DropDown() {
  ETLPackages packages(program_.platform.databases);
  if (!RetrievePackages(packages)) return;
  FillKeepingText(cmbETLModel, [&] { packages.FillComboBoxWithETLModels(cmbETLModel); });
}

void frmRunnerMain::cmbETLPackage_DropDown() {
  ETLPackages packages(program_.platform.databases);
  if (!RetrievePackages(packages)) return;
  FillKeepingText(cmbETLPackage, [&] {
    packages.FillComboBoxWithPackageFromETLModel(cmbETLPackage, cmbETLModel.Text.Get());
  });
}

void frmRunnerMain::cmbDestDB_DropDown() {
  const auto logon = [this] { return WarehouseLogon(); };
  ListedNames names(cmbDestDB.Text.Get());
  const NamesOfServer server{EtlSqlServer, logon, ListSQLDatabases, "Connect to Databases Server"};
  if (ListFromServer(aside_, program_.platform.databases, program_.platform.messages, server,
                     names))
    FillKeepingText(cmbDestDB, [&] { names.ShowIn(cmbDestDB); });
}

}  // namespace torvik
