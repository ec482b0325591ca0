// The main form's fields, the job that they stand for, and the job's file.

#include "config/FileUtils.h"
#include "datalinks/ETLPackages.h"
#include "platform/FileDialogs.h"
#include "platform/Messages.h"
#include "platform/PlatformError.h"
#include "startup/Program.h"
#include "ui/DropDownLists.h"
#include "ui/frmRunnerMain.h"

namespace torvik {
namespace {

constexpr const char* kJobFiles = "ETL Files (*.etl)|*.etl";
constexpr const char* kTitle = "Torv Error";

VariantBool Variant(bool value) {
  return value ? VariantTrue : VariantFalse;
}

}  // namespace

void frmRunnerMain::SetDefaults() {
  for (TextBox* server : {&txtDTSServer, &txtDestServer}) server->Text.Set("(local)");
  for (TextBox* user : {&txtDTSSQLUsername, &txtDestSQLUsername}) user->Text.Set("sa");
  for (TextBox* password : {&txtDTSSQLPassword, &txtDestSQLPassword}) password->Text.Set("");
}

void frmRunnerMain::LoadJobFile() {
  job_.TorvConfigFile = TorvConfigFile;
  HasJob.Set(true);
  savedFile_ = {};
  program_.platform.files.Status(TorvConfigFile, savedFile_);
  SetFormTitle("[" + FileNameOf(TorvConfigFile) + "]");
  if (!job_.ReadConfigFile(FileServices()))
    return ShowError("Error: Can't load Config file " + TorvConfigFile, kTitle);
  JobToForm();
  RememberSaved();
}

void frmRunnerMain::JobToForm() {
  isFilling_ = true;
  Select(cmbETLModel, ModelNameFromPackage(job_.DTSPackageName));
  Select(cmbETLPackage, job_.DTSPackageName);
  txtDTSServer.Text.Set(job_.DTSServer);
  optDTSSecureLogin.Value.Set(job_.DTSServerTrustedLogin != VariantFalse);
  txtDTSSQLUsername.Text.Set(job_.DTSLoginUserName);
  txtDTSSQLPassword.Text.Set(job_.DTSLoginPassword);
  txtDTSErrorFile.Text.Set(job_.ExceptionLogFile);
  cbTruncateErrorFile.Value.Set(job_.TruncateExceptionLogFile != VariantFalse);
  cbDefaultLogFilesDir.Value.Set(job_.UseDefaultLogFileDir != VariantFalse);
  txtLogFilesDir.Text.Set(job_.LogFileDir);
  cbWriteWinNTEvent.Value.Set(job_.WriteCompletionStatusToNT != VariantFalse);
  txtDestServer.Text.Set(job_.DWServer);
  optDestSecureLogin.Value.Set(job_.DWServerTrustedLogin != VariantFalse);
  txtDestSQLUsername.Text.Set(job_.DWServerLoginUserName);
  txtDestSQLPassword.Text.Set(job_.DWServerLoginPassword);
  Select(cmbDestDB, job_.DWDatabaseName);
  isFilling_ = false;
  if (cbDefaultLogFilesDir.Value.Get()) SetDefaultLogDirectory();
  FieldChanged();
}

ExecDTSPackage& frmRunnerMain::FormToJob() {
  if (TorvConfigFile.empty()) job_.Variables.clear();  // they were another job's
  job_.ExceptionLogFile = txtDTSErrorFile.Text.Get();
  job_.LogFileDir = txtLogFilesDir.Text.Get();
  job_.TruncateExceptionLogFile = Variant(cbTruncateErrorFile.Value.Get());
  job_.UseDefaultLogFileDir = Variant(cbDefaultLogFilesDir.Value.Get());
  job_.DTSServer = txtDTSServer.Text.Get();
  job_.DTSServerTrustedLogin = Variant(optDTSSecureLogin.Value.Get());
  job_.DTSLoginUserName = txtDTSSQLUsername.Text.Get();
  job_.DTSLoginPassword = txtDTSSQLPassword.Text.Get();
  job_.DTSPackageName = cmbETLPackage.Text.Get();
  job_.DWServer = txtDestServer.Text.Get();
  job_.DWServerTrustedLogin = Variant(optDestSecureLogin.Value.Get());
  job_.DWServerLoginUserName = txtDestSQLUsername.Text.Get();
  job_.DWServerLoginPassword = txtDestSQLPassword.Text.Get();
  job_.DWDatabaseName = cmbDestDB.Text.Get();
  job_.WriteCompletionStatusToNT = Variant(cbWriteWinNTEvent.Value.Get());
  return job_;
}

void frmRunnerMain::WatchFields() {
  const auto changed = [this](const auto&) { FieldChanged(); };
  for (TextBox* box : {&txtDTSServer, &txtDTSSQLUsername, &txtDTSSQLPassword, &txtDTSErrorFile,
                       &txtLogFilesDir, &txtDestServer, &txtDestSQLUsername, &txtDestSQLPassword})
    box->Text.Observe(changed);
  for (CheckBox* box : {&cbTruncateErrorFile, &cbDefaultLogFilesDir, &cbWriteWinNTEvent})
    box->Value.Observe(changed);
  for (OptionButton* option : {&optDTSSecureLogin, &optDestSecureLogin})
    option->Value.Observe(changed);
  for (ComboBox* box : {&cmbETLPackage, &cmbDestDB}) box->Text.Observe(changed);
  cbDefaultLogFilesDir.Value.Observe([this](bool ticked) {
    txtLogFilesDir.Enabled.Set(!ticked);
    cmdLogFilesDir.Enabled.Set(!ticked);
    if (ticked) SetDefaultLogDirectory();
  });
  cmbETLPackage.Text.Observe([this](const std::string&) {
    if (cbDefaultLogFilesDir.Value.Get()) SetDefaultLogDirectory();
  });
  for (DataLinkPanel* panel : Panels())
    panel->Changed.Observe([this, panel] {
      editedLinks_.insert(panel->ObjDataSource()->strName);
      RefreshLinkRows();
      FieldChanged();
    });
}

void frmRunnerMain::FieldChanged() {
  if (isFilling_ || !isOpen_) return;
  Modified.Set(!editedLinks_.empty() || FieldsAsText() != savedFields_);
  if (!Busy.Get()) CheckInputComplete();
}

void frmRunnerMain::SetDefaultLogDirectory() {
  txtLogFilesDir.Text.Set(program_.platform.files.TempDirectory() + "Torv\\" +
                          cmbETLPackage.Text.Get() + "\\");
}

std::string frmRunnerMain::FieldsAsText() const {
  std::string text;
  for (const std::string* value :
       {&cmbETLPackage.Text.Get(), &txtDTSServer.Text.Get(), &txtDTSSQLUsername.Text.Get(),
        &txtDTSSQLPassword.Text.Get(), &txtDTSErrorFile.Text.Get(), &txtLogFilesDir.Text.Get(),
        &txtDestServer.Text.Get(), &txtDestSQLUsername.Text.Get(), &txtDestSQLPassword.Text.Get(),
        &cmbDestDB.Text.Get()})
    text += *value + '\0';
  for (const bool value : {optDTSSecureLogin.Value.Get(), cbTruncateErrorFile.Value.Get(),
                           cbDefaultLogFilesDir.Value.Get(), cbWriteWinNTEvent.Value.Get(),
                           optDestSecureLogin.Value.Get()})
    text += value ? '1' : '0';
  return text;
}

void frmRunnerMain::RememberSaved() {
  savedFields_ = FieldsAsText();
  editedLinks_.clear();
  RefreshLinkRows();
  savedFile_ = {};
  Modified.Set(false);
  if (TorvConfigFile.empty()) return;
  program_.platform.files.Status(TorvConfigFile, savedFile_);
  JobFileUsed();
}

bool frmRunnerMain::MayLoseChanges() {
  if (!StartInConfigMode || !Modified.Get()) return true;
  const std::string name =
      TorvConfigFile.empty() ? "this job" : "\"" + FileNameOf(TorvConfigFile) + "\"";
  static constexpr const char* kChoices[] = {"Save", "Discard"};
  switch (
      program_.platform.messages.Ask("Save the changes to " + name + "?", "Torv", kChoices, 0)) {
    case 0: return TorvConfigFile.empty() ? SaveAs() : SaveJobFile(TorvConfigFile);
    case 1: return true;
    default: return false;
  }
}

/// Of one thing to do, which nobody does by the return key alone.
bool frmRunnerMain::Asks(const std::string& question, const char* choice) {
  const char* const choices[] = {choice};
  return program_.platform.messages.Ask(question, "Torv", choices, Messages::kNoChoice) == 0;
}

/// Somebody else may have changed the file since it was read or written here.
bool frmRunnerMain::MayOverwrite(const std::string& path) {
  FileStatus now;
  const bool isOther = path != TorvConfigFile || program_.platform.files.Status(path, now);
  if (isOther || now == savedFile_) return true;
  static constexpr const char* kChoices[] = {"Reload", "Save as...", "Replace"};
  switch (program_.platform.messages.Ask(
      path +
          " was changed by someone else since it was opened.\r\nReload discards the changes made "
          "here, Replace those of the other.",
      "Torv", kChoices, Messages::kNoChoice)) {
    case 0: ReadAgain(); return false;
    case 1: SaveAs(); return false;
    case 2: return true;
    default: return false;
  }
}

bool frmRunnerMain::SaveJobFile(const std::string& path) {
  if (!MayOverwrite(path) || !MayEmptyLogDirectory(path)) return false;
  TorvConfigFile = path;
  FormToJob().TorvConfigFile = path;
  if (!LoadDataLinksIfNone()) return false;
  std::error_code error;
  if (!job_.WriteConfigFile(FileServices(), error)) {
    if (error) program_.platform.messages.Report(path + ": " + error.message());
    ShowError("Error: Can't save Config file " + path, kTitle);
    return false;
  }
  SetFormTitle("[" + FileNameOf(path) + "]");
  RememberSaved();
  return true;
}

bool frmRunnerMain::SaveAs() {
  const std::string path = program_.platform.dialogs.SaveFile(
      {"Torv : Save Configuration", kJobFiles, "etl", TorvConfigFile});
  return !path.empty() && SaveJobFile(path);
}

void frmRunnerMain::cmdOpen_Click() {
  const std::string path = program_.platform.dialogs.OpenFile(
      {"Torv : Open Configuration", kJobFiles, "etl", TorvConfigFile});
  if (!path.empty()) OpenJobFile(path);
}

/// What is open stays when the file is none of a job.
void frmRunnerMain::OpenJobFile(const std::string& path) {
  if (Hourglass.Get() || !MayLoseChanges()) return;
  const Platform& platform = program_.platform;
  if (!platform.files.CheckReadable(path) && !HoldsJob(platform.profile, path))
    return ShowError("Error: Can't load Config file " + path +
                         "\r\nIt is no job file: it has none of a job's keys.",
                     kTitle);
  ForgetRun();
  TorvConfigFile = path;
  ReadAgain();
  JobOpened();
}

void frmRunnerMain::ReadAgain() {
  ReleaseLinks();
  LoadJobFile();
  CheckInputComplete();
  JobRead();
}

/// The last verdict and log are another job's.
void frmRunnerMain::ForgetRun() {
  Monitor.Forget();
  SetFormStatus("");
}

void frmRunnerMain::cmdSave_Click() {
  SaveAs();
}

void frmRunnerMain::mnuFileSave_Click() {
  if (TorvConfigFile.empty())
    SaveAs();
  else
    SaveJobFile(TorvConfigFile);
}

void frmRunnerMain::mnuFileNew_Click() {
  if (Hourglass.Get() || !MayLoseChanges()) return;
  ReleaseLinks();
  ForgetRun();
  TorvConfigFile.clear();
  static_cast<JobSettings&>(job_) = JobSettings();
  JobToForm();
  SetDefaults();
  SetFormTitle("[new]");
  HasJob.Set(true);
  RememberSaved();
  CheckInputComplete();
  JobOpened();
}

JobFileServices frmRunnerMain::FileServices() {
  Platform& platform = program_.platform;
  return {platform.profile, platform.files, platform.ansi, platform.clock, program_.dataLinks};
}

}  // namespace torvik
