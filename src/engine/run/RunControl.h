#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "engine/model/PackageControl.h"
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

  /// Puts what scripts have set of a connection into its settings.
  void Overlay(const std::string& connection, ConnectionSettings& settings) const;

  std::string Name() const override;
  std::vector<std::string> Steps() const override;
  std::vector<std::string> Connections() const override;
  dts::StepExecutionStatus Status(std::size_t step) const override;
  dts::StepExecutionResult Result(std::size_t step) const override;
  bool IsDisabled(std::size_t step) const override;
  void RunAgain(std::size_t step) override;
  void SetDisabled(std::size_t step, bool disabled) override;
  std::string ConnectionProperty(const std::string& connection,
                                 const std::string& property) const override;
  void SetConnectionProperty(const std::string& connection, const std::string& property,
                             const std::string& value) override;
  void WriteLog(const std::string& step, std::string_view text) override;

 private:
  const ExecutionRequest& request_;
  const EventSink tell_;
  StepThreads* threads_ = nullptr;
  mutable std::mutex mutex_;                                           // of what follows
  std::map<std::string, std::map<std::string, std::string>> changed_;  // by connection and property
};

}  // namespace torvik::engine
