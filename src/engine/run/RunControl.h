#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "engine/model/PackageControl.h"
#include "engine/model/TaskProperties.h"
#include "engine/model/TomlTable.h"
#include "engine/run/PackageExecution.h"

namespace torvik::engine {

struct ConnectionSettings;
class StepThreads;
class Workflow;

/// One run of a package in the hands of its scripts.
class RunControl final : public PackageControl {
 public:
  /// `request` must outlive it; `tell` is safe for several threads.
  RunControl(const ExecutionRequest& request, EventSink tell);

  /// Before a step runs: who brings the steps to threads.
  void Attach(StepThreads& threads) { threads_ = &threads; }

  /// A connection's settings as they are now, with what scripts have set of them.
  ConnectionSettings SettingsOf(const std::string& connection) const;

  /// A step's task as scripts have left it.
  std::shared_ptr<const Task> TaskOf(const StepModel& step) const;

  std::string Name() const override;
  std::vector<std::string> Steps() const override;
  std::vector<std::string> Connections() const override;
  dts::StepExecutionStatus Status(std::size_t step) const override;
  dts::StepExecutionResult Result(std::size_t step) const override;
  bool IsDisabled(std::size_t step) const override;
  void RunAgain(std::size_t step) override;
  void SetDisabled(std::size_t step, bool disabled) override;
  std::vector<std::string> Tasks() const override;
  std::string TaskKind(std::size_t step) const override;
  std::string TaskProperty(std::size_t step, const std::string& property) const override;
  void SetTaskProperty(std::size_t step, const std::string& property,
                       const std::string& value) override;
  std::string ConnectionProperty(const std::string& connection,
                                 const std::string& property) const override;
  void SetConnectionProperty(const std::string& connection, const std::string& property,
                             const std::string& value) override;
  std::unique_ptr<ado::Connection> OpenConnection(const std::string& connection) override;
  void WriteLog(const std::string& step, std::string_view text) override;

 private:
  /// A task that a script has changed.
  struct ChangedTask {
    TomlTable keys;
    std::shared_ptr<const Task> task;
  };

  /// Puts what scripts have set of a connection into its settings.
  void Overlay(const std::string& connection, ConnectionSettings& settings) const;

  /// Throws when there is none of that name.
  const engine::TaskProperty& PropertyOf(const StepModel& step, const std::string& name) const;
  /// The lock must be held.
  const TomlTable& KeysOf(const StepModel& step) const;

  const ExecutionRequest& request_;
  const EventSink tell_;
  StepThreads* threads_ = nullptr;
  mutable std::mutex mutex_;                                           // of what follows
  std::map<std::string, std::map<std::string, std::string>> changed_;  // by connection and property
  std::map<const StepModel*, ChangedTask> tasks_;
};

}  // namespace torvik::engine
