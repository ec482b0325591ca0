#include "log/RunLog.h"

#include "log/LogForm.h"
#include "platform/Files.h"
#include "platform/Messages.h"
#include "platform/Text.h"

namespace torvik {

void RunLog::EchoToLog(std::string_view text) {
  messages_.PumpEvents();
  const std::string line = LineBreaksAsBlanks(text);
  if (form_ == nullptr) return;
  if (const std::string file = form_->ErrorFile(); !file.empty()) Append(file, line);
  form_->ShowLogLine(line);
  messages_.PumpEvents();
}

void RunLog::Append(const std::string& file, const std::string& line) {
  const auto error = files_.AppendText(file, line + "\r\n");
  if (!error || file == reportedFile_) return;
  reportedFile_ = file;
  messages_.Report("cannot write the exception log " + file + ": " + error.message());
}

}  // namespace torvik
