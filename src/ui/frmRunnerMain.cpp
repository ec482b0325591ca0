#include "ui/frmRunnerMain.h"

#include "config/FileUtils.h"
#include "datalinks/ETLPackages.h"
#include "platform/Files.h"
#include "platform/Messages.h"
#include "platform/PlatformError.h"
#include "startup/HandOffFile.h"
#include "startup/Program.h"

namespace torvik {
namespace {

bool IsEmpty(const TextBox& box) {
  return box.Text.Get().empty();
}
bool IsEmpty(const ComboBox& box) {
  return box.Text.Get().empty();
}

VariantBool Variant(bool value) {
  return value ? VariantTrue : VariantFalse;
}

/// Choosing one option of a pair takes back the other, and opens or closes the logon fields.
void PairLogonOptions(OptionButton& secure, OptionButton& sql, TextBox& user, TextBox& password) {
  secure.Value.Observe([&](bool chosen) {
    sql.Value.Set(!chosen);
    user.Enabled.Set(!chosen);
    password.Enabled.Set(!chosen);
  });
  sql.Value.Observe([&](bool chosen) { secure.Value.Set(!chosen); });
  sql.Value.Set(true);
}

}  // namespace

frmRunnerMain::frmRunnerMain(Program& program)
    : program_(program),
      job_({program.platform.packages, program.dataWarehouse, program.remoteData,
            program.errLogging, program.platform.messages}),
      driver_(program, *this) {
  PairLogonOptions(optDTSSecureLogin, optDTSSQLLogin, txtDTSSQLUsername, txtDTSSQLPassword);
  PairLogonOptions(optDestSecureLogin, optDestSQLLogin, txtDestSQLUsername, txtDestSQLPassword);
  cbDefaultLogFilesDir.Value.Observe([this](bool ticked) {
    if (ticked) UseDefaultLogDirectory();
  });
  cmdSave.Caption.Set("&Save...");
  SetStartInQXJobConfigMode(false);
}

void frmRunnerMain::SetStartInQXJobConfigMode(bool on) {
  startInQXJobConfigMode_ = on;
  cmdExecute.Caption.Set(on ? "Exit" : "E&xecute");
  cmdClose.Caption.Set(on ? "Cancel" : "Close");
}

void frmRunnerMain::Show() {
  isOpen_ = true;
  if (TorvConfigFile.empty()) {
    SetDefaults();
  } else {
    LoadJobFile();
  }
  CheckInputComplete();
}

void frmRunnerMain::SetDefaults() {
  for (TextBox* server : {&txtDTSServer, &txtDestServer}) server->Text.Set("(local)");
  for (TextBox* user : {&txtDTSSQLUsername, &txtDestSQLUsername}) user->Text.Set("sa");
  for (TextBox* password : {&txtDTSSQLPassword, &txtDestSQLPassword}) password->Text.Set("");
}

void frmRunnerMain::LoadJobFile() {
  job_.TorvConfigFile = TorvConfigFile;
  if (!job_.ReadConfigFile(FileServices())) {
    program_.platform.messages.Box("Error: Can't load Config file " + TorvConfigFile, "Torv Error",
                                   BoxIcon::Critical);
    return;
  }
  JobToForm();
  SetFormTitle("[" + FileNameOf(TorvConfigFile) + "]");
}

void frmRunnerMain::JobToForm() {
  cmbETLModel.Text.Set(ModelNameFromPackage(job_.DTSPackageName));
  cmbETLPackage.Text.Set(job_.DTSPackageName);
  txtDTSServer.Text.Set(job_.DTSServer);
  optDTSSecureLogin.Value.Set(job_.DTSServerTrustedLogin != VariantFalse);
  txtDTSSQLUsername.Text.Set(job_.DTSLoginUserName);
  txtDTSSQLPassword.Text.Set(job_.DTSLoginPassword);
  txtDTSErrorFile.Text.Set(job_.ExceptionLogFile);
  cbTruncateErrorFile.Value.Set(job_.TruncateExceptionLogFile != VariantFalse);
  txtLogFilesDir.Text.Set(job_.LogFileDir);
  cbDefaultLogFilesDir.Value.Set(job_.UseDefaultLogFileDir != VariantFalse);
  cbWriteWinNTEvent.Value.Set(job_.WriteCompletionStatusToNT != VariantFalse);
  txtDestServer.Text.Set(job_.DWServer);
  optDestSecureLogin.Value.Set(job_.DWServerTrustedLogin != VariantFalse);
  txtDestSQLUsername.Text.Set(job_.DWServerLoginUserName);
  txtDestSQLPassword.Text.Set(job_.DWServerLoginPassword);
  cmbDestDB.Text.Set(job_.DWDatabaseName);
}

ExecDTSPackage& frmRunnerMain::FormToJob() {
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

void frmRunnerMain::UseDefaultLogDirectory() {
  txtLogFilesDir.Text.Set(program_.platform.files.TempDirectory() + "Torv\\" +
                          cmbETLPackage.Text.Get() + "\\");
}

bool frmRunnerMain::CheckInputComplete() {
  const bool isDTSInfoComplete =
      !IsEmpty(cmbETLPackage) && !IsEmpty(txtDTSServer) && !IsEmpty(txtDTSErrorFile);
  const bool isDWInfoComplete = !IsEmpty(txtDestServer) && !IsEmpty(cmbDestDB);
  cmdExecute.Enabled.Set(isDTSInfoComplete && isDWInfoComplete);
  cmdSave.Enabled.Set(isDTSInfoComplete && isDWInfoComplete);
  return cmdExecute.Enabled.Get();
}

bool frmRunnerMain::getDataLinkInfo() {
  std::string errorText;
  const ServerLogon logon{txtDestServer.Text.Get(), optDestSecureLogin.Value.Get(),
                          txtDestSQLUsername.Text.Get(), txtDestSQLPassword.Text.Get()};
  DataWarehouse& warehouse = program_.dataWarehouse;
  if (!warehouse.ConnectDataWarehouse(logon, cmbDestDB.Text.Get(), errorText)) {
    if (StartInConfigMode) {
      program_.platform.messages.Box(errorText, "Connect to Datawarehouse server",
                                     BoxIcon::Critical);
    } else {
      program_.log.EchoToLog(errorText);
    }
    return false;
  }
  std::vector<std::string> names = lstDataLinks.List.Get();
  const bool isLoaded =
      program_.dataLinks.LoadDataLinks(warehouse.Connection(), cmbETLPackage.Text.Get(), names);
  lstDataLinks.List.Set(names);
  if (isLoaded && !TorvConfigFile.empty()) program_.dataLinks.ReadDataLinkSections(TorvConfigFile);
  return true;
}

void frmRunnerMain::SetBusy(bool busy) {
  Busy.Set(busy);
  cmdExecute.Enabled.Set(!busy);
  cmdSave.Enabled.Set(!busy);
}

void frmRunnerMain::SetFormStatus(const std::string& text) {
  sbStatus.Text.Set(text);
  program_.platform.messages.PumpEvents();
}

void frmRunnerMain::SetFormTitle(const std::string& text) {
  Caption.Set("Torv : " + text);
}

bool frmRunnerMain::SaveJobFile() {
  FormToJob().TorvConfigFile = TorvConfigFile;
  try {
    if (!getDataLinkInfo()) return false;
  } catch (const PlatformError& error) {
    program_.platform.messages.Box(error.Description(), "Torv Error", BoxIcon::Critical);
    return false;
  }
  if (!job_.WriteConfigFile(FileServices())) {
    program_.platform.messages.Box("Error: Can't save Config file " + TorvConfigFile, "Torv Error",
                                   BoxIcon::Critical);
    return false;
  }
  SetFormTitle("[" + FileNameOf(TorvConfigFile) + "]");
  return true;
}

void frmRunnerMain::FinishSchedulerConfiguration() {
  Messages& messages = program_.platform.messages;
  if (TorvConfigFile.empty()) {
    messages.Box(
        "You did not save your current settings to an Torvik config file.\r\n"
        "Settings must be saved, because Torvik will read this info when \r\n"
        "the Job is executed.",
        "QXJob Config mode", BoxIcon::Critical);
    return;
  }
  if (!SaveJobFile()) return;
  WriteHandOffFile(program_.platform.files, messages, QXJobConfigFile, HandOffLine(TorvConfigFile));
  Close();
}

void frmRunnerMain::cmdClose_Click() {
  if (Busy.Get()) {
    program_.log.EchoToLog("Waiting for end of execution");
    program_.remoteData.CancelPolling();
    return;
  }
  if (startInQXJobConfigMode_) {
    WriteHandOffFile(program_.platform.files, program_.platform.messages, QXJobConfigFile,
                     kHandOffCanceled);
  }
  Close();
}

JobFileServices frmRunnerMain::FileServices() {
  Platform& platform = program_.platform;
  return {platform.profile, platform.files, platform.ansi, platform.clock, program_.dataLinks};
}

}  // namespace torvik
