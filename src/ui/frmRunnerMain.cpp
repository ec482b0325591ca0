#include "ui/frmRunnerMain.h"

#include "platform/CodePage.h"
#include "platform/Messages.h"
#include "startup/Program.h"
#include "ui/LogonOptions.h"

namespace torvik {

frmRunnerMain::frmRunnerMain(Program& program)
    : ctDLlFlatFileOBJ({program.platform.browser, program.platform.dialogs,
                        program.platform.databases, program.platform.messages, ftp_,
                        program.platform.files, aside_}),
      ctDLSQLServerOBJ(ctDLlFlatFileOBJ.Services()),
      ctlDLAccesFilesOBJ(ctDLlFlatFileOBJ.Services()),
      ctlDLExcelFilesOBJ(ctDLlFlatFileOBJ.Services()),
      ctlDLOrcaleServerOBJ(ctDLlFlatFileOBJ.Services()),
      Monitor(program.platform.clock),
      History(program.platform.history),
      program_(program),
      job_({program.platform.packages, program.dataWarehouse, program.remoteData,
            program.errLogging, program.platform.messages, program.recorder,
            program.platform.secrets, program.runVariables}),
      driver_(program, *this),
      settings_(program.platform.registry, program.platform.ansi),
      ftp_(program.log, {program.platform.internet,
                         program.platform.shell,
                         program.platform.files,
                         program.platform.messages,
                         {}}),
      aside_(program.platform.messages, Hourglass),
      outlineLoader_(program.platform.packages),
      linkLoader_(program.platform.databases) {
  settings_.SetCompany("Quor");
  settings_.SetAppName("Torvik");
  PairLogonOptions(
      optDTSSecureLogin, optDTSSQLLogin,
      {&lblDTSSQLUsername, &lblDTSSQLPassword, &txtDTSSQLUsername, &txtDTSSQLPassword});
  PairLogonOptions(
      optDestSecureLogin, optDestSQLLogin,
      {&lblDestSQLUsername, &lblDestSQLPassword, &txtDestSQLUsername, &txtDestSQLPassword});
  cmdOpen.Caption.Set("&Open...");
  cmdSave.Caption.Set("&Save...");
  cmdStop.Caption.Set("S&top");
  cmdCheck.Caption.Set("Chec&k");
  cmdStop.EnableUnless("No job is running");
  cmdLoadDataLinks.Caption.Set("&Load");
  SetStartInQXJobConfigMode(false);
  WatchFields();
}

void frmRunnerMain::SetStartInQXJobConfigMode(bool on) {
  startInQXJobConfigMode_ = on;
  cmdExecute.Caption.Set(on ? "Exit" : "E&xecute");
  cmdClose.Caption.Set(on ? "Cancel" : "Close");
}

void frmRunnerMain::Show() {
  isOpen_ = true;
  HasCloseEntry.Set(false);  // closing is the Close button's business
  lblUsedLogfileDir.Caption.Set(program_.platform.files.TempDirectory() + "Torv\\");
  if (TorvConfigFile.empty()) {
    SetFormTitle("[new]");
    SetDefaults();
    RememberSaved();
  } else {
    LoadJobFile();
  }
  HasJob.Set(!TorvConfigFile.empty() || !StartInConfigMode || startInQXJobConfigMode_);
  CheckInputComplete();
  if (!TorvConfigFile.empty()) JobRead();
}

void frmRunnerMain::Close() {
  isOpen_ = false;
  DropListing();
  Closed();
}

bool frmRunnerMain::CheckInputComplete() {
  const auto isFilled = [](auto& box) {
    const bool isEmpty = box.Text.Get().empty();
    box.Missing.Set(isEmpty);
    return !isEmpty;
  };
  const bool hasPackage = isFilled(cmbETLPackage), hasServer = isFilled(txtDTSServer),
             hasErrorFile = isFilled(txtDTSErrorFile), hasWarehouse = isFilled(txtDestServer),
             hasDatabase = isFilled(cmbDestDB);
  PackagePageComplete.Set(hasPackage && hasServer && hasErrorFile);
  WarehousePageComplete.Set(hasWarehouse && hasDatabase);
  EnableCommands();
  return PackagePageComplete.Get() && WarehousePageComplete.Get();
}

/// By what is filled in, and each that is not enabled says why.
void frmRunnerMain::EnableCommands() {
  const auto lacking = [](std::initializer_list<std::pair<const Control*, const char*>> fields) {
    std::string names;
    for (const auto& [field, name] : fields)
      if (field->Missing.Get()) names += (names.empty() ? "Fill in: " : ", ") + std::string(name);
    return names;
  };
  const std::string why = lacking({{&cmbETLPackage, "package"},
                                   {&txtDTSServer, "DTS server"},
                                   {&txtDTSErrorFile, "error file"},
                                   {&txtDestServer, "data warehouse's server"},
                                   {&cmbDestDB, "data warehouse's database"}});
  cmdExecute.EnableUnless(why);
  cmdSave.EnableUnless(why);
  cmdCheck.EnableUnless(why.empty() && isChecking_ ? "A check goes on" : why);
  cmdLoadDataLinks.EnableUnless(lacking({{&cmbETLPackage, "package"},
                                         {&txtDestServer, "data warehouse's server"},
                                         {&cmbDestDB, "data warehouse's database"}}));
}

void frmRunnerMain::SetBusy(bool busy) {
  if (busy) Monitor.Begin();
  cmdStop.EnableUnless(busy ? "" : "No job is running");
  Busy.Set(busy);
  Hourglass.Set(busy);
  for (CommandButton* command : {&cmdOpen, &cmdSave, &cmdExecute, &cmdCheck})
    command->EnableUnless(busy ? "A job is running" : "");
  if (busy) return;
  EnableCommands();
  Monitor.End();
  if (StartInConfigMode) ReadHistory();  // nobody looks at an unattended run's
}

void frmRunnerMain::SetFormStatus(const std::string& text) {
  sbStatus.Text.Set(text);
  program_.platform.messages.PumpEvents();
}

void frmRunnerMain::ShowLogLine(const std::string& line) {
  Monitor.AddLine(line);
  SetFormStatus(line);
}

std::string frmRunnerMain::TextOf(const std::string& bytes) const {
  return program_.platform.ansi.Decode(bytes);
}

void frmRunnerMain::SetFormTitle(const std::string& text) {
  Caption.Set("Torv : " + text);
}

void frmRunnerMain::ShowError(const std::string& text, const std::string& title) {
  program_.platform.messages.Box(text, title, BoxIcon::Critical);
}

}  // namespace torvik
