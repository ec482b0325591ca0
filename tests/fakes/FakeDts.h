#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/Dts.h"
#include "platform/PlatformError.h"

namespace torvik {

class FakeStep final : public dts::Step {
 public:
  using Status = dts::StepExecutionStatus;
  using Result = dts::StepExecutionResult;

  explicit FakeStep(std::string name, Status status = Status::Completed,
                    Result result = Result::Success)
      : name_(std::move(name)), status_(status), result_(result) {}

  const std::string& Name() const override { return name_; }
  Status ExecutionStatus() const override { return status_; }
  Result ExecutionResult() const override { return result_; }

 private:
  std::string name_;
  Status status_;
  Result result_;
};

/// Variables by name, in the order in which they were declared. A write is recorded as
/// "SetValue NAME".
struct FakeGlobalVariables final : dts::GlobalVariables {
  explicit FakeGlobalVariables(std::vector<std::string>& callList) : calls(callList) {}

  dts::Variant Value(std::string_view name) const override { return entries[Find(name)].second; }
  void SetValue(std::string_view name, dts::Variant value) override {
    entries[Find(name)].second = std::move(value);
    calls.push_back("SetValue " + std::string(name));
  }

  std::vector<std::pair<std::string, dts::Variant>> entries;
  std::vector<std::string>& calls;

 private:
  std::size_t Find(std::string_view name) const {
    const auto found =
        std::ranges::find(entries, name, &std::pair<std::string, dts::Variant>::first);
    if (found == entries.end())
      throw PlatformError(0, "no global variable " + std::string(name), "fake package");
    return static_cast<std::size_t>(found - entries.begin());
  }
};

/// The one package that a FakePackageHost knows, and what was done to it. Starts with the runner's
/// twelve variables, empty and False.
struct FakePackageState {
  FakePackageState() : variables(calls) {
    for (const char* name :
         {"ExceptionFilePath", "DTSServer", "DTSServerLoginUserName", "DTSServerLoginPassword",
          "DestinationServer", "DestServerLoginUserName", "DestServerLoginPassword",
          "DestServerDatabaseName"})
      variables.entries.emplace_back(name, std::string());
    for (const char* name : {"DTSServerTrustedLogin", "DestServerTrustedLogin",
                             "WriteCompletionStatusToNT", "OverwriteGlobalSettings"})
      variables.entries.emplace_back(name, false);
  }

  std::vector<std::string> calls;  ///< "NewPackage", "LoadFromSQLServer ...", "Execute", ...
  FakeGlobalVariables variables;
  std::vector<FakeStep> steps;
  std::vector<dts::StepOutline> outline;
  std::optional<std::string> failLoad;     ///< Every load fails with this text.
  std::optional<std::string> failExecute;  ///< Every execution ends with this text.
  /// Stands for the package's work: may report progress and change `steps`.
  std::function<void(dts::PackageEvents&)> onExecute;
};

class FakePackage final : public dts::Package {
 public:
  explicit FakePackage(FakePackageState& state) : state_(state) {}

  /// Recorded as "LoadFromSQLServer server|user|password|flags|package password|package
  /// guid|version guid|name|host".
  void LoadFromSQLServer(const std::string& serverName, const std::string& serverUserName,
                         const std::string& serverPassword, dts::SqlServerStorageFlags flags,
                         const std::string& packagePassword, const std::string& packageGuid,
                         const std::string& versionGuid, const std::string& packageName,
                         const std::string& hostStorage) override {
    state_.calls.push_back("LoadFromSQLServer " + serverName + "|" + serverUserName + "|" +
                           serverPassword + "|" + std::to_string(static_cast<int>(flags)) + "|" +
                           packagePassword + "|" + packageGuid + "|" + versionGuid + "|" +
                           packageName + "|" + hostStorage);
    if (state_.failLoad) throw PlatformError(0, *state_.failLoad, "fake package");
    name_ = packageName;
  }

  const std::string& Name() const override { return name_; }
  const std::string& VersionID() const override { return name_; }
  std::vector<dts::StepOutline> Outline() const override { return state_.outline; }

  /// Recorded as "Cancel".
  void Cancel() override { state_.calls.push_back("Cancel"); }

  /// Recorded as "GoOnBehind STEP,STEP".
  std::vector<std::string> GoOnBehind(const std::vector<std::string>& succeeded) override {
    std::string names;
    for (const std::string& name : succeeded) names += (names.empty() ? "" : ",") + name;
    state_.calls.push_back("GoOnBehind " + names);
    return succeeded;
  }

  dts::GlobalVariables& GlobalVariables() override {
    RequireLoaded();
    return state_.variables;
  }
  void Execute(dts::PackageEvents& events) override {
    RequireLoaded();
    state_.calls.push_back("Execute");
    if (state_.onExecute) state_.onExecute(events);
    if (state_.failExecute) throw PlatformError(0, *state_.failExecute, "fake package");
  }
  int StepCount() const override { return static_cast<int>(state_.steps.size()); }
  const dts::Step& Step(int position) const override { return state_.steps.at(position - 1); }
  void UnInitialize() override {
    state_.calls.push_back("UnInitialize");
    name_.clear();
  }

 private:
  void RequireLoaded() const {
    if (name_.empty()) throw PlatformError(0, "the package is not loaded", "fake package");
  }

  FakePackageState& state_;
  std::string name_;  ///< Empty until it is loaded.
};

/// Makes packages that all show the one state.
struct FakePackageHost final : dts::PackageHost {
  std::unique_ptr<dts::Package> NewPackage() override {
    state.calls.push_back("NewPackage");
    return std::make_unique<FakePackage>(state);
  }

  FakePackageState state;
};

}  // namespace torvik
