#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/model/TomlTable.h"

namespace torvik::ado {
class Connection;
}

namespace torvik::engine {

struct ConnectionSettings;
struct EngineServices;
class PackageControl;
class Variables;

/// What a task has done.
struct TaskResult {
  TaskResult() = default;
  TaskResult(std::nullopt_t) {}
  TaskResult(std::int64_t changedRows) : rows(changedRows) {}
  TaskResult(std::optional<std::int64_t> changedRows, std::int64_t rejectedRows = 0)
      : rows(changedRows), rejected(rejectedRows) {}

  std::optional<std::int64_t> rows;  ///< Rows that were changed, of a task that counts them.
  std::int64_t rejected = 0;         ///< Rows that were left out without failing the task.
  std::string details;               ///< What more the log says: "1 inserted, 2 updated".
};

/// What a task may use while its step runs, and no longer. Other steps run at the same time, each
/// with a context and connections of its own. Databases and settings are asked for on the step's
/// thread alone, and a connection is used by one thread at a time; all else may be called by any
/// thread that the task starts.
class TaskContext {
 public:
  virtual ~TaskContext() = default;

  /// Shared by all steps, and safe for that.
  virtual const EngineServices& Services() const = 0;

  /// The package's global variables, which other steps read and set meanwhile.
  virtual Variables& GlobalVariables() = 0;

  /// The package, as its scripts may change it while it runs.
  virtual PackageControl& Package() = 0;

  /// The step's name.
  virtual const std::string& Step() const = 0;

  /// The names of the packages that are running, the outermost first, this one last.
  virtual const std::vector<std::string>& RunningPackages() const = 0;

  /// True when the step has joined the package's transaction.
  virtual bool Joined() const = 0;

  /// A connection of the package to be written through, opened on first use: the transaction's when
  /// the step has joined it, else one that no other step uses until this one has ended.
  virtual ado::Connection& Database(const std::string& connection) = 0;

  /// The same for reading: does not draw a database into the transaction, but uses the
  /// transaction's connection to one that is already in it.
  virtual ado::Connection& ReadDatabase(const std::string& connection) = 0;

  /// One more connection to the same database as Database(connection), for a thread of the step's
  /// own: `number`, from 1, tells them apart. It is not the transaction's.
  virtual ado::Connection& FurtherDatabase(const std::string& connection, int number) = 0;

  /// From now on no statement on this connection of the step is cancelled: it tidies up behind the
  /// step. Asking for the connection again ends that.
  virtual void LetFinish(ado::Connection& connection) = 0;

  /// A connection's properties as they are now, every `${Name}` replaced.
  virtual ConnectionSettings Settings(const std::string& connection) const = 0;

  /// Rows so far. Cheap: what comes sooner than 100 ms after the last one told is told later.
  virtual void Progress(std::int64_t rows) = 0;

  /// Files that have come and bytes so far, of a task that fetches; cheap likewise.
  virtual void Fetched(std::int64_t files, std::int64_t bytes) = 0;

  /// A line for the package's log.
  virtual void Output(std::string_view line) = 0;

  /// Becomes true when the step is to end early, with an error: its time has passed, another step
  /// has failed the package, or the user has had enough. A statement that then runs on one of the
  /// step's connections is cancelled as well.
  virtual const std::atomic<bool>& Cancelled() const = 0;
};

/// A job that a step runs. Texts may hold `${Name}`.
struct JobCall {
  std::string file;
  std::string statusFile;                                      ///< Empty: none of its own.
  std::vector<std::pair<std::string, std::string>> variables;  ///< Of its package.
};

/// What a step does: the settings of its task, checked when the document was read.
class Task {
 public:
  virtual ~Task() = default;

  /// True when all that the task changes can be part of the package's transaction.
  virtual bool CanJoin() const = 0;
  /// Why not, of a task that by other settings could; empty for all others.
  virtual std::string WhyNotJoin() const { return {}; }

  /// Why the task cannot run whatever happens; empty for one that can.
  virtual std::string WhyNot() const { return {}; }

  /// The name of a connection that must lead to PostgreSQL; empty when none must. The document
  /// does not say where a server's name leads.
  virtual std::string NeedsPostgreSql() const { return {}; }

  /// What the task does, for whoever shows the package: as the document says it, variables not put
  /// in.
  virtual std::string Describe() const { return {}; }

  /// True when the task sets global variables: a later step may need what it has found.
  virtual bool SetsVariables() const { return false; }

  /// A global variable that has a value of the task's own while it runs; two tasks cannot share it.
  virtual std::optional<PlacedText> HeldVariable() const { return std::nullopt; }

  /// Other steps of the package that the task names; each must be there.
  virtual std::vector<PlacedText> NamedSteps() const { return {}; }

  /// The job that the task runs; nothing for all other tasks.
  virtual std::optional<JobCall> Job() const { return std::nullopt; }

  /// Runs once for each attempt of the step. Throws when the task fails; a PlatformError that is
  /// transient lets the step try again. A task that ends well has succeeded, also when Cancelled()
  /// had become true.
  virtual TaskResult Run(TaskContext& context) const = 0;
};

}  // namespace torvik::engine
