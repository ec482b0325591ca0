#include "engine/run/PackageLog.h"

#include <cstdio>

#include "engine/model/LogFiles.h"
#include "engine/model/Problems.h"
#include "platform/Clock.h"
#include "platform/Files.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

/// How a step or package ended.
std::string Ending(const ExecutionEvent& event) {
  if (event.failed)
    return " failed after " + SecondsText(event.seconds) + (event.text.empty() ? "" : ": ") +
           event.text;
  const auto count = [](std::int64_t rows, const char* what) {
    return std::to_string(rows) + what;
  };
  return " succeeded: " + (event.rows ? count(*event.rows, " rows, ") : "") +
         (event.text.empty() ? "" : event.text + ", ") +
         (event.rejected > 0 ? count(event.rejected, " rejected, ") : "") +
         SecondsText(event.seconds);
}

}  // namespace

std::string SecondsText(double seconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3f seconds", seconds);
  return text;
}

PackageLog::PackageLog(const EngineServices& services, const std::string& packageName,
                       const Variables& variables,
                       std::function<void(const std::string&)> onTrouble)
    : services_(services),
      packageName_(packageName),
      path_(InLogDirectory(variables, packageName + ".log")),
      onTrouble_(std::move(onTrouble)) {}

void PackageLog::Handle(const ExecutionEvent& event) {
  using Kind = ExecutionEvent::Kind;
  const bool isProgress = event.kind == Kind::StepProgress || event.kind == Kind::StepFetches;
  if (path_.empty() || isProgress) return;
  Append(LogTime(services_.clock.LocalTime()) + " " + ControlsAsBlanks(LineOf(event)));
}

std::string PackageLog::LineOf(const ExecutionEvent& event) const {
  using Kind = ExecutionEvent::Kind;
  const std::string package = "Package " + Quoted(packageName_);
  const std::string step = "Step " + Quoted(event.step);
  switch (event.kind) {
    case Kind::PackageStarted: return package + " started";
    case Kind::StepStarted: return step + " started";
    case Kind::StepRetried:
      return step + " failed after " + SecondsText(event.seconds) + ": " + event.text;
    case Kind::StepOutput: return step + ": " + event.text;
    case Kind::StepEnded: return step + Ending(event);
    case Kind::StepNotRun: return step + " did not run: " + event.text;
    case Kind::PackageEnded: return package + Ending(event);
    case Kind::StepProgress:
    case Kind::StepFetches:
    case Kind::Note:
    case Kind::LogTrouble:
    case Kind::Error: break;
  }
  return package + ": " + event.text;
}

void PackageLog::Append(std::string_view line) {
  const std::error_code error = services_.files.AppendText(path_, std::string(line) + "\r\n");
  if (!error) return;
  onTrouble_("the package's log " + Quoted(path_) + " cannot be written: " + error.message() +
             "; the run goes on without it");
  path_.clear();
}

}  // namespace torvik::engine
