#include "alarms/AlarmTexts.h"

#include <ctime>
#include <nlohmann/json.hpp>

#include "alarms/JobName.h"
#include "history/RunJson.h"

namespace torvik {
namespace {

/// In the machine's time zone, whatever the locale is.
std::string LocalText(Moment moment) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(moment);
  char text[40];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S %z", std::localtime(&seconds))};
}

const char* WordOf(RunChange change) {
  switch (change) {
    case RunChange::None: return "none";
    case RunChange::Failed: return "failed";
    case RunChange::Recovered: break;
  }
  return "recovered";
}

std::string TableLine(std::string label, const std::string& value) {
  label.resize(11, ' ');
  return value.empty() ? "" : label + ControlsAsBlanks(value) + "\n";
}

std::string Duration(const RunRecord& run) {
  if (!run.end) return "";
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(*run.end - run.begin);
  return ", " + std::to_string(seconds.count()) + " seconds";
}

std::string TableOf(const RunRecord& run) {
  return TableLine("Job", run.job) +
         TableLine("Package", run.package.empty() || run.packageServer.empty()
                                  ? run.package
                                  : run.package + " on " + run.packageServer) +
         TableLine("Machine", run.host) +
         TableLine("Run", (run.id == 0 ? "" : std::to_string(run.id) + ", ") + "from " +
                              LocalText(run.begin) + Duration(run)) +
         TableLine("Step", run.failedStep) + TableLine("Error", run.error) +
         TableLine("Log", run.logFile);
}

std::string WhereMoreIsSaid(const RunRecord& run) {
  if (run.id == 0) return "\nThe history could not be written, so nothing more is known of it.\n";
  return "\nMore is said by\n\n    torvik-admin history show " + std::to_string(run.id) + "\n";
}

std::string SubjectOf(const RunRecord& run, const std::string& what) {
  return ControlsAsBlanks("Torvik: " + JobName(run.job) + " " + what +
                          (run.host.empty() ? "" : " on " + run.host));
}

}  // namespace

std::string ReasonOf(const RunRecord& run) {
  std::string reason = run.error;
  if (reason.empty() && run.outcome == RunOutcome::Lost)
    reason = "the run ended without a verdict: its process is gone";
  if (!run.failedStep.empty())
    reason = "step \"" + run.failedStep + "\"" + (reason.empty() ? "" : ": " + reason);
  return ControlsAsBlanks(reason.empty() ? "the run did not succeed" : reason);
}

MailMessage MailAbout(const RunRecord& run, RunChange change, std::size_t failures,
                      std::string_view logTail) {
  MailMessage mail;
  const std::string name = ControlsAsBlanks(JobName(run.job));
  if (change == RunChange::Recovered) {
    mail.subject = SubjectOf(run, "has succeeded again");
    mail.text = "The job " + name + " has succeeded, after " + std::to_string(failures) +
                (failures == 1 ? " run that failed.\n\n" : " runs that failed.\n\n") + TableOf(run);
    return mail;
  }
  mail.subject = SubjectOf(run, "has failed");
  mail.text = "The job " + name + " did not succeed: " + ReasonOf(run) + "\n\n" + TableOf(run) +
              WhereMoreIsSaid(run) +
              "\nThe next mail about this job comes when it has succeeded again.\n";
  if (!logTail.empty()) mail.text += "\nThe last lines of its log:\n\n" + std::string(logTail);
  return mail;
}

std::string JsonLineOf(const RunRecord& run, RunChange change) {
  nlohmann::ordered_json json = JsonOf(run, true);
  json["change"] = WordOf(change);
  return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace torvik
