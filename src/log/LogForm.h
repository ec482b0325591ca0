#pragma once

#include <string>
#include <vector>

namespace torvik {

namespace dts {
struct StepOutline;
}
struct FetchProgress;
struct FetchStatus;
struct StepProgress;

/// What the log writer, and a run, need of the main form.
class LogForm {
 public:
  virtual ~LogForm() = default;
  /// The exception log that the form names at this moment; may be empty.
  virtual std::string ErrorFile() const = 0;
  /// Shows a text in the status bar and handles pending events.
  virtual void SetFormStatus(const std::string& text) = 0;
  /// Shows a line that has gone to the log, in the status bar too.
  virtual void ShowLogLine(const std::string& line) { SetFormStatus(line); }
  /// Shows why something has failed: `place` is a step, "package", "data links" or the like.
  virtual void ShowProblem(const std::string& /*place*/, const std::string& /*reason*/) {}
  /// Shows the steps of the package that is about to run.
  virtual void ShowPackage(const std::vector<dts::StepOutline>&) {}
  /// Shows how a step of the running package stands.
  virtual void ShowStep(const StepProgress&) {}
  /// Shows that files are to be fetched for a data link, or how that has ended.
  virtual void ShowFetch(const FetchStatus&) {}
  /// Shows how far the fetching that was shown last has come.
  virtual void ShowFetchProgress(const FetchProgress&) {}
};

}  // namespace torvik
