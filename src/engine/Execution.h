#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "engine/EngineServices.h"
#include "engine/PackageModel.h"
#include "engine/Variables.h"
#include "engine/Workflow.h"

namespace torvik::engine {

/// What happens while a package runs. Texts hold no passwords.
struct ExecutionEvent {
  enum class Kind {
    PackageStarted,
    StepStarted,
    StepProgress,  ///< `rows` so far.
    StepOutput,    ///< `text`: a line of a program.
    StepEnded,     ///< `failed`; `text`: the error's words; `rows` of a task that counts them.
    StepNotRun,    ///< `text` says why.
    Note,          ///< `text`: what became of a transaction.
    Error,         ///< `text`: what failed outside the steps.
    PackageEnded,  ///< `failed`.
  };
  Kind kind;
  std::string step = {};
  std::string text = {};
  bool failed = false;
  std::optional<std::int64_t> rows = {};
  double seconds = 0;  ///< What a step or the package took; set when it has ended.
};

using EventSink = std::function<void(ExecutionEvent)>;

/// One execution of a package. Everything in it must outlive the call.
struct Execution {
  const EngineServices& services;
  const PackageModel& package;
  Variables& variables;
  Workflow& workflow;                        ///< Reset; holds the outcome afterwards.
  std::vector<std::string> runningPackages;  ///< The outermost first, this one last.
  EventSink sink;                            ///< Called on the calling thread.
  const std::atomic<bool>& cancelled;
};

/// Runs every step whose constraints come to hold, one at a time on the calling thread, and ends
/// the package's transaction. Throws PlatformError when the package fails; a failed step alone does
/// not.
void RunExecution(const Execution& execution);

}  // namespace torvik::engine
