#include "engine/model/EngineServices.h"
#include "engine/model/TaskReader.h"
#include "engine/model/Variables.h"
#include "engine/tasks/Tasks.h"
#include "platform/PlatformError.h"
#include "platform/Process.h"
#include "platform/Secrets.h"

namespace torvik::engine {
namespace {

PlatformError JobError(const std::string& text) {
  return {0, text, "package engine"};
}

/// What a front end says of a run: its lines, and behind the word the reason.
class RunWords {
 public:
  /// False for the word and what is behind it.
  bool Add(std::string_view line) {
    const bool isWord = !hasWord_ && (line == "ok" || line == "failure");
    if (hasWord_) reason_ += (reason_.empty() ? "" : "; ") + std::string(line);
    hasWord_ = hasWord_ || isWord;
    last_ = line;
    return !hasWord_;
  }
  /// Without a word the last line is all that is known.
  const std::string& Reason() const { return hasWord_ ? reason_ : last_; }

 private:
  bool hasWord_ = false;
  std::string reason_, last_;
};

/// A job of its own process: with its own log, status file, locks and record in the history.
class RunJobTask final : public Task {
 public:
  explicit RunJobTask(TaskReader& reader)
      : job_(reader.RequiredTemplate("job", TextUse::ProcessList)),
        statusFile_(reader.Template("status_file", TextUse::ProcessList).value_or(PlacedText{})),
        variables_(reader.VariableTemplates("variables")) {
    for (const auto& [name, text] : variables_) {
      reader.RefusePassword(text, "process lists");
      if (IsPasswordName(name) && !RefersToSecret(text.text))
        reader.Problem(text.place, "the password " + Quoted(name) +
                                       " would show in process lists; refer to it (file:PATH or "
                                       "credential:NAME), or put it into the job's [Variables]");
    }
  }

  bool CanJoin() const override { return false; }
  std::string Describe() const override { return job_.text; }
  std::optional<JobCall> Job() const override {
    JobCall call{job_.text, statusFile_.text, {}};
    for (const auto& [name, text] : variables_) call.variables.emplace_back(name, text.text);
    return call;
  }

  TaskResult Run(TaskContext& context) const override {
    const ProcessRequest request = RequestFor(context);
    const std::string& job = request.arguments[1];
    RunWords words;
    const ProcessExit exit = context.Services().processes.Run(request, [&](std::string_view line) {
      if (words.Add(line)) context.Output(line);
    });
    if (!exit.started) throw JobError("no job can be run: " + request.program + ": " + exit.error);
    if (exit.exitCode == 0) return std::nullopt;
    const std::string reason = words.Reason().empty() ? "" : ": " + words.Reason();
    PlatformError error = JobError("the job " + Quoted(job) +
                                   (exit.exitCode == 1 ? " failed" : " has no verdict") + reason);
    error.isTransient = !exit.cancelled;  // the step's own retries decide
    throw error;
  }

 private:
  /// A job that is to end does so behind the steps that run: what they have done counts.
  ProcessRequest RequestFor(TaskContext& context) const {
    const Variables& own = context.GlobalVariables();
    if (context.Services().jobRunner.empty())
      throw JobError("no job can be run here: the program torvik-admin is not known");
    ProcessRequest request;
    request.program = context.Services().jobRunner;
    request.arguments = {"run", own.Substitute(job_.text), "--quiet"};
    if (const std::string file = own.Substitute(statusFile_.text); !file.empty())
      request.arguments.insert(request.arguments.end(), {"--statusfile", file});
    for (const auto& [name, text] : variables_)
      request.arguments.insert(request.arguments.end(),
                               {"--var", name + "=" + own.Substitute(text.text)});
    request.cancelled = &context.Cancelled();
    request.isPatient = true;
    return request;
  }

  PlacedText job_;
  PlacedText statusFile_;
  std::vector<std::pair<std::string, PlacedText>> variables_;  // theirs
};

}  // namespace

std::unique_ptr<Task> ReadRunJobTask(TaskReader& reader) {
  return std::make_unique<RunJobTask>(reader);
}

}  // namespace torvik::engine
