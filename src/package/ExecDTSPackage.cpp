#include "package/ExecDTSPackage.h"

#include <algorithm>

#include "config/JobVariables.h"
#include "datalinks/DataWarehouse.h"
#include "datalinks/ETLPackages.h"
#include "datalinks/cDataSources.h"
#include "history/RunRecorder.h"
#include "log/FetchStatus.h"
#include "log/LogForm.h"
#include "package/ErrLogging.h"
#include "platform/Dts.h"
#include "platform/Messages.h"
#include "platform/PlatformError.h"
#include "transfer/CopyQuorFiles.h"

namespace torvik {

ExecDTSPackage::ExecDTSPackage(const JobServices& services) : services_(services) {}

ExecDTSPackage::~ExecDTSPackage() = default;

bool ExecDTSPackage::LoadPackage() {
  DropPackage();
  loadProblem_.clear();
  package_ = services_.packages.NewPackage();
  std::string reason = services_.errLogging.PrepareLogDirectory(
      DTSPackageName, LogFileDir, ExceptionLogFile, TruncateExceptionLogFile != VariantFalse);
  try {
    if (reason.empty()) {
      LoadFromServer();
      return true;
    }
  } catch (const std::exception& error) {
    reason = WordsOf(error);
  }
  lastError_ = "Can not load DTS Package from SQL Server : " + DTSPackageName;
  loadProblem_ = lastError_ + ": " + reason;
  services_.messages.Report(loadProblem_);
  return false;
}

std::string ExecDTSPackage::PackageVersion() const {
  return package_ && loadProblem_.empty() ? package_->VersionID() : "";
}

void ExecDTSPackage::LoadFromServer() {
  const bool trusted = DTSServerTrustedLogin == VariantTrue;
  const std::string none;
  package_->LoadFromSQLServer(DTSServer, trusted ? none : DTSLoginUserName,
                              trusted ? none : DTSLoginPassword,
                              trusted ? dts::SqlServerStorageFlags::UseTrustedConnection
                                      : dts::SqlServerStorageFlags::Default,
                              none, none, none, DTSPackageName, none);
}

std::vector<dts::StepOutline> ExecDTSPackage::Outline() const {
  return package_ ? package_->Outline() : std::vector<dts::StepOutline>();
}

bool ExecDTSPackage::Cancel() {
  if (isExecuting_) package_->Cancel();
  return isExecuting_;
}

std::vector<std::string> ExecDTSPackage::GoOnBehind(const RunRecord& run) {
  if (run.versionGuid != PackageVersion())
    throw PlatformError(0, "the package has another version now; run the job anew", "job");
  std::vector<std::string> succeeded;
  for (const StepRecord& step : run.steps) {
    std::erase(succeeded, step.step);  // the last of its executions counts
    if (step.outcome == StepOutcome::Ok) succeeded.push_back(step.step);
  }
  const std::vector<std::string> leftOut = package_->GoOnBehind(succeeded);
  for (const StepRecord& step : run.steps)
    if (step.outcome == StepOutcome::Ok && std::ranges::count(leftOut, step.step) > 0)
      services_.recorder.Carry(step);
  for (const FetchRecord& fetch : run.fetches)
    if (fetch.isComplete) fetched_.push_back(fetch);
  return leftOut;
}

/// True, and noted in the record, for a data link whose data an earlier run has fetched.
bool ExecDTSPackage::IsFetched(const std::string& link) {
  const auto found = std::ranges::find(fetched_, link, &FetchRecord::link);
  if (found != fetched_.end()) services_.recorder.Carry(*found);
  return found != fetched_.end();
}

bool ExecDTSPackage::HandleRemoteData(LogForm& form) {
  lastError_.clear();
  cDataSources links;
  links.Load(services_.dataWarehouse.Connection(), ModelNameFromPackage(DTSPackageName));
  bool complete = true;
  for (const auto& link : links) {
    const bool byFtp = link->intTransferData == TransferFtp;
    if (!byFtp && link->intTransferData != TransferShare) continue;
    if (IsFetched(link->strName)) continue;
    const RemoteLogon logon =
        byFtp ? RemoteLogon{link->strFTPServer, link->strFTPUser, link->strFTPPassword}
              : RemoteLogon{};
    services_.recorder.FetchBegins(link->strName);
    FetchStatus status{link->strName, RemotePlace(link->strRemoteDir, logon), link->strDSDirectory};
    form.ShowFetch(status);
    const bool hasCome =
        services_.remoteData.PollForRemoteData(link->strRemoteDir, link->strDSDirectory,
                                               link->intPollInterval, link->intPollDuration, logon);
    if (!hasCome) status.error = services_.remoteData.WhyNot();
    status.state = hasCome ? StepState::Done : StepState::Failed;
    services_.recorder.FetchEnds(hasCome, status.error);
    form.ShowFetch(status);
    complete &= hasCome;
  }
  return complete && !services_.remoteData.IsStopped();
}

std::string ExecDTSPackage::GetGlobalVariableValuesAsString() const {
  if (!package_) throw PlatformError(0, "no package is loaded", "job");
  return JobVariablesAsString(package_->GlobalVariables());
}

bool ExecDTSPackage::ExecPackage(dts::PackageEvents& events) {
  lastError_.clear();
  if (!package_) {
    lastError_ = "Internal error : no Package loaded.";
    return false;
  }
  dts::GlobalVariables& variables = package_->GlobalVariables();
  SetRunVariables(Variables, TorvConfigFile + ", section [Variables]", services_.secrets,
                  variables);
  SetRunVariables(services_.variables, "--var", services_.secrets, variables);
  SetJobVariables(*this, variables);
  isExecuting_ = true;
  try {
    package_->Execute(events);
  } catch (...) {
    isExecuting_ = false;
    throw;
  }
  isExecuting_ = false;
  services_.errLogging.CollectRunLogs();
  const bool succeeded = StepFailures();
  DropPackage();
  return succeeded;
}

bool ExecDTSPackage::StepFailures() {
  bool none = true;
  const int count = package_->StepCount();
  for (int i = 1; i <= count; ++i) {
    const dts::Step& step = package_->Step(i);
    if (step.ExecutionStatus() != dts::StepExecutionStatus::Completed) continue;
    if (step.ExecutionResult() != dts::StepExecutionResult::Failure) continue;
    none = false;
    lastError_ += step.Name() + " in '" + package_->Name() + "' failed.\r\n";
  }
  return none;
}

void ExecDTSPackage::DropPackage() {
  if (!package_) return;
  package_->UnInitialize();
  package_.reset();
}

}  // namespace torvik
