#include "log/RunLog.h"

#include "log/LogForm.h"
#include "platform/CountText.h"
#include "platform/Files.h"
#include "platform/Messages.h"
#include "platform/Text.h"

namespace torvik {

void RunLog::EchoToLog(std::string_view text) {
  messages_.PumpEvents();
  const std::string line = lastLine_ = LineBreaksAsBlanks(text);
  if (form_ == nullptr) return;
  if (const std::string file = form_->ErrorFile(); !showsOnly_ && !file.empty()) Append(file, line);
  form_->ShowLogLine(line);
  messages_.PumpEvents();
}

void RunLog::Append(const std::string& file, const std::string& line) {
  std::error_code error;
  if (TellLostLines(file)) error = files_.AppendText(file, line + "\r\n");
  if (!error && lostLines_ == 0) return;
  ++lostLines_;
  if (error) Lose("cannot write the exception log " + file + ": " + error.message());
}

/// True when the log is whole again, but for what it says.
bool RunLog::TellLostLines(const std::string& file) {
  if (lostLines_ == 0) return true;
  // What was written of the first of them may have left half a line.
  const std::string words =
      "\r\nError: " + Counted(lostLines_, "line") + " of this log could not be written\r\n";
  if (files_.AppendText(file, words)) return false;
  lostLines_ = 0;
  return true;
}

void RunLog::BeginRun() {
  losses_.clear();
  lostLines_ = 0;
}

void RunLog::Missing(const std::string& what) {
  if (Lose(what)) EchoToLog("Error: the log is incomplete: " + what);
}

bool RunLog::Lose(const std::string& what) {
  if (std::ranges::find(losses_, what) != losses_.end()) return false;
  losses_.push_back(what);
  messages_.Report(what);
  if (form_ != nullptr) form_->ShowProblem("log", what);
  return true;
}

}  // namespace torvik
