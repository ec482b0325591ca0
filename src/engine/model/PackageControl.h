#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Dts.h"

namespace torvik::ado {
class Connection;
}

namespace torvik::engine {

/// The package that runs, as its scripts see and change it while it does. Safe for several threads.
/// Changes end with the run.
class PackageControl {
 public:
  virtual ~PackageControl() = default;

  virtual std::string Name() const = 0;
  virtual std::vector<std::string> Steps() const = 0;
  virtual std::vector<std::string> Connections() const = 0;

  /// `step` is a position in Steps().
  virtual dts::StepExecutionStatus Status(std::size_t step) const = 0;
  virtual dts::StepExecutionResult Result(std::size_t step) const = 0;
  virtual bool IsDisabled(std::size_t step) const = 0;
  /// A step that has ended waits once more, as do those that wait for it; it runs again when its
  /// constraints hold, at once if they do. One that is running runs again after its end.
  virtual void RunAgain(std::size_t step) = 0;
  virtual void SetDisabled(std::size_t step, bool disabled) = 0;

  /// The names of the steps' tasks, by the positions of the steps.
  virtual std::vector<std::string> Tasks() const = 0;
  /// The kind of a step's task, as documents name it.
  virtual std::string TaskKind(std::size_t step) const = 0;
  /// A property of a step's task, by its name in the package object model. Throws when scripts
  /// cannot reach it.
  virtual std::string TaskProperty(std::size_t step, const std::string& property) const = 0;
  /// For all steps that have this task, from their next attempt on; throws when the task cannot be
  /// like that, which then is as before.
  virtual void SetTaskProperty(std::size_t step, const std::string& property,
                               const std::string& value) = 0;

  /// A property of the connection of that name, which must be there; empty when it is not set.
  virtual std::string ConnectionProperty(const std::string& connection,
                                         const std::string& property) const = 0;
  /// From now on for whoever opens the connection.
  virtual void SetConnectionProperty(const std::string& connection, const std::string& property,
                                     const std::string& value) = 0;

  /// Opens a connection of its own to a database of the package, which no transaction of the
  /// package's holds; the name must be there.
  virtual std::unique_ptr<ado::Connection> OpenConnection(const std::string& connection) = 0;

  /// A line for the package's log; `step` is who writes it.
  virtual void WriteLog(const std::string& step, std::string_view text) = 0;
};

}  // namespace torvik::engine
