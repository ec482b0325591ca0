#include "engine/model/PackageObjects.h"

#include "engine/model/PackageControl.h"
#include "engine/model/PartsObject.h"
#include "engine/model/Problems.h"
#include "engine/model/TaskObjects.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "script/Conversion.h"
#include "script/Functions.h"
#include "script/Object.h"

namespace torvik::engine {
namespace {

using script::Value;
using Arguments = std::span<const Value>;

class StepObject final : public script::Object {
 public:
  StepObject(PackageControl& package, std::size_t step, std::string name)
      : package_(package), step_(step), name_(std::move(name)) {}

  std::string_view TypeName() const override { return "Step"; }
  int FindMember(std::string_view name) const override {
    static constexpr std::string_view kMembers[] = {"name", "executionstatus", "executionresult",
                                                    "disablestep", "taskname"};
    return script::MemberNamed(kMembers, name);
  }
  Value Invoke(script::Context& context, int member, Arguments arguments) override {
    script::ExpectArguments(arguments, 0, 0);
    switch (member) {
      case kStatus: return Value::OfLong(static_cast<std::int32_t>(package_.Status(step_)));
      case kResult: return Value::OfLong(static_cast<std::int32_t>(package_.Result(step_)));
      case kTask: return script::NewText(context, package_.Tasks()[step_]);
      case kDisabled: return Value::OfBoolean(package_.IsDisabled(step_));
      default: return script::NewText(context, name_);
    }
  }
  void Put(script::Context&, int member, Arguments, const Value& value) override {
    if (member == kDisabled) return package_.SetDisabled(step_, script::ToBoolean(value));
    if (member != kStatus) script::NoSuchMember(kNames[member]);
    switch (static_cast<dts::StepExecutionStatus>(script::ToLong(value))) {
      case dts::StepExecutionStatus::Waiting: return package_.RunAgain(step_);
      case dts::StepExecutionStatus::Inactive: return package_.SetDisabled(step_, true);
      default:
        throw PlatformError(0,
                            "the ExecutionStatus of step " + Quoted(name_) +
                                " can be set to DTSStepExecStat_Waiting and _Inactive alone",
                            "package engine");
    }
  }

 private:
  static constexpr const char* kNames[] = {"Name", "ExecutionStatus", "ExecutionResult",
                                           "DisableStep", "TaskName"};
  static constexpr int kStatus = 1, kResult = 2, kDisabled = 3, kTask = 4;
  PackageControl& package_;
  const std::size_t step_;
  const std::string name_;
};

class ConnectionObject final : public script::Object {
 public:
  ConnectionObject(PackageControl& package, std::string name)
      : package_(package), name_(std::move(name)) {}

  std::string_view TypeName() const override { return "Connection"; }
  int FindMember(std::string_view name) const override {
    static constexpr std::string_view kMembers[] = {"name",   "datasource", "catalog",
                                                    "userid", "password",   "connectionproperties"};
    return script::MemberNamed(kMembers, name);
  }
  Value Invoke(script::Context& context, int member, Arguments arguments) override {
    if (member == 0) return script::NewText(context, name_);
    const std::string property = PropertyOf(member, arguments);
    if (EqualsIgnoringCase(property, "Password")) return script::NewText(context, "");
    return script::NewText(context, package_.ConnectionProperty(name_, property));
  }
  void Put(script::Context&, int member, Arguments arguments, const Value& value) override {
    if (member == 0) script::NoSuchMember("Name");
    package_.SetConnectionProperty(name_, PropertyOf(member, arguments), script::ToText(value));
  }

 private:
  static constexpr int kProperties = 5;

  static std::string PropertyOf(int member, Arguments arguments) {
    static constexpr const char* kProperty[] = {"", "Data Source", "Initial Catalog", "User ID",
                                                "Password"};
    script::ExpectArguments(arguments, member == kProperties ? 1 : 0,
                            member == kProperties ? 1 : 0);
    if (member != kProperties) return kProperty[member];
    return script::ToText(arguments[0]);
  }

  PackageControl& package_;
  const std::string name_;
};

class PackageObject final : public script::Object {
 public:
  PackageObject(PackageControl& package, std::function<Value()> globalVariables)
      : package_(package), globalVariables_(std::move(globalVariables)) {}

  std::string_view TypeName() const override { return "Package"; }
  int FindMember(std::string_view name) const override {
    static constexpr std::string_view kMembers[] = {"name", "steps", "connections",
                                                    "globalvariables", "tasks"};
    return script::MemberNamed(kMembers, name);
  }
  Value Invoke(script::Context& context, int member, Arguments arguments) override {
    constexpr int kSteps = 1, kConnections = 2, kVariables = 3, kTasks = 4;
    Value part;
    if (member == kSteps)
      part = script::NewObject<PartsObject>(
          "step", package_.Steps(),
          [&package = package_](std::size_t step, const std::string& name) {
            return script::NewObject<StepObject>(package, step, name);
          });
    else if (member == kConnections)
      part = script::NewObject<PartsObject>(
          "connection", package_.Connections(),
          [&package = package_](std::size_t, const std::string& name) {
            return script::NewObject<ConnectionObject>(package, name);
          });
    else if (member == kVariables)
      part = globalVariables_();
    else if (member == kTasks)
      part = NewTasksObject(package_);
    else
      return script::NewText(context, package_.Name());
    // Steps("name") asks for the collection with the key behind it.
    return arguments.empty() ? part : part.AsObject()->Invoke(context, 0, arguments);
  }

 private:
  PackageControl& package_;
  const std::function<Value()> globalVariables_;
};

class PackageLogObject final : public script::Object {
 public:
  PackageLogObject(PackageControl& package, std::string step)
      : package_(package), step_(std::move(step)) {}

  std::string_view TypeName() const override { return "PackageLog"; }
  int FindMember(std::string_view name) const override {
    static constexpr std::string_view kMembers[] = {"writestringtolog", "writetaskrecord"};
    return script::MemberNamed(kMembers, name);
  }
  Value Invoke(script::Context&, int member, Arguments arguments) override {
    const std::size_t most = member == 0 ? 1 : 2;
    script::ExpectArguments(arguments, most, most);
    std::string text = script::ToText(arguments.back());
    if (member != 0) text = "error " + script::ToText(arguments[0]) + ": " + text;
    package_.WriteLog(step_, text);
    return {};
  }

 private:
  PackageControl& package_;
  const std::string step_;
};

}  // namespace

Value NewPackageObject(PackageControl& package, std::function<Value()> globalVariables) {
  return script::NewObject<PackageObject>(package, std::move(globalVariables));
}

Value NewPackageLogObject(PackageControl& package, std::string step) {
  return script::NewObject<PackageLogObject>(package, std::move(step));
}

}  // namespace torvik::engine
