#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvik::ado {
class Connection;
}

namespace torvik::engine {

struct ConnectionSettings;
struct EngineServices;
class Variables;

/// What a task may use while its step runs.
class TaskContext {
 public:
  virtual ~TaskContext() = default;

  virtual const EngineServices& Services() const = 0;

  /// The package's global variables.
  virtual Variables& GlobalVariables() = 0;

  /// The names of the packages that are running, the outermost first, this one last.
  virtual const std::vector<std::string>& RunningPackages() const = 0;

  /// True when the step has joined the package's transaction.
  virtual bool Joined() const = 0;

  /// A connection of the package to be written through, opened on first use: the transaction's when
  /// the step has joined it, else the connection's own.
  virtual ado::Connection& Database(const std::string& connection) = 0;

  /// The same for reading: does not draw a database into the transaction, but uses the
  /// transaction's connection to one that is already in it.
  virtual ado::Connection& ReadDatabase(const std::string& connection) = 0;

  /// A connection's properties as they are now, every `${Name}` replaced.
  virtual ConnectionSettings Settings(const std::string& connection) const = 0;

  virtual void Progress(std::int64_t rows) = 0;

  /// A line for the package's log.
  virtual void Output(std::string_view line) = 0;

  /// Becomes true when the step is to end early, with an error.
  virtual const std::atomic<bool>& Cancelled() const = 0;
};

/// What a step does: the settings of its task, checked when the document was read.
class Task {
 public:
  virtual ~Task() = default;

  /// True when all that the task changes can be part of the package's transaction.
  virtual bool CanJoin() const = 0;

  /// Answers the rows that were changed, for a task that counts them. Throws when the task fails.
  virtual std::optional<std::int64_t> Run(TaskContext& context) const = 0;
};

}  // namespace torvik::engine
