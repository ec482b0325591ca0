#pragma once

#include <memory>
#include <string>
#include <vector>

#include "config/JobSettings.h"
#include "config/RunVariables.h"
#include "platform/RunHistory.h"

namespace torvik {

namespace dts {
class Package;
class PackageEvents;
class PackageHost;
struct StepOutline;
}  // namespace dts
class CopyQuorFiles;
class DataWarehouse;
class ErrLogging;
class LogForm;
class Messages;
class RunRecorder;
class Secrets;

/// What a job needs around it.
struct JobServices {
  dts::PackageHost& packages;
  DataWarehouse& dataWarehouse;
  CopyQuorFiles& remoteData;
  ErrLogging& errLogging;
  Messages& messages;
  RunRecorder& recorder;
  Secrets& secrets;
  const RunVariables& variables;  ///< Of the package's own, for this run, before the job's.
};

/// One job: its settings, and its package loaded and executed.
class ExecDTSPackage : public JobSettings {
 public:
  explicit ExecDTSPackage(const JobServices& services);
  ~ExecDTSPackage();

  /// Prepares the log directory and replaces the held package by a freshly loaded one. On failure
  /// LastError says that it cannot be loaded; why is reported beside the log.
  bool LoadPackage();
  /// Why the last load failed; empty when it did not.
  const std::string& LoadProblem() const { return loadProblem_; }
  /// The loaded package's version; empty without one.
  std::string PackageVersion() const;

  /// The loaded package's steps.
  std::vector<dts::StepOutline> Outline() const;
  /// Ends an execution that is under way; false when there is none.
  bool Cancel();

  /// The loaded package leaves out what it can of the steps that have succeeded in an earlier run,
  /// and the data that it fetched are not fetched again. Answers the steps' names. Throws
  /// PlatformError when that is not safe.
  std::vector<std::string> GoOnBehind(const RunRecord& run);

  /// Fetches the remote data of every data link of the package's model that asks for it, going on
  /// after a failure, and shows each in the form; true when all of it came and the run goes on.
  /// Throws PlatformError when the links cannot be read.
  bool HandleRemoteData(LogForm& form);

  /// The values of the loaded package's variables, the passwords left out, with nothing between
  /// them. Throws PlatformError when the package lacks one of them.
  std::string GetGlobalVariableValuesAsString() const;

  /// Hands the run's variables, those of the job file before them, and then the job's settings to
  /// the loaded package, executes it, gathers its logs, judges its steps and drops it; true when no
  /// step failed. LastError then has a line for each failed step. Throws what the package raises;
  /// it then stays held.
  bool ExecPackage(dts::PackageEvents& events);

 private:
  void LoadFromServer();
  bool IsFetched(const std::string& link);
  bool StepFailures();
  void DropPackage();

  JobServices services_;
  std::unique_ptr<dts::Package> package_;
  std::string loadProblem_;
  bool isExecuting_ = false;
  std::vector<FetchRecord> fetched_;  ///< By an earlier run.
};

}  // namespace torvik
