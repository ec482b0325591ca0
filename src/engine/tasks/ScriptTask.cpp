#include "engine/model/EngineServices.h"
#include "engine/model/PackageScript.h"
#include "engine/model/PeriodicThread.h"
#include "engine/tasks/Tasks.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

/// DTSTaskExecResult of the package object model.
enum class TaskExecResult : long { Success = 0, Failure = 1, RetryStep = 2 };

class ScriptTask final : public Task {
 public:
  explicit ScriptTask(TaskReader& reader) : source_(ReadScript(reader, "script", "function")) {}

  bool CanJoin() const override { return false; }
  bool SetsVariables() const override { return true; }
  std::string WhyNot() const override { return source_.lacks; }

  TaskResult Run(TaskContext& context) const override {
    PackageScript script(source_, {context.GlobalVariables(), context.Services(), context.Package(),
                                   context.Step()});
    const PeriodicThread watch([&] {
      if (context.Cancelled()) script.Cancel();
    });
    const long result = script.CallForNumber("the script failed");
    switch (static_cast<TaskExecResult>(result)) {
      case TaskExecResult::Success: return {};
      case TaskExecResult::Failure:
        throw PlatformError(0, "the script answers that it has failed", "script");
      case TaskExecResult::RetryStep: {
        PlatformError again(0, "the script asks to be run again", "script");
        again.isTransient = true;
        throw again;
      }
    }
    throw PlatformError(0,
                        "the script answers " + std::to_string(result) +
                            ", which is no DTSTaskExecResult; answer DTSTaskExecResult_Success",
                        "script");
  }

 private:
  const ScriptSource source_;
};

}  // namespace

std::unique_ptr<Task> ReadScriptTask(TaskReader& reader) {
  return std::make_unique<ScriptTask>(reader);
}

}  // namespace torvik::engine
