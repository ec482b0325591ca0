#include "startup/RunProgress.h"

#include "history/RunRecorder.h"
#include "log/LogForm.h"
#include "log/RunLog.h"
#include "log/StepProgress.h"
#include "platform/CountText.h"
#include "platform/FetchProgress.h"
#include "platform/Messages.h"
#include "startup/Program.h"

namespace torvik {

std::string FetchText(const FetchProgress& progress) {
  return "Remote data : " + Counted(progress.files, "file") + " complete, " +
         BytesText(progress.bytes) + ", " + std::string(progress.file);
}

void TellFetchProgress(Program& program, const FetchProgress& progress) {
  if (!program.form) return;
  program.recorder.FetchProceeds(progress);
  program.form->ShowFetchProgress(progress);
  program.form->SetFormStatus(FetchText(progress));
}

void LetEventsIn(Program& program) {
  program.platform.messages.PumpEvents();
  program.remoteData.HeedStop();
}

void RunProgress::OnStart(std::string_view step) {
  recorder_.StepBegins(step);
  form_.ShowStep({std::string(step), StepState::Running, 0});
  form_.SetFormStatus(std::string(step) + " ...");
}

void RunProgress::OnProgress(std::string_view step, std::int64_t rows) {
  recorder_.StepHasRows(step, rows);
  form_.ShowStep({std::string(step), StepState::Running, rows});
  form_.SetFormStatus(std::string(step) + " : " + Counted(rows, "row"));
}

void RunProgress::OnFetched(std::string_view step, std::int64_t files, std::int64_t bytes) {
  StepProgress progress{std::string(step)};
  progress.files = files;
  progress.bytes = bytes;
  form_.ShowStep(progress);
  form_.SetFormStatus(std::string(step) + " : " + Counted(files, "file") + ", " + BytesText(bytes));
}

void RunProgress::OnFinish(std::string_view step) {
  form_.ShowStep({std::string(step), StepState::Done, 0});
  form_.SetFormStatus(std::string(step) + " : done");
}

void RunProgress::OnFigures(std::string_view step, std::int64_t rows, std::int64_t rejectedRows) {
  recorder_.StepEnds(step, rows, rejectedRows);
  if (rows > 0 || rejectedRows > 0)
    form_.ShowStep({std::string(step), StepState::Running, rows, rejectedRows});
}

void RunProgress::OnNotRun(std::string_view step) {
  recorder_.StepIsLeftOut(step);
  form_.ShowStep({std::string(step), StepState::NotRun});
}

void RunProgress::OnRetry(std::string_view step, std::string_view description) {
  recorder_.StepIsRetried(step, description);
}

void RunProgress::OnError(std::string_view step, std::string_view description) {
  recorder_.StepFails(step, description);
  if (!step.empty()) form_.ShowStep({std::string(step), StepState::Failed, 0});
  form_.ShowProblem(step.empty() ? "package" : std::string(step), std::string(description));
  const std::string where = step.empty() ? "" : "step '" + std::string(step) + "': ";
  messages_.Report(where + std::string(description));
}

void RunProgress::OnLogTrouble(std::string_view description) {
  log_.Missing(std::string(description));
}

void RunProgress::OnIdle() {
  recorder_.Idle();
  messages_.PumpEvents();
}

}  // namespace torvik
