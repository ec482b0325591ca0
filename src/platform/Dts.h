#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

/// The package object model of SQL Server's Data Transformation Services: what a runner sees of a
/// package. Names and numbers are those of the published interface.
namespace torvik::dts {

enum class StepExecutionStatus : int { Waiting = 1, InProgress = 2, Inactive = 3, Completed = 4 };
enum class StepExecutionResult : int { Success = 0, Failure = 1 };

/// DTSSQLServerStorageFlags of LoadFromSQLServer and SaveToSQLServer.
enum class SqlServerStorageFlags : int { Default = 0, UseTrustedConnection = 0x100 };

/// Error numbers that the package object raises.
enum class Error : long {
  CyclicDependency = 1015,
  ExecutionCanceled = 1063,
  FailedOnStepError = 1064,
};

/// The value of a global variable.
using Variant = std::variant<std::string, bool, std::int64_t, double>;

/// A package's global variables, found by name (letter case does not matter). Several threads may
/// use them at once.
class GlobalVariables {
 public:
  virtual ~GlobalVariables() = default;

  /// Both throw PlatformError when the package has no variable of that name.
  virtual Variant Value(std::string_view name) const = 0;
  virtual void SetValue(std::string_view name, Variant value) = 0;
};

/// How another step must have ended before a step runs.
enum class Precedence { Success, Failure, Completion };

/// What a step is, for whoever shows a package.
struct StepOutline {
  struct Constraint {
    int step = 0;  ///< A position in the outline, from 0.
    Precedence on = Precedence::Success;
    bool operator==(const Constraint&) const = default;
  };
  std::string name;
  std::string task;  ///< "ExecuteSQL".
  std::string text;  ///< What it does: its SQL, what it moves where, the program it starts.
  bool isDisabled = false;
  std::vector<Constraint> after;
  bool operator==(const StepOutline&) const = default;
};

/// One step, as it stands after the last execution.
class Step {
 public:
  virtual ~Step() = default;

  virtual const std::string& Name() const = 0;
  virtual StepExecutionStatus ExecutionStatus() const = 0;
  virtual StepExecutionResult ExecutionResult() const = 0;
};

/// Is told how an execution goes, always on the thread that called Execute.
class PackageEvents {
 public:
  virtual ~PackageEvents() = default;

  virtual void OnStart(std::string_view step) = 0;
  /// Rows done so far, at most every 100 ms.
  virtual void OnProgress(std::string_view step, std::int64_t rows) = 0;
  /// Files that a step has fetched and bytes so far, as often.
  virtual void OnFetched(std::string_view /*step*/, std::int64_t /*files*/,
                         std::int64_t /*bytes*/) {}
  virtual void OnFinish(std::string_view step) = 0;
  /// Before OnFinish: what the step's last attempt has come to. Rows that were left out without
  /// failing it are rejected ones.
  virtual void OnFigures(std::string_view, std::int64_t /*rows*/, std::int64_t /*rejectedRows*/) {}
  /// An attempt has failed with these words, and another one follows.
  virtual void OnRetry(std::string_view /*step*/, std::string_view /*description*/) {}
  /// A step will not run; one that has begun was not to run after all.
  virtual void OnNotRun(std::string_view /*step*/) {}
  /// An error's own words: of a step, or of the package (empty `step`).
  virtual void OnError(std::string_view step, std::string_view description) = 0;
  /// What of the package's own log is missing, and why; the execution goes on.
  virtual void OnLogTrouble(std::string_view description) = 0;
  /// Called every 10 ms while a step runs, so that pending events can be handled.
  virtual void OnIdle() = 0;
};

/// A package: loaded, given its variables, executed, and asked how its steps went.
class Package {
 public:
  virtual ~Package() = default;

  /// Loads the package's latest version (or the one of `versionGuid`) from the server that stores
  /// it. With UseTrustedConnection user and password are not used. Throws PlatformError, whose text
  /// names the document's line and column where the document is at fault.
  virtual void LoadFromSQLServer(const std::string& serverName, const std::string& serverUserName,
                                 const std::string& serverPassword, SqlServerStorageFlags flags,
                                 const std::string& packagePassword, const std::string& packageGuid,
                                 const std::string& versionGuid, const std::string& packageName,
                                 const std::string& hostStorage) = 0;

  virtual const std::string& Name() const = 0;
  /// The GUID of the version that is loaded.
  virtual const std::string& VersionID() const = 0;

  /// The loaded package's steps in the order of its document.
  virtual std::vector<StepOutline> Outline() const = 0;

  virtual dts::GlobalVariables& GlobalVariables() = 0;

  /// The next execution leaves out, of the steps named, those that it can: they count as completed
  /// with success. Answers their names. Throws PlatformError, and nothing is left out, when a step
  /// can be neither left out nor run again.
  virtual std::vector<std::string> GoOnBehind(const std::vector<std::string>& succeeded) = 0;

  /// Runs every step whose constraints come to hold and returns when none is left. Throws
  /// PlatformError when a step fails that the package lets fail the package, when the package's
  /// transaction cannot be committed or is lost with the work of earlier steps, or when the package
  /// is not loaded; a failed step alone does not throw.
  virtual void Execute(PackageEvents& events) = 0;

  /// Ends an execution as a time-out ends each of its steps: what runs is cancelled, and nothing
  /// else starts. Execute then throws. May be called while events are told; without an execution it
  /// does nothing.
  virtual void Cancel() = 0;

  virtual int StepCount() const = 0;
  /// The step at `position`, from 1 to StepCount().
  virtual const dts::Step& Step(int position) const = 0;

  /// Closes what the package holds open. The package can be loaded again.
  virtual void UnInitialize() = 0;
};

/// Makes packages.
class PackageHost {
 public:
  virtual ~PackageHost() = default;
  virtual std::unique_ptr<Package> NewPackage() = 0;
};

}  // namespace torvik::dts
