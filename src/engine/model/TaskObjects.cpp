#include "engine/model/TaskObjects.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "engine/model/PackageControl.h"
#include "engine/model/PartsObject.h"
#include "engine/model/TaskProperties.h"
#include "script/Conversion.h"
#include "script/Functions.h"

namespace torvik::engine {
namespace {

using script::Value;

/// One property, with Name and Value.
class TaskPropertyObject final : public script::Object {
 public:
  TaskPropertyObject(PackageControl& package, std::size_t step, std::string name)
      : package_(package), step_(step), name_(std::move(name)) {}

  std::string_view TypeName() const override { return "Property"; }
  int FindMember(std::string_view name) const override {
    static constexpr std::string_view kMembers[] = {"value", "name"};
    return script::MemberNamed(kMembers, name);
  }
  Value Invoke(script::Context& context, int member, std::span<const Value> arguments) override {
    script::ExpectArguments(arguments, 0, 0);
    return script::NewText(context, member == 0 ? package_.TaskProperty(step_, name_) : name_);
  }
  void Put(script::Context&, int member, std::span<const Value>, const Value& value) override {
    if (member != 0) script::NoSuchMember("Name");
    package_.SetTaskProperty(step_, name_, script::ToText(value));
  }

 private:
  PackageControl& package_;
  const std::size_t step_;
  const std::string name_;
};

/// A task whose members are the properties of all tasks; one that it does not have fails when it is
/// used.
class TaskObject final : public script::Object {
 public:
  TaskObject(PackageControl& package, std::size_t step) : package_(package), step_(step) {}

  std::string_view TypeName() const override { return "Task"; }
  int FindMember(std::string_view name) const override {
    const int own = script::MemberNamed(kMembers, name);
    if (own != NoMember) return own;
    const auto property = TaskPropertyNumber(name);
    return property ? static_cast<int>(std::size(kMembers) + *property) : NoMember;
  }
  Value Invoke(script::Context& context, int member, std::span<const Value> arguments) override {
    if (member == kProperties) {
      script::ExpectArguments(arguments, 1, 1);
      return script::NewObject<TaskPropertyObject>(package_, step_, script::ToText(arguments[0]));
    }
    script::ExpectArguments(arguments, 0, 0);
    switch (member) {
      case kName: return script::NewText(context, package_.Tasks()[step_]);
      case kId: return script::NewText(context, CustomTaskId(package_.TaskKind(step_)));
      case kCustomTask: return script::NewObject<TaskObject>(package_, step_);
      default: return script::NewText(context, package_.TaskProperty(step_, NameOf(member)));
    }
  }
  void Put(script::Context&, int member, std::span<const Value>, const Value& value) override {
    if (member < static_cast<int>(std::size(kMembers)))
      script::NoSuchMember(std::string(kMembers[member]));
    package_.SetTaskProperty(step_, NameOf(member), script::ToText(value));
  }

 private:
  static constexpr std::string_view kMembers[] = {"name", "customtaskid", "customtask",
                                                  "properties"};
  static constexpr int kName = 0, kId = 1, kCustomTask = 2, kProperties = 3;

  static std::string NameOf(int member) {
    return TaskPropertyName(static_cast<std::size_t>(member) - std::size(kMembers));
  }

  PackageControl& package_;
  const std::size_t step_;
};

}  // namespace

Value NewTasksObject(PackageControl& package) {
  std::vector<std::string> names;
  std::vector<std::size_t> steps;
  const std::vector<std::string> tasks = package.Tasks();
  for (std::size_t step = 0; step < tasks.size(); ++step) {
    if (std::ranges::find(names, tasks[step]) != names.end()) continue;
    names.push_back(tasks[step]);
    steps.push_back(step);
  }
  return script::NewObject<PartsObject>(
      "task", names, [&package, steps](std::size_t position, const std::string&) {
        return script::NewObject<TaskObject>(package, steps[position]);
      });
}

}  // namespace torvik::engine
