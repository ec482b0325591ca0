#include "admin/jobs/FromAgent.h"

#include <filesystem>

#include "admin/common/Admin.h"
#include "import/SourceLines.h"
#include "migrate/AgentScript.h"
#include "platform/PlatformError.h"
#include "platform/ShellWord.h"
#include "platform/Text.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

/// What came of one dtsrun line.
struct StepResult {
  std::string step, file, package, problem;
  std::vector<std::string> remarks;
};

/// What came of one Agent job.
struct JobResult {
  std::vector<StepResult> steps;
  std::vector<std::string> commands;  ///< That schedule its job files.
  std::vector<std::string> remarks;

  bool HasProblem() const {
    for (const StepResult& step : steps)
      if (!step.problem.empty()) return true;
    return false;
  }
};

std::string PlaceOf(const DtsrunOptions& options, int line) {
  return options.line + ", line " + std::to_string(line) + ": ";
}

/// A job's first file is named after its package, the later ones of that package by numbers.
std::string FreeFile(LinuxPlatform& platform, const std::string& directory,
                     const std::string& package) {
  const std::string begin = directory.empty() ? package : directory + "/" + package;
  std::string file = begin + ".etl";
  FileStatus status;
  for (int number = 2; !platform.files->Status(file, status); ++number)
    file = begin + "-" + std::to_string(number) + ".etl";
  return file;
}

StepResult WriteStep(LinuxPlatform& platform, const std::string& step, const std::string& line,
                     const DtsrunOptions& options) {
  StepResult result{step, {}, {}, {}, {}};
  try {
    const migrate::DtsrunLine read = migrate::ReadDtsrunLine(line);
    result.package = read.package;
    if (read.package.find_first_of("/\\") != read.package.npos)
      throw PlatformError(0, "the package's name cannot be that of a job file", "job from-agent");
    DtsrunOptions own = options;
    own.output = FreeFile(platform, options.output, read.package);
    NewJobOfDtsrun made = MakeJobOf(platform, read, own);
    result.file = made.file;
    result.remarks = std::move(made.remarks);
  } catch (const PlatformError& error) {
    result.problem = error.Description();
  }
  return result;
}

std::string ScheduleCommand(const std::string& file, const std::vector<std::string>& times) {
  std::string command =
      "torvik-admin job schedule " + ShellWord(std::filesystem::path(file).stem().string());
  for (const std::string& time : times) command += " " + ShellWord(time);
  return command;
}

/// Only the first of several job files is scheduled; the others ran behind it.
void AddSchedules(const migrate::AgentJob& job, JobResult& result) {
  std::vector<std::string> files, times;
  for (const StepResult& step : result.steps)
    if (!step.file.empty()) files.push_back(step.file);
  if (files.empty()) return;
  for (const migrate::AgentSchedule& schedule : job.schedules) {
    const migrate::CalendarTimes read = migrate::TimesOf(schedule);
    times.insert(times.end(), read.times.begin(), read.times.end());
    if (!read.problem.empty())
      result.remarks.push_back("schedule \"" + schedule.name + "\": " + read.problem);
  }
  if (!times.empty()) result.commands.push_back(ScheduleCommand(files[0], times));
  if (files.size() > 1)
    result.remarks.push_back("its " + std::to_string(files.size()) +
                             " packages ran one behind the other: make a night of their job files "
                             "(torvik-admin night new) and schedule that in place of the first");
  if (!job.isEnabled) result.remarks.emplace_back("the job was disabled");
}

JobResult WriteJob(LinuxPlatform& platform, const migrate::AgentJob& job,
                   const DtsrunOptions& options) {
  JobResult result;
  for (const migrate::AgentStep& step : job.steps) {
    const std::vector<migrate::DtsrunText> lines = migrate::DtsrunLinesIn(step.command);
    for (const migrate::DtsrunText& line : lines) {
      result.steps.push_back(WriteStep(platform, step.name, line.text, options));
      StepResult& made = result.steps.back();
      if (!made.problem.empty())
        made.problem = PlaceOf(options, step.line + line.line - 1) + made.problem;
    }
    if (lines.empty())
      result.remarks.push_back(PlaceOf(options, step.line) + "the step \"" + step.name + "\" (" +
                               step.subsystem + ") runs no package; it is left out");
  }
  AddSchedules(job, result);
  return result;
}

std::string SentencesOf(const migrate::AgentJob& job, const JobResult& result) {
  std::string text = "job \"" + job.name + "\"";
  for (const StepResult& step : result.steps) {
    if (!step.file.empty()) text += "\n  " + step.file + ": package " + step.package;
    if (!step.problem.empty()) text += "\n  " + step.problem;
    for (const std::string& remark : step.remarks) text += "\n    " + remark;
  }
  for (const std::string& remark : result.remarks) text += "\n  " + remark;
  for (const std::string& command : result.commands)
    text += "\n  to start it as before, from /etc/torvik/jobs: " + command;
  return text;
}

Json JsonOf(const migrate::AgentJob& job, const JobResult& result) {
  Json steps = Json::array();
  for (const StepResult& step : result.steps)
    steps.push_back({{"step", step.step},
                     {"job", step.file},
                     {"package", step.package},
                     {"problem", step.problem},
                     {"remarks", step.remarks}});
  return {{"name", job.name},
          {"enabled", job.isEnabled},
          {"steps", steps},
          {"schedule", result.commands},
          {"remarks", result.remarks}};
}

/// The dtsrun lines of a batch file are those of one job.
migrate::AgentScript ScriptOf(const std::string& file, const std::string& text) {
  const std::string ending = LowerAscii(std::filesystem::path(file).extension().string());
  if (ending != ".bat" && ending != ".cmd") return migrate::ReadAgentScript(text);
  migrate::AgentJob job;
  job.name = file;
  if (!migrate::DtsrunLinesIn(text).empty()) job.steps.push_back({"", "", text, 1});
  migrate::AgentScript script;
  if (!job.steps.empty()) script.jobs.push_back(std::move(job));
  return script;
}

}  // namespace

int WriteJobsOfAgent(LinuxPlatform& platform, const DtsrunOptions& options, bool json) {
  const migrate::AgentScript script =
      ScriptOf(options.line, importing::DecodedSource(ReadText(*platform.files, options.line)));
  if (script.jobs.empty())
    throw PlatformError(0,
                        options.line +
                            ": there is no call of sp_add_job in it; script the jobs in "
                            "the server's tools, to create them",
                        "job from-agent");
  std::string text;
  Json jobs = Json::array(), notes = Json::array();
  bool hasProblem = false;
  for (const migrate::AgentJob& job : script.jobs) {
    const JobResult result = WriteJob(platform, job, options);
    hasProblem = hasProblem || result.HasProblem();
    text += (text.empty() ? "" : "\n") + SentencesOf(job, result);
    jobs.push_back(JsonOf(job, result));
  }
  for (const migrate::ScriptNote& note : script.notes) {
    text += "\n" + PlaceOf(options, note.line) + note.text;
    notes.push_back({{"line", note.line}, {"text", note.text}});
  }
  PrintResult({{"jobs", jobs}, {"notes", notes}}, text, json);
  return hasProblem ? 1 : 0;
}

}  // namespace torvik::admin
