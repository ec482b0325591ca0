#include "startup/RunDriver.h"

#include <cstddef>
#include <ctime>
#include <exception>
#include <memory>

#include "package/ExecDTSPackage.h"
#include "platform/Clock.h"
#include "platform/CountText.h"
#include "platform/Dts.h"
#include "platform/Files.h"
#include "platform/Messages.h"
#include "platform/PlatformError.h"
#include "platform/Secrets.h"
#include "startup/ExitGuard.h"
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

/// For what must not keep the rest of an end from being done.
template <typename Action>
void Attempt(const Action& action) {
  try {
    action();
  } catch (const std::exception&) {
  }
}

bool HoldsPassword(const std::pair<std::string, std::string>& variable) {
  return IsPasswordName(variable.first) && !RefersToSecret(variable.second);
}

/// The form is busy as long as this lives.
class BusyForm {
 public:
  explicit BusyForm(MainForm& form) : form_(form) {
    Attempt([this] { form_.SetBusy(true); });
  }
  ~BusyForm() {
    Attempt([this] { form_.SetBusy(false); });
  }
  BusyForm(const BusyForm&) = delete;
  BusyForm& operator=(const BusyForm&) = delete;

 private:
  MainForm& form_;
};

}  // namespace

void RunDriver::Run() {
  if (form_.StartInConfigMode) return;
  if (!form_.CheckInputComplete()) return;
  if (Execute()) Attempt([this] { CopyLog(); });
  locks_.Release();
  form_.Close();
}

void RunDriver::ExecuteJob() {
  Execute();
  locks_.Release();
}

/// False when nothing was touched because another run stands in the way.
bool RunDriver::Execute() {
  const BusyForm busy(form_);
  // Given back when memory has run out, so that the end can be told.
  constexpr std::size_t kReserve = std::size_t{1} << 20;
  std::unique_ptr<char[]> reserve;
  hasVerdict_ = false;
  try {
    program_.statusFile.SetStatusFileName(form_.StatusFile);
    reserve = std::make_unique_for_overwrite<char[]>(kReserve);
    ExecDTSPackage& job = form_.FormToJob();
    form_.ShowVerdict(RunVerdict::None);
    if (!BeginsAlone(job)) return false;
    LoadAndExecute(job);
  } catch (const std::exception& error) {
    reserve.reset();
    Attempt([&] { EndUnexpectedly(WordsOf(error)); });
  }
  Attempt([this] { RecordWithoutVerdict(); });
  return true;
}

bool RunDriver::BeginsAlone(const ExecDTSPackage& job) {
  program_.log.BeginRun();
  std::string reason;
  program_.log.ShowOnly(true);
  try {
    if (locks_.Take({form_.TorvConfigFile, job.LogFileDir, form_.StatusFile})) {
      program_.log.ShowOnly(false);
      return true;
    }
    reason = locks_.Reason();
  } catch (const std::exception& error) {
    reason = WordsOf(error);
  }
  program_.log.ShowOnly(false);
  program_.platform.messages.Report(kNothingWasRun + reason);
  form_.ShowProblem("run", reason);
  if (locks_.OwnsStatusFile()) {
    Fail();
    Record(job);
    program_.recorder.Fails(kNothingWasRun + reason);
    program_.recorder.End(RunOutcome::Failure);
  }
  form_.ShowVerdict(RunVerdict::Failure);
  ShowBox("Nothing was run: " + reason, "Torv Error");
  return false;
}

void RunDriver::LoadAndExecute(ExecDTSPackage& job) {
  program_.statusFile.WriteStatusRunning();
  Record(job);
  const ExitGuard guard([this] { EndByExit(); });
  Log("Loading DTS Package : " + job.DTSPackageName);
  const bool loaded = job.LoadPackage();
  program_.recorder.SetVersion(job.PackageVersion());
  LogHeader(job);
  if (!loaded) return ReportLoadFailure(job);
  Log("Loaded DTS Package : " + job.DTSPackageName);
  form_.ShowPackage(job.Outline());
  if (!GoesOn(job)) return Fail();
  if (!DataLinksAreLoaded()) return;  // the status file stays at "running"
  if (!StoreLinksAndFetchRemoteData(job)) {
    ShowMissingData();
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
  program_.recorder.Fails(job.LoadProblem());
  form_.ShowProblem("package", job.LoadProblem());
  Fail();
  ShowBox(job.LastError(), "DTS Load Error");
}

/// Of a run that is to go on where another one ended; false when it cannot.
bool RunDriver::GoesOn(ExecDTSPackage& job) {
  if (program_.resumedRun == 0) return true;
  const std::string number = std::to_string(program_.resumedRun);
  try {
    const auto run = program_.platform.history.Run(program_.resumedRun);
    if (!run) throw PlatformError(0, "the history has no such run", "history");
    const std::vector<std::string> leftOut = job.GoOnBehind(*run);
    std::string line = "Going on where run " + number + " ended, without " +
                       Counted(static_cast<std::int64_t>(leftOut.size()), "step") +
                       " that it has done";
    for (const std::string& step : leftOut) line += (&step == &leftOut[0] ? ": " : ", ") + step;
    Log(line);
    return true;
  } catch (const PlatformError& error) {
    const std::string reason =
        kNothingWasRun + ("run " + number + " cannot be resumed: " + error.Description());
    Log("Error: " + reason);
    program_.recorder.Fails(reason);
    program_.platform.messages.Report(reason);
    form_.ShowProblem("run", reason);
    return false;
  }
}

bool RunDriver::DataLinksAreLoaded() {
  if (program_.dataWarehouse.HasBeenOpened()) return true;
  try {
    return form_.getDataLinkInfo();
  } catch (const PlatformError& error) {
    Log("Error: the data links cannot be loaded: " + error.Description());
    form_.ShowProblem("data links", error.Description());
    return false;
  }
}

bool RunDriver::StoreLinksAndFetchRemoteData(ExecDTSPackage& job) {
  try {
    if (!form_.TorvConfigFile.empty()) {
      program_.dataLinks.SaveAllDataLinks(program_.dataWarehouse.Connection());
    }
    return job.HandleRemoteData(form_);
  } catch (const std::exception& error) {
    Log("Error: the data links cannot be used: " + WordsOf(error));
    form_.ShowProblem("data links", WordsOf(error));
    return false;
  }
}

void RunDriver::ShowMissingData() {
  if (program_.remoteData.IsStopped()) form_.ShowProblem("run", "it was stopped by the operator");
  for (const FetchRecord& fetch : program_.recorder.Record().fetches)
    if (!fetch.isComplete) form_.ShowProblem("data link " + fetch.link, fetch.error);
}

void RunDriver::ExecutePackage(ExecDTSPackage& job) {
  RunProgress progress(form_, program_.log, program_.platform.messages, program_.recorder);
  std::string raised;
  try {
    const bool hasSucceeded = job.ExecPackage(progress);
    TellGatheringProblems();
    if (hasSucceeded) return Succeed(job);
  } catch (const std::exception& error) {
    if (hasVerdict_) throw;
    raised = WordsOf(error);
  }
  ReportExecuteFailure(job, raised);
}

void RunDriver::TellGatheringProblems() {
  for (const std::string& problem : program_.errLogging.Problems()) program_.log.Missing(problem);
}

/// "ok" promises the data; what of the log is missing has been told by then.
void RunDriver::Succeed(const ExecDTSPackage& job) {
  Log("Executed succesfully ...");
  if (const auto error = program_.platform.files.Sync(job.ExceptionLogFile);
      error && program_.log.Losses().empty())
    program_.log.Missing("cannot bring " + job.ExceptionLogFile + " to disk: " + error.message());
  program_.statusFile.WriteStatusOk();
  hasVerdict_ = true;
  program_.recorder.End(RunOutcome::Ok);
  form_.ShowVerdict(RunVerdict::Ok);
}

void RunDriver::ReportExecuteFailure(const ExecDTSPackage& job, const std::string& raised) {
  Log("Error: DTS Package Execute error");
  const std::string text = job.LastError().empty()
                               ? "Execution of DTS Package '" + job.DTSPackageName + "' failed."
                               : job.LastError();
  program_.recorder.Fails(raised.empty() ? text : raised);
  if (!raised.empty()) form_.ShowProblem("package", raised);
  Fail();
  if (form_.StartInConfigMode) {
    ShowBox(raised.empty() ? text : text + "\r\n" + raised, "DTS Exec Error");
    return;
  }
  Log(text);
  if (!raised.empty()) Log(raised);
}

/// Nothing of this may keep the rest from being done.
void RunDriver::EndUnexpectedly(const std::string& reason) {
  const std::string line = "Error: the run ended unexpectedly: " + reason;
  Attempt([&] { program_.recorder.Fails(line); });
  Attempt([&] { form_.ShowProblem("run", reason); });
  Attempt([&] { Log(line); });
  Attempt([&] { program_.platform.messages.Report(line); });
  Attempt([&] { Fail(); });
  Attempt([&] { ShowBox(line, "DTS Exec Error"); });
}

/// Only what can be done from any thread: the windows are left alone.
void RunDriver::EndByExit() {
  if (hasVerdict_) return;
  const char* const line = "Error: the run ended unexpectedly: a library has ended the process";
  Attempt([&] { program_.statusFile.WriteStatusFailure(); });
  Attempt([&] { program_.platform.messages.Report(line); });
  Attempt([&] {
    program_.recorder.Fails(line);
    program_.recorder.End(RunOutcome::Failure);
  });
}

void RunDriver::Fail() {
  if (hasVerdict_) return;
  program_.statusFile.WriteStatusFailure();
  hasVerdict_ = true;
  program_.recorder.Fails(program_.log.LastLine());
  program_.recorder.End(RunOutcome::Failure);
  form_.ShowVerdict(RunVerdict::Failure);
}

void RunDriver::Record(const ExecDTSPackage& job) {
  RunRecord run;
  run.job =
      form_.TorvConfigFile.empty() ? "" : program_.platform.files.FullPath(form_.TorvConfigFile);
  run.package = job.DTSPackageName;
  run.packageServer = job.DTSServer;
  run.logFile = job.ExceptionLogFile;
  run.isAttended = form_.StartInConfigMode;
  run.variables = program_.runVariables;
  std::erase_if(run.variables, HoldsPassword);  // the run refuses it
  program_.recorder.Begin(std::move(run));
}

/// A run that stays at "running" has not succeeded.
void RunDriver::RecordWithoutVerdict() {
  program_.recorder.Fails(program_.log.LastLine());
  program_.recorder.End(RunOutcome::Failure);
}

void RunDriver::CopyLog() {
  const std::string exceptionLog = form_.ErrorFile();
  if (form_.LogFile == exceptionLog || form_.LogFile.empty()) return;
  if (const auto error = program_.platform.files.Copy(exceptionLog, form_.LogFile))
    program_.log.Missing("cannot copy the exception log " + exceptionLog + " to " + form_.LogFile +
                         ": " + error.message());
}

void RunDriver::Log(const std::string& text) {
  program_.log.EchoToLog(text);
}

void RunDriver::ShowBox(const std::string& text, const std::string& title) {
  if (!form_.StartInConfigMode) return;
  program_.platform.messages.Box(text, title, BoxIcon::Critical);
}

}  // namespace torvik
