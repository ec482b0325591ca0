#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/model/EngineServices.h"
#include "engine/model/PackageModel.h"
#include "engine/model/Variables.h"
#include "engine/run/Workflow.h"

namespace torvik::engine {

/// What happens while a package runs. Texts hold no passwords.
struct ExecutionEvent {
  enum class Kind {
    PackageStarted,
    StepStarted,
    StepProgress,  ///< `rows` so far.
    StepFetches,   ///< `files` and `bytes` so far.
    StepRetried,   ///< `text`: the error's words and when the next attempt follows.
    StepOutput,    ///< `text`: a line of a program.
    StepEnded,  ///< `failed`; `text`: the error's words, or the task's details; `rows`, `rejected`.
    StepNotRun,    ///< `text` says why.
    Note,          ///< `text`: what became of a transaction.
    Error,         ///< `text`: what failed outside the steps.
    LogTrouble,    ///< `text`: what of the package's log is missing, and why.
    PackageEnded,  ///< `failed`.
  };
  Kind kind;
  std::string step = {};
  std::string text = {};
  bool failed = false;
  std::optional<std::int64_t> rows = {};
  std::int64_t rejected = 0;
  std::int64_t files = 0, bytes = 0;
  double seconds = 0;  ///< What a step, an attempt or the package took; set when it has ended.
};

using EventSink = std::function<void(ExecutionEvent)>;

/// Reads a step's task from keys that a script has changed; throws what is wrong with them.
using TaskReading = std::unique_ptr<const Task> (*)(const PackageModel& package,
                                                    const StepModel& step, const TomlTable& keys);

/// One execution of a package. Everything in it must outlive the call.
struct ExecutionRequest {
  const EngineServices& services;
  const PackageModel& package;
  Variables& variables;
  Workflow& workflow;                        ///< Reset; holds the outcome afterwards.
  std::vector<std::string> runningPackages;  ///< The outermost first, this one last.
  EventSink sink;  ///< Called on the threads of the steps, by one at a time.
  const std::atomic<bool>& cancelled;
  bool onOneThread = false;        ///< Every step runs on the calling one, and so does `sink`.
  TaskReading readTask = nullptr;  ///< Null: tasks stay as they are.
};

/// Runs every step whose constraints come to hold, as many at once as the package allows, and ends
/// the package's transaction. Returns when no step runs any more. Throws PlatformError when the
/// package fails; a failed step alone does not.
void ExecutePackage(const ExecutionRequest& request);

}  // namespace torvik::engine
