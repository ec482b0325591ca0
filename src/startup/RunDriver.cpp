#include "startup/RunDriver.h"

#include <ctime>

#include "package/ExecDTSPackage.h"
#include "platform/Clock.h"
#include "platform/Files.h"
#include "platform/Messages.h"
#include "platform/PlatformError.h"
#include "startup/Program.h"
#include "startup/RunProgress.h"

namespace torvik {
namespace {

/// "Monday, Jan 8 2001", in the words of the locale.
std::string LongDate(const std::tm& day) {
  char words[64];
  const std::size_t length = std::strftime(words, sizeof words, "%A, %b ", &day);
  return std::string(words, length) + std::to_string(day.tm_mday) + " " +
         std::to_string(day.tm_year + 1900);
}

std::string HeaderLine(std::string label, const std::string& value) {
  label.resize(24, ' ');
  return label + ": " + value;
}

/// The form is busy as long as this lives.
class BusyForm {
 public:
  explicit BusyForm(MainForm& form) : form_(form) { form_.SetBusy(true); }
  ~BusyForm() { form_.SetBusy(false); }
  BusyForm(const BusyForm&) = delete;
  BusyForm& operator=(const BusyForm&) = delete;

 private:
  MainForm& form_;
};

}  // namespace

void RunDriver::Run() {
  if (form_.StartInConfigMode) return;
  if (!form_.CheckInputComplete()) return;
  ExecuteJob();
  const std::string exceptionLog = form_.ErrorFile();
  if (form_.LogFile != exceptionLog && !form_.LogFile.empty()) {
    if (const auto error = program_.platform.files.Copy(exceptionLog, form_.LogFile)) {
      program_.platform.messages.Report("cannot copy the exception log " + exceptionLog + " to " +
                                        form_.LogFile + ": " + error.message());
    }
  }
  form_.Close();
}

void RunDriver::ExecuteJob() {
  const BusyForm busy(form_);
  LoadAndExecute();
}

void RunDriver::LoadAndExecute() {
  program_.statusFile.SetStatusFileName(form_.StatusFile);
  ExecDTSPackage& job = form_.FormToJob();
  form_.ShowVerdict(RunVerdict::None);
  program_.statusFile.WriteStatusRunning();
  Log("Loading DTS Package : " + job.DTSPackageName);
  const bool loaded = job.LoadPackage();
  LogHeader(job);
  if (!loaded) return ReportLoadFailure(job);
  Log("Loaded DTS Package : " + job.DTSPackageName);
  if (!DataLinksAreLoaded()) return;  // the status file stays at "running"
  if (!StoreLinksAndFetchRemoteData(job)) {
    Fail();
    return;
  }
  Log("Executing DTS Package : " + job.DTSPackageName);
  ExecutePackage(job);
}

void RunDriver::LogHeader(const ExecDTSPackage& job) {
  Log("Torvik, the job runner of the data warehouse");
  Log("Run at : " + LongDate(program_.platform.clock.LocalTime()));
  Log(HeaderLine("DTS Server info", job.DTSServer));
  Log(HeaderLine("DTS Package name", job.DTSPackageName));
  Log(HeaderLine("Data Warehouse server", job.DWServer));
  Log(HeaderLine("Data Warehouse database", job.DWDatabaseName));
  if (!form_.TorvConfigFile.empty()) Log(HeaderLine("Torv Config file", form_.TorvConfigFile));
}

void RunDriver::ReportLoadFailure(const ExecDTSPackage& job) {
  Log("Error: DTS Package loading error");
  Fail();
  ShowBox(job.LastError(), "DTS Load Error");
}

bool RunDriver::DataLinksAreLoaded() {
  if (program_.dataWarehouse.HasBeenOpened()) return true;
  try {
    return form_.getDataLinkInfo();
  } catch (const PlatformError& error) {
    Log("Error: the data links cannot be loaded: " + error.Description());
    return false;
  }
}

bool RunDriver::StoreLinksAndFetchRemoteData(ExecDTSPackage& job) {
  try {
    if (!form_.TorvConfigFile.empty()) {
      program_.dataLinks.SaveAllDataLinks(program_.dataWarehouse.Connection());
    }
    return job.HandleRemoteData();
  } catch (const PlatformError& error) {
    Log("Error: the data links cannot be used: " + error.Description());
    return false;
  }
}

void RunDriver::ExecutePackage(ExecDTSPackage& job) {
  RunProgress progress(form_, program_.platform.messages);
  std::string raised;
  try {
    if (job.ExecPackage(progress)) {
      Log("Executed succesfully ...");
      program_.platform.files.Sync(job.ExceptionLogFile);
      program_.statusFile.WriteStatusOk();
      form_.ShowVerdict(RunVerdict::Ok);
      return;
    }
  } catch (const PlatformError& error) {
    raised = error.Description();
  }
  ReportExecuteFailure(job, raised);
}

void RunDriver::ReportExecuteFailure(const ExecDTSPackage& job, const std::string& raised) {
  Log("Error: DTS Package Execute error");
  Fail();
  const std::string text = job.LastError().empty()
                               ? "Execution of DTS Package '" + job.DTSPackageName + "' failed."
                               : job.LastError();
  if (form_.StartInConfigMode) {
    ShowBox(raised.empty() ? text : text + "\r\n" + raised, "DTS Exec Error");
    return;
  }
  Log(text);
  if (!raised.empty()) Log(raised);
}

void RunDriver::Fail() {
  program_.statusFile.WriteStatusFailure();
  form_.ShowVerdict(RunVerdict::Failure);
}

void RunDriver::Log(const std::string& text) {
  program_.log.EchoToLog(text);
}

void RunDriver::ShowBox(const std::string& text, const std::string& title) {
  if (!form_.StartInConfigMode) return;
  program_.platform.messages.Box(text, title, BoxIcon::Critical);
}

}  // namespace torvik
