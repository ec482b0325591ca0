#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/model/ScriptSource.h"
#include "script/FileAccess.h"
#include "script/Script.h"

namespace torvik::engine {

struct EngineServices;
class PackageControl;
class TaskReader;
class Variables;

/// Reads the script of `key`, which must be there, and the name of its function from `functionKey`
/// ("Main"). Reports what no compiler would take, and a function that is missing.
ScriptSource ReadScript(TaskReader& reader, std::string_view key, std::string_view functionKey);

/// A script that was compiled for one run of a step, with the constants of the package object model
/// and the package's global variables. One thread at a time may use it.
class PackageScript {
 public:
  using Names = std::vector<std::pair<std::string, script::Value>>;

  /// What a script works for.
  struct Host {
    Variables& variables;
    const EngineServices& services;
    PackageControl& package;
    std::string step;  ///< For the package's log.
  };

  /// `names` are further objects that the script sees. Throws PlatformError.
  PackageScript(const ScriptSource& source, const Host& host, Names names = {});
  ~PackageScript();

  /// Calls the function and answers its result. Throws ScriptError.
  script::Value Call();

  /// The same for a function that answers a number, 0 when it answers nothing; `what` names the
  /// script in an error. Throws PlatformError.
  long CallForNumber(const std::string& what);

  /// Ends a call that is running; any thread may call it.
  void Cancel();

  script::Heap& Memory() { return script_->Memory(); }

 private:
  class Services;

  std::unique_ptr<Services> services_;
  script::FileAccess files_;
  std::unique_ptr<script::Script> script_;
  int function_ = -1;
  bool hasBegun_ = false;
};

/// True when two names of columns, variables or lookups are the same for a script.
bool IsNamed(const script::Value& key, std::string_view name);

}  // namespace torvik::engine
