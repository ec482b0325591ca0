#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace torvik {

class Files;
class LogForm;
class Messages;

/// The exception log of the main form: the one way in which a run logs. What of it is missing is
/// said to whoever started the run, and in the log itself as soon as that can be written.
class RunLog {
 public:
  RunLog(Files& files, Messages& messages) : files_(files), messages_(messages) {}

  /// The form must outlive the log.
  void SetForm(LogForm& form) { form_ = &form; }

  /// Appends the text as one line to the exception log, when the form names one, and shows it in
  /// the status bar. Line breaks in the text become blanks. A log that cannot be written is a loss;
  /// the run goes on.
  void EchoToLog(std::string_view text);

  /// The last text, on one line.
  const std::string& LastLine() const { return lastLine_; }

  /// While it is set, lines are shown and not written: the file is another run's.
  void ShowOnly(bool on) { showsOnly_ = on; }

  /// Forgets the losses of an earlier run.
  void BeginRun();
  /// Something else of this run's log is missing; said once.
  void Missing(const std::string& what);
  const std::vector<std::string>& Losses() const { return losses_; }

 private:
  void Append(const std::string& file, const std::string& line);
  bool TellLostLines(const std::string& file);
  bool Lose(const std::string& what);

  Files& files_;
  Messages& messages_;
  LogForm* form_ = nullptr;
  bool showsOnly_ = false;
  std::string lastLine_;
  int lostLines_ = 0;  // of which the log does not tell yet
  std::vector<std::string> losses_;
};

}  // namespace torvik
