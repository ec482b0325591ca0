#pragma once

#include <string>
#include <string_view>

namespace torvik {

class Files;
class LogForm;
class Messages;

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
