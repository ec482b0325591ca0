#include "engine/run/RunControl.h"

#include <algorithm>

#include "engine/model/Connections.h"
#include "engine/model/EngineServices.h"
#include "engine/model/Problems.h"
#include "engine/model/Providers.h"
#include "engine/model/Variables.h"
#include "engine/run/StepThreads.h"
#include "platform/Ado.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::engine {

RunControl::RunControl(const ExecutionRequest& request, EventSink tell)
    : request_(request), tell_(std::move(tell)) {}

void RunControl::Overlay(const std::string& connection, ConnectionSettings& settings) const {
  const std::lock_guard lock(mutex_);
  const auto changed = changed_.find(connection);
  if (changed == changed_.end()) return;
  for (const auto& [property, value] : changed->second) {
    const auto found = std::ranges::find(settings.properties, property,
                                         &std::pair<std::string, std::string>::first);
    if (found == settings.properties.end())
      settings.properties.emplace_back(property, value);
    else
      found->second = value;
  }
}

std::string RunControl::Name() const {
  return request_.package.name;
}

std::vector<std::string> RunControl::Steps() const {
  std::vector<std::string> names;
  for (const StepModel& step : request_.package.steps) names.push_back(step.name);
  return names;
}

std::vector<std::string> RunControl::Connections() const {
  std::vector<std::string> names;
  for (const ConnectionModel& one : request_.package.connections) names.push_back(one.name);
  return names;
}

dts::StepExecutionStatus RunControl::Status(std::size_t step) const {
  auto status = dts::StepExecutionStatus::Waiting;
  threads_->With([&](Workflow& workflow) { status = workflow.States()[step].status; });
  return status;
}

dts::StepExecutionResult RunControl::Result(std::size_t step) const {
  auto result = dts::StepExecutionResult::Success;
  threads_->With([&](Workflow& workflow) { result = workflow.States()[step].result; });
  return result;
}

bool RunControl::IsDisabled(std::size_t step) const {
  bool isDisabled = false;
  threads_->With([&](Workflow& workflow) { isDisabled = workflow.IsDisabled(step); });
  return isDisabled;
}

void RunControl::RunAgain(std::size_t step) {
  threads_->With([&](Workflow& workflow) { workflow.RunAgain(step); });
}

void RunControl::SetDisabled(std::size_t step, bool disabled) {
  threads_->With([&](Workflow& workflow) { workflow.SetDisabled(step, disabled); });
}

std::shared_ptr<const Task> RunControl::TaskOf(const StepModel& step) const {
  const std::lock_guard lock(mutex_);
  const auto changed = tasks_.find(&step);
  if (changed != tasks_.end()) return changed->second.task;
  return {std::shared_ptr<void>(), step.task.get()};  // owned by the model
}

std::vector<std::string> RunControl::Tasks() const {
  std::vector<std::string> names;
  for (const StepModel& step : request_.package.steps) names.push_back(step.taskName);
  return names;
}

std::string RunControl::TaskKind(std::size_t step) const {
  return request_.package.steps[step].taskKind;
}

std::string RunControl::TaskProperty(std::size_t step, const std::string& property) const {
  const StepModel& model = request_.package.steps[step];
  const engine::TaskProperty& known = PropertyOf(model, property);
  const std::lock_guard lock(mutex_);
  return request_.variables.Substitute(ValueAmong(KeysOf(model), known));
}

void RunControl::SetTaskProperty(std::size_t step, const std::string& property,
                                 const std::string& value) {
  const std::vector<StepModel>& steps = request_.package.steps;
  const engine::TaskProperty& known = PropertyOf(steps[step], property);
  if (request_.readTask == nullptr) return;
  const std::lock_guard lock(mutex_);
  TomlTable keys = KeysOf(steps[step]);
  SetAmong(keys, known, value);
  const std::shared_ptr<const Task> task = request_.readTask(request_.package, steps[step], keys);
  for (const StepModel& one : steps)
    if (one.taskName == steps[step].taskName && one.taskKind == steps[step].taskKind)
      tasks_[&one] = {keys, task};
}

const engine::TaskProperty& RunControl::PropertyOf(const StepModel& step,
                                                   const std::string& name) const {
  if (const engine::TaskProperty* known = FindTaskProperty(step.taskKind, name)) return *known;
  throw PlatformError(0,
                      "scripts cannot reach a property " + Quoted(name) + " of the task " +
                          Quoted(step.taskName) + ", a " + step.taskKind +
                          "; write ${Name} of a global variable in the task, and set that",
                      "package engine");
}

const TomlTable& RunControl::KeysOf(const StepModel& step) const {
  const auto changed = tasks_.find(&step);
  return changed == tasks_.end() ? step.keys : changed->second.keys;
}

std::string RunControl::ConnectionProperty(const std::string& connection,
                                           const std::string& property) const {
  const ConnectionSettings settings = SettingsOf(connection);
  const auto found = std::ranges::find_if(settings.properties, [&](const auto& one) {
    return EqualsIgnoringCase(one.first, property);
  });
  return found == settings.properties.end() ? "" : found->second;
}

void RunControl::SetConnectionProperty(const std::string& connection, const std::string& property,
                                       const std::string& value) {
  const auto model =
      std::ranges::find(request_.package.connections, connection, &ConnectionModel::name);
  const ProviderRule* rule = FindProvider(model->provider);
  if (rule == nullptr) rule = &OtherProvider();
  const PropertyRule* const known = FindProperty(*rule, property);
  if (known == nullptr)
    throw PlatformError(0,
                        "connections of the provider " + Quoted(model->provider) +
                            " have no property " + Quoted(property),
                        "package engine");
  const std::lock_guard lock(mutex_);
  changed_[connection][known->name] = value;
}

ConnectionSettings RunControl::SettingsOf(const std::string& connection) const {
  const FileServices files{request_.services.files, request_.services.codePages};
  ConnectionSettings settings =
      ResolveConnection(request_.package, connection, request_.variables, &files);
  Overlay(connection, settings);
  return settings;
}

std::unique_ptr<ado::Connection> RunControl::OpenConnection(const std::string& connection) {
  return OpenDatabase(request_.services.databases, connection, SettingsOf(connection));
}

void RunControl::WriteLog(const std::string& step, std::string_view text) {
  tell_({.kind = ExecutionEvent::Kind::StepOutput,
         .step = step,
         .text = request_.variables.WithoutPasswords(std::string(text))});
}

}  // namespace torvik::engine
