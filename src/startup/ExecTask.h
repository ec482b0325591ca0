#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Process.h"

namespace torvik {

class Clock;
class Files;
class Messages;

/// Starts a command line and waits for its end, letting pending events run meanwhile.
class ExecTask {
 public:
  ExecTask(Processes& processes, Clock& clock, Messages& messages)
      : processes_(processes), clock_(clock), messages_(messages) {}

  /// Starts `program`. Arguments that are not blank follow it as they stand, in one pair of double
  /// quotes. 0 when the program cannot be started.
  ProcessHandle StartProcess(const std::string& program, const std::string& arguments);

  /// False when the process has ended; its handle is then released and set to 0.
  bool IsProcessRunning(ProcessHandle& process);

  /// Returns when the program has ended, at once when it cannot be started.
  void RunAndWait(const std::string& program, const std::string& arguments);

 private:
  Processes& processes_;
  Clock& clock_;
  Messages& messages_;
};

enum class StepState { Running, Done, Failed };

/// How a step of a running package stands.
struct StepProgress {
  std::string step;
  StepState state = StepState::Running;
  std::int64_t rows = 0;  ///< So far; 0 for a step that counts none.
};

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
  /// Shows how a step of the running package stands.
  virtual void ShowStep(const StepProgress&) {}
};

/// The exception log of the main form: the one way in which a run logs.
class RunLog {
 public:
  RunLog(Files& files, Messages& messages) : files_(files), messages_(messages) {}

  /// The form must outlive the log.
  void SetForm(LogForm& form) { form_ = &form; }

  /// Appends the text as one line to the exception log, when the form names one, and shows it in
  /// the status bar. Line breaks in the text become blanks. A log that cannot be written is
  /// reported once; the run goes on.
  void EchoToLog(std::string_view text);

 private:
  void Append(const std::string& file, const std::string& line);

  Files& files_;
  Messages& messages_;
  LogForm* form_ = nullptr;
  std::string reportedFile_;
};

}  // namespace torvik
