#include "engine/model/PackageScript.h"

#include <algorithm>
#include <cmath>

#include "engine/model/EngineServices.h"
#include "engine/model/PackageControl.h"
#include "engine/model/PackageObjects.h"
#include "engine/model/ScriptClasses.h"
#include "engine/model/ScriptDatabases.h"
#include "engine/model/ScriptNeeds.h"
#include "engine/model/TaskReader.h"
#include "engine/model/Variables.h"
#include "platform/CodePage.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "script/Conversion.h"
#include "script/Parser.h"
#include "script/ScriptError.h"

namespace torvik::engine {
namespace {

using script::Value;

/// The constants of the package object model that scripts use.
constexpr struct {
  const char* name;
  std::int32_t value;
} kConstants[] = {
    {"DTSTransformStat_OK", 0x1},
    {"DTSTransformStat_SkipRow", 0x2},
    {"DTSTransformStat_SkipFetch", 0x4},
    {"DTSTransformStat_SkipInsert", 0x8},
    {"DTSTransformStat_SkipRowInfo", 0x1002},
    {"DTSTransformStat_InsertQuery", 0x10},
    {"DTSTransformStat_UpdateQuery", 0x20},
    {"DTSTransformStat_DeleteQuery", 0x40},
    {"DTSTransformStat_UserQuery", 0x80},
    {"DTSTransformStat_DestDataNotSet", 0x200},
    {"DTSTransformStat_Info", 0x1000},
    {"DTSTransformStat_OKInfo", 0x1001},
    {"DTSTransformStat_Error", 0x2000},
    {"DTSTransformStat_ErrorSkipRow", 0x2002},
    {"DTSTransformStat_ExceptionRow", 0x2100},
    {"DTSTransformStat_AbortPump", 0x4000},
    {"DTSTransformStat_NoMoreRows", 0x8000},
    {"DTSTaskExecResult_Success", 0},
    {"DTSTaskExecResult_Failure", 1},
    {"DTSTaskExecResult_RetryStep", 2},
    {"DTSStepScriptResult_ExecuteTask", 0},
    {"DTSStepScriptResult_DontExecuteTask", 1},
    {"DTSStepScriptResult_RetryLater", 2},
    {"DTSStepExecStat_Waiting", 1},
    {"DTSStepExecStat_InProgress", 2},
    {"DTSStepExecStat_Inactive", 3},
    {"DTSStepExecStat_Completed", 4},
    {"DTSStepExecResult_Success", 0},
    {"DTSStepExecResult_Failure", 1},
};

Value ValueOf(const dts::Variant& variant, script::Heap* heap) {
  if (const auto* text = std::get_if<std::string>(&variant)) return Value::OfText(*text, heap);
  if (const auto* boolean = std::get_if<bool>(&variant)) return Value::OfBoolean(*boolean);
  if (const auto* number = std::get_if<double>(&variant)) return Value::OfDouble(*number);
  return Value::OfWhole(std::get<std::int64_t>(variant));
}

/// The value in the variable's own type.
dts::Variant VariantOf(const Value& value, const dts::Variant& like) {
  if (std::holds_alternative<bool>(like)) return script::ToBoolean(value);
  if (std::holds_alternative<double>(like)) return script::ToDouble(value);
  if (std::holds_alternative<std::int64_t>(like)) {
    const double number = script::RoundHalfEven(script::ToDouble(value));
    if (std::abs(number) >= 9.2e18) throw script::Overflow();
    return static_cast<std::int64_t>(number);
  }
  return script::ToText(value);
}

/// DTSGlobalVariables("name"), with Value and Name.
class GlobalVariableObject final : public script::Object {
 public:
  GlobalVariableObject(Variables& variables, std::string name)
      : variables_(variables), name_(std::move(name)) {}

  std::string_view TypeName() const override { return "GlobalVariable"; }
  int FindMember(std::string_view name) const override {
    return name.empty() || name == "value" ? DefaultMember : name == "name" ? kName : NoMember;
  }
  Value Invoke(script::Context& context, int member, std::span<const Value> arguments) override {
    script::ExpectArguments(arguments, 0, 0);
    if (member == kName) return Value::OfText(name_, &context.heap);
    return ValueOf(variables_.Value(name_), &context.heap);
  }
  void Put(script::Context&, int member, std::span<const Value>, const Value& value) override {
    if (member == kName) script::NoSuchMember("Name");
    variables_.SetValue(name_, VariantOf(value, *variables_.Find(name_)));
  }

 private:
  static constexpr int kName = 1;
  Variables& variables_;
  const std::string name_;
};

/// DTSGlobalVariables: the package's variables by name.
class GlobalVariablesObject final : public script::Object {
 public:
  GlobalVariablesObject(Variables& variables, PackageControl& package)
      : variables_(variables), package_(package) {
    for (const GlobalVariable& variable : variables.All()) names_.push_back(variable.name);
  }

  std::string_view TypeName() const override { return "GlobalVariables"; }
  int FindMember(std::string_view name) const override {
    if (name == "parent") return kParent;
    return name.empty() || name == "item" ? DefaultMember : name == "count" ? kCount : NoMember;
  }
  Value Invoke(script::Context&, int member, std::span<const Value> arguments) override {
    if (member == kParent)
      return NewPackageObject(package_, [&variables = variables_, &package = package_] {
        return script::NewObject<GlobalVariablesObject>(variables, package);
      });
    if (member == kCount) return Value::OfLong(static_cast<std::int32_t>(names_.size()));
    return script::NewObject<GlobalVariableObject>(variables_, Found(arguments));
  }
  void Put(script::Context&, int, std::span<const Value> indexes, const Value& value) override {
    const std::string& name = Found(indexes);
    variables_.SetValue(name, VariantOf(value, *variables_.Find(name)));
  }

 private:
  static constexpr int kCount = 1, kParent = 2;

  const std::string& Found(std::span<const Value> keys) const {
    script::ExpectArguments(keys, 1, 1);
    const auto found = std::ranges::find_if(
        names_, [&](const std::string& name) { return IsNamed(keys[0], name); });
    if (found == names_.end())
      throw PlatformError(
          0,
          "the package has no global variable " + Quoted(script::ToText(keys[0])) + "; declare it",
          "package engine");
    return *found;
  }

  Variables& variables_;
  PackageControl& package_;
  std::vector<std::string> names_;
};

PlatformError AsPlatformError(const script::ScriptError& error, const std::string& what) {
  return PlatformError(error.number, what + ": " + error.Text(), error.source);
}

}  // namespace

ScriptSource ReadScript(TaskReader& reader, std::string_view key, std::string_view functionKey) {
  const PlacedText text = reader.Table().RequiredText(key);
  const auto function = reader.Table().Text(functionKey);
  ScriptSource source{text.text, function ? function->text : "Main"};
  if (text.text.empty()) return source;
  source.lacks = WhatScriptLacks(text.text);
  try {
    const script::ScriptSyntax syntax = script::ParseScript(text.text);
    const bool isThere = std::ranges::any_of(syntax.procedures, [&](const auto& procedure) {
      return EqualsIgnoringCase(procedure.name, source.function);
    });
    if (!isThere)
      reader.Problem(text.place, Quoted(std::string(key)) + " has no function " +
                                     Quoted(source.function) + "; write one, or name another in " +
                                     Quoted(std::string(functionKey)));
  } catch (const script::ScriptError& error) {
    reader.Problem(text.place, Quoted(std::string(key)) + " cannot be compiled: " + error.Text());
  }
  return source;
}

/// What scripts of packages have beyond the language.
class PackageScript::Services final : public script::HostServices {
 public:
  explicit Services(const Host& host)
      : host_(new ScriptHost{host.variables, host.services, host.package, host.step,
                             std::make_shared<ScriptDatabases>(host.package)}) {}

  std::optional<Value> NewObject(std::string_view className) override {
    return NewScriptObject(className, host_);
  }
  void Say(const std::string& text) override { host_->package.WriteLog(host_->step, text); }

  void Cancel() {
    host_->cancelled = true;
    host_->databases->Cancel();
  }

 private:
  const std::shared_ptr<ScriptHost> host_;
};

PackageScript::~PackageScript() = default;

void PackageScript::Cancel() {
  script_->Cancel();
  services_->Cancel();
}

PackageScript::PackageScript(const ScriptSource& source, const Host& host, Names names)
    : services_(std::make_unique<Services>(host)),
      files_(host.services.files, host.services.codePages.Ansi(), host.services.scriptDirectories) {
  for (const auto& constant : kConstants)
    names.emplace_back(constant.name, Value::OfLong(constant.value));
  names.emplace_back("DTSGlobalVariables",
                     script::NewObject<GlobalVariablesObject>(host.variables, host.package));
  names.emplace_back("DTSPackageLog", NewPackageLogObject(host.package, host.step));
  try {
    script_ = std::make_unique<script::Script>(
        source.text, script::Host{.clock = host.services.clock,
                                  .names = names,
                                  .files = &files_,
                                  .services = services_.get(),
                                  .expressions = host.services.expressions});
  } catch (const script::ScriptError& error) {
    throw AsPlatformError(error, "the script cannot be compiled");
  }
  function_ = script_->FindProcedure(source.function);
  if (function_ < 0)
    throw PlatformError(0, "the script has no function " + Quoted(source.function), "script");
}

Value PackageScript::Call() {
  if (!std::exchange(hasBegun_, true)) script_->RunBody();
  return script_->Call(function_);
}

long PackageScript::CallForNumber(const std::string& what) {
  try {
    const Value result = Call();
    return result.Is(script::Kind::Empty) ? 0 : script::ToLong(result);
  } catch (const script::ScriptError& error) {
    throw AsPlatformError(error, what);
  }
}

bool IsNamed(const Value& key, std::string_view name) {
  return key.Is(script::Kind::Text) && EqualsIgnoringCase(key.View(), name);
}

}  // namespace torvik::engine
