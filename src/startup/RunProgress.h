#pragma once

#include <string>

#include "platform/Dts.h"

namespace torvik {

struct FetchProgress;
class LogForm;
class Messages;
class RunLog;
class RunRecorder;
struct Program;

/// What the status bar shows of the fetching of remote data.
std::string FetchText(const FetchProgress& progress);

/// Records how far the fetching of remote data has come and shows it in the program's form, if it
/// has one.
void TellFetchProgress(Program& program, const FetchProgress& progress);

/// Lets events in while remote data is waited for or comes; throws FetchStopped when one of them
/// has stopped the run.
void LetEventsIn(Program& program);

/// Shows an execution in the form's status bar, records it, and keeps the form responsive
/// meanwhile.
class RunProgress final : public dts::PackageEvents {
 public:
  RunProgress(LogForm& form, RunLog& log, Messages& messages, RunRecorder& recorder)
      : form_(form), log_(log), messages_(messages), recorder_(recorder) {}

  void OnStart(std::string_view step) override;
  void OnProgress(std::string_view step, std::int64_t rows) override;
  void OnFetched(std::string_view step, std::int64_t files, std::int64_t bytes) override;
  void OnFinish(std::string_view step) override;
  void OnFigures(std::string_view step, std::int64_t rows, std::int64_t rejectedRows) override;
  void OnNotRun(std::string_view step) override;
  void OnRetry(std::string_view step, std::string_view description) override;
  void OnError(std::string_view step, std::string_view description) override;
  void OnLogTrouble(std::string_view description) override;
  void OnIdle() override;

 private:
  LogForm& form_;
  RunLog& log_;
  Messages& messages_;
  RunRecorder& recorder_;
};

}  // namespace torvik
