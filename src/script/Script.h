#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "script/Context.h"
#include "script/Object.h"
#include "script/ScriptError.h"
#include "script/Value.h"

namespace torvik::script {

/// What the host lends to a script; all of it must outlive the script.
struct Host {
  Clock& clock;
  /// Constants and objects by name, in any letter case; a script's own names go before them. The
  /// values are used by the script's thread: scripts of several threads share none.
  std::vector<std::pair<std::string, Value>> names = {};
  FileAccess* files = nullptr;                ///< Null: no FileSystemObject.
  HostServices* services = nullptr;           ///< Null: no further classes, and nobody to talk to.
  RegularExpressions* expressions = nullptr;  ///< Null: no RegExp.
};

/// A script, compiled once and run many times. One thread at a time uses it; Cancel alone may be
/// called from another.
class Script {
 public:
  /// Compiles. Throws ScriptError with the place of what is wrong.
  Script(std::string_view source, const Host& host, const Limits& limits = {});
  ~Script();
  Script(const Script&) = delete;
  Script& operator=(const Script&) = delete;

  /// The number of a Sub or Function, in any letter case; -1 when there is none.
  int FindProcedure(std::string_view name) const;

  /// Runs what stands outside procedures: once, before the first call.
  void RunBody();

  /// Calls a procedure; a Sub's result is Empty. Variables outside procedures keep their values
  /// from one call to the next. Throws ScriptError with the place for an error that the script does
  /// not handle; the script may be called again after it.
  Value Call(int procedure, std::span<const Value> arguments = {});

  /// Ends a running call, and those that come after it, with an error.
  void Cancel();

  /// The memory for values that the host makes for this script.
  Heap& Memory();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace torvik::script
