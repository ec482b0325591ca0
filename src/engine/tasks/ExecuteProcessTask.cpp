#include <algorithm>

#include "engine/model/EngineServices.h"
#include "engine/model/TaskReader.h"
#include "engine/model/Variables.h"
#include "engine/tasks/Tasks.h"
#include "platform/PlatformError.h"
#include "platform/Process.h"

namespace torvik::engine {
namespace {

class ExecuteProcessTask final : public Task {
 public:
  explicit ExecuteProcessTask(TaskReader& reader)
      : program_(reader.RequiredTemplate("program", TextUse::ProcessList)),
        arguments_(reader.Templates("arguments", TextUse::ProcessList)),
        workingDirectory_(reader.Template("working_directory").value_or(PlacedText{})),
        successCodes_(SuccessCodes(reader)) {}

  /// What a program changes is its own affair.
  bool CanJoin() const override { return false; }

  std::string Describe() const override {
    std::string line = program_.text;
    for (const PlacedText& argument : arguments_) line += " " + argument.text;
    return line;
  }

  TaskResult Run(TaskContext& context) const override {
    const Variables& variables = context.GlobalVariables();
    ProcessRequest request;
    request.program = variables.Substitute(program_.text);
    for (const PlacedText& argument : arguments_)
      request.arguments.push_back(variables.Substitute(argument.text));
    request.workingDirectory = variables.Substitute(workingDirectory_.text);
    request.cancelled = &context.Cancelled();
    const ProcessExit exit = context.Services().processes.Run(
        request, [&](std::string_view line) { context.Output(line); });
    if (!exit.started)
      throw PlatformError(
          0, "the program " + Quoted(request.program) + " cannot be started: " + exit.error,
          "package engine");
    if (exit.cancelled)
      throw PlatformError(0,
                          "the program " + Quoted(request.program) +
                              " was ended before it was done, because the step is to end",
                          "package engine");
    if (std::find(successCodes_.begin(), successCodes_.end(), exit.exitCode) == successCodes_.end())
      throw PlatformError(exit.exitCode,
                          "the program " + Quoted(request.program) + " ended with exit code " +
                              std::to_string(exit.exitCode) +
                              ", which is not one of success_codes; its output is in the "
                              "package's log",
                          "package engine");
    return std::nullopt;
  }

 private:
  static std::vector<std::int64_t> SuccessCodes(TaskReader& reader) {
    const TomlArray* array = reader.Table().Array("success_codes");
    if (array == nullptr) return {0};
    std::vector<std::int64_t> codes;
    for (const TomlValue& element : *array) {
      if (const auto* code = std::get_if<std::int64_t>(&element.data)) {
        codes.push_back(*code);
      } else {
        reader.Problem(element.place, std::string("an element of \"success_codes\" is ") +
                                          KindOf(element) + "; write an integer");
      }
    }
    return codes;
  }

  PlacedText program_;
  std::vector<PlacedText> arguments_;
  PlacedText workingDirectory_;
  std::vector<std::int64_t> successCodes_;
};

}  // namespace

std::unique_ptr<Task> ReadExecuteProcessTask(TaskReader& reader) {
  return std::make_unique<ExecuteProcessTask>(reader);
}

}  // namespace torvik::engine
