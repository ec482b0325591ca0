#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "engine/model/EngineServices.h"
#include "engine/model/PackageControl.h"
#include "engine/model/Problems.h"
#include "engine/model/ScriptClasses.h"
#include "platform/CommandText.h"
#include "platform/PlatformError.h"
#include "platform/Process.h"
#include "script/Conversion.h"
#include "script/Functions.h"
#include "script/Object.h"

namespace torvik::engine {
namespace {

using script::Value;
using ShellArguments = std::span<const Value>;

PlatformError ShellError(const std::string& reason) {
  return PlatformError(0, reason, "WScript.Shell");
}

/// Variables of the environment, by name.
class EnvironmentObject final : public script::Object {
 public:
  explicit EnvironmentObject(Processes& processes) : processes_(processes) {}

  std::string_view TypeName() const override { return "WshEnvironment"; }
  int FindMember(std::string_view name) const override {
    static constexpr std::string_view kMembers[] = {"item"};
    return script::MemberNamed(kMembers, name);
  }
  Value Invoke(script::Context& context, int, ShellArguments arguments) override {
    script::ExpectArguments(arguments, 1, 1);
    return script::NewText(
        context, processes_.EnvironmentVariable(script::ToText(arguments[0])).value_or(""));
  }

 private:
  Processes& processes_;
};

class ShellObject final : public script::Object {
 public:
  explicit ShellObject(std::shared_ptr<ScriptHost> host) : host_(std::move(host)) {}

  std::string_view TypeName() const override { return "IWshShell3"; }
  int FindMember(std::string_view name) const override {
    static constexpr std::string_view kMembers[] = {"run", "expandenvironmentstrings",
                                                    "environment", "currentdirectory"};
    // None is the default one.
    return name.empty() ? NoMember : script::MemberNamed(kMembers, name);
  }

  Value Invoke(script::Context& context, int member, ShellArguments arguments) override {
    const bool needsText = member == kRun || member == kExpand;
    script::ExpectArguments(arguments, needsText ? 1 : 0,
                            member == kRun         ? 3
                            : member == kDirectory ? 0
                                                   : 1);
    switch (member) {
      case kRun: return Value::OfLong(Run(arguments));
      case kExpand: return script::NewText(context, Expanded(script::ToText(arguments[0])));
      // The argument names whose environment: here it is always the program's own.
      case kEnvironment: return script::NewObject<EnvironmentObject>(host_->services.processes);
      default: return script::NewText(context, directory_);
    }
  }

  void Put(script::Context&, int member, ShellArguments, const Value& value) override {
    if (member != kDirectory) throw script::RuntimeError(450);
    directory_ = script::ToText(value);
  }

 private:
  enum Member { kRun, kExpand, kEnvironment, kDirectory };

  /// Run(command, window style, whether to wait): nothing goes on behind a step's end, so that it
  /// waits in any case.
  std::int32_t Run(ShellArguments arguments) {
    const std::string command = Expanded(script::ToText(arguments[0]));
    const ProcessExit exit = Ended(command);
    const bool wantsCode = arguments.size() > 2 && !arguments[2].Is(script::Kind::Missing) &&
                           script::ToBoolean(arguments[2]);
    if (!wantsCode && exit.exitCode != 0)
      host_->package.WriteLog(host_->step, "the program of " + Quoted(command) +
                                               " ended with exit code " +
                                               std::to_string(exit.exitCode));
    return wantsCode ? exit.exitCode : 0;
  }

  ProcessExit Ended(const std::string& command) const {
    if (!host_->services.scriptsMayStartPrograms)
      throw ShellError(
          "scripts may not start programs on this machine; use a step with the task "
          "ExecuteProcess, or have its administrator write \"shell = yes\" into [scripts] of "
          "torvik.conf");
    host_->RefusePasswords(command, "process lists");
    std::vector<std::string> words = SplitCommandText(command);
    if (words.empty()) throw ShellError("Run has an empty command");
    ProcessRequest request;
    request.program = std::move(words.front());
    request.arguments.assign(std::make_move_iterator(words.begin() + 1),
                             std::make_move_iterator(words.end()));
    request.workingDirectory = directory_;
    request.cancelled = &host_->cancelled;
    const ProcessExit exit = host_->services.processes.Run(
        request, [&](std::string_view line) { host_->package.WriteLog(host_->step, line); });
    if (!exit.started)
      throw ShellError("the program " + Quoted(request.program) +
                       " cannot be started: " + exit.error);
    if (exit.cancelled)
      throw ShellError("the program " + Quoted(request.program) +
                       " was ended before it was done, because the step is to end");
    return exit;
  }

  /// With the value of each %NAME% that the environment has.
  std::string Expanded(const std::string& text) const {
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
      const std::size_t end = text[at] == '%' ? text.find('%', at + 1) : text.npos;
      const auto value =
          end == text.npos
              ? std::nullopt
              : host_->services.processes.EnvironmentVariable(text.substr(at + 1, end - at - 1));
      if (value) {
        result += *value;
        at = end + 1;
      } else {
        result += text[at++];
      }
    }
    return result;
  }

  const std::shared_ptr<ScriptHost> host_;
  std::string directory_;  ///< In which programs are started; empty: the job's own.
};

}  // namespace

Value NewShell(const std::shared_ptr<ScriptHost>& host) {
  return script::NewObject<ShellObject>(host);
}

}  // namespace torvik::engine
