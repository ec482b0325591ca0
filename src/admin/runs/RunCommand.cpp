#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

#include "admin/common/Admin.h"
#include "admin/common/RunTexts.h"
#include "admin/common/ScratchDirectory.h"
#include "admin/common/Secrets.h"
#include "admin/jobs/JobFile.h"
#include "admin/runs/AlarmsCommand.h"
#include "admin/runs/StatusCopy.h"
#include "history/RunJson.h"
#include "platform/Files.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/system/FrontEnd.h"
#include "platform/linux/system/Posix.h"
#include "platform/linux/system/ProcessSetup.h"
#include "platform/linux/system/ProgramBeside.h"

namespace torvik::admin {
namespace {

enum ExitCode : int { RunOk = 0, RunFailure = 1, RunWithoutVerdict = 3 };

volatile sig_atomic_t childToSignal = 0;
volatile sig_atomic_t mustEnd = 0;

void ForwardSignal(int signal) {
  mustEnd = 1;
  if (childToSignal != 0) kill(childToSignal, signal);
}

/// A pipe that no child inherits unless it is given to it.
struct Pipe {
  Pipe() {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0)
      throw PlatformError(errno, std::string("no pipe can be made: ") + std::strerror(errno),
                          "run");
    reading = Descriptor(ends[0]);
    writing = Descriptor(ends[1]);
  }
  Descriptor reading, writing;
};

pid_t StartRunner(const std::string& runner, const std::string& job, const std::string& status,
                  int frontEnd, bool showsProgress) {
  std::vector<std::string> arguments = {runner, "-configfile", job, "-statusfile", status};
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  setenv("TORVIK_STARTED_BY", "torvik-admin run", 1);
  if (showsProgress)
    setenv("TORVIK_PROGRESS", "1", 1);
  else
    unsetenv("TORVIK_PROGRESS");
  setenv(kFrontEndVariable, std::to_string(frontEnd).c_str(), 1);
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_adddup2(&files, frontEnd, frontEnd);  // the runner inherits it
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  pid_t child = 0;
  const int error = posix_spawn(&child, runner.c_str(), &files, &attributes, argv.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&files);
  if (error != 0) {
    throw PlatformError(error, runner + " cannot be started: " + std::strerror(error), "run");
  }
  return child;
}

std::string FirstWord(const std::string& path) {
  std::ifstream file(path);
  std::string word;
  file >> word;
  return word;
}

/// A run that has left its word was not lost: its end could not be written to the history.
void SetVerdict(RunRecord& record, int exitCode) {
  if (record.outcome != RunOutcome::Lost || exitCode == RunWithoutVerdict) return;
  record.outcome = exitCode == RunOk ? RunOutcome::Ok : RunOutcome::Failure;
  record.error = "how the run ended could not be written to the history; see its log";
}

/// The run as the history has it; a runner that was killed is told as lost there from now on, and
/// its alarms are raised here. Answers why the run has failed, as far as it is known.
std::string AddRecord(LinuxPlatform& platform, std::int64_t run, int exitCode, bool wasKilled,
                      Json& result) {
  if (run == 0) return {};
  try {
    auto record = platform.history->Run(run);
    if (!record) return {};
    const bool isLost = record->outcome == RunOutcome::Lost;
    SetVerdict(*record, exitCode);
    result["run"] = JsonOf(*record, true);
    if (wasKilled || isLost)
      for (const std::string& problem : RaiseDueAlarms(platform).problems) Warn(problem);
    return ReasonText(*record);
  } catch (const PlatformError& error) {
    Warn("the history: " + error.Description());
    return {};
  }
}

struct RunOptions {
  std::string job;
  std::vector<std::string> variables;
  std::string statusFile;
  bool isQuiet = false, resumes = false;
  int retries = 0, retryDelaySeconds = 10;
};

/// The last run of the job that was begun, which must be over and not have succeeded.
RunRecord RunToResume(LinuxPlatform& platform, const std::string& job) {
  RunFilter filter;
  filter.job = std::filesystem::absolute(job).lexically_normal().string();
  std::vector<RunRecord> runs = platform.history->Runs(filter);
  std::erase_if(runs, [](const RunRecord& run) { return run.error.starts_with(kNothingWasRun); });
  if (runs.empty())
    throw PlatformError(0, job + " has no run in the history to go on with; leave --resume out",
                        "run");
  const std::string last = "run " + std::to_string(runs[0].id) + " of " + job;
  if (runs[0].outcome == RunOutcome::Running) throw PlatformError(0, last + " is under way", "run");
  if (runs[0].outcome == RunOutcome::Ok)
    throw PlatformError(0, last + " has succeeded: there is nothing to go on with", "run");
  return platform.history->Run(runs[0].id).value_or(std::move(runs[0]));
}

/// The run goes on with the variables that the earlier one was given; `given` goes before them.
NamedTexts Resume(const RunRecord& run, NamedTexts given) {
  setenv(kResumedRun, std::to_string(run.id).c_str(), 1);
  for (const auto& earlier : run.variables) {
    const bool isGiven = std::ranges::any_of(
        given, [&](const auto& one) { return EqualsIgnoringCase(one.first, earlier.first); });
    if (!isGiven) given.push_back(earlier);
  }
  return given;
}

/// How a run ended, for programs and for people.
struct Ended {
  std::string word;
  int exitCode = RunWithoutVerdict;
  Json result;
  std::string sentence;
};

Ended RunOnce(LinuxPlatform& platform, const std::string& job, bool showsProgress) {
  const std::string runner = ProgramBeside("torvik");
  if (runner.empty())
    throw PlatformError(0, "there is no program torvik beside torvik-admin; install it again",
                        "run");
  const ScratchDirectory scratch(*platform.files);
  const std::string status = scratch.PathOf("status");
  const Pipe fromRunner;
  const pid_t child = StartRunner(runner, job, status, fromRunner.writing.Number(), showsProgress);
  childToSignal = child;
  // The runner has a process group of its own: it gets them from here.
  HandleCloseSignals(ForwardSignal);
  int ended = 0;
  while (waitpid(child, &ended, 0) < 0 && errno == EINTR) {
  }
  childToSignal = 0;
  const std::string word = FirstWord(status);
  const int exitCode = word == "ok" ? RunOk : word == "failure" ? RunFailure : RunWithoutVerdict;
  Json result = {{"job", job}, {"status", word}, {"exit_code", exitCode}};
  std::string sentence = exitCode == RunWithoutVerdict ? "the run ended without a verdict" : word;
  const RunnerTold told = ReadFromRunner(fromRunner.reading.Number());
  if (!told.lines.empty()) {
    result["log_losses"] = told.lines;
    for (const std::string& loss : told.lines) sentence += "\nthe log is incomplete: " + loss;
  }
  if (const auto reason = AddRecord(platform, told.run, exitCode, !WIFEXITED(ended), result);
      !reason.empty())
    sentence += "\n" + reason;
  return {word, exitCode, std::move(result), std::move(sentence)};
}

/// Ends the wait when the run is to end.
void WaitForRetry(int seconds) {
  for (int tenths = 0; tenths < seconds * 10 && mustEnd == 0; ++tenths)
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
}

int Run(LinuxPlatform& platform, const RunOptions& options, bool json) {
  NamedTexts variables = VariablesOf(options.variables);
  if (options.resumes) variables = Resume(RunToResume(platform, options.job), std::move(variables));
  if (!variables.empty()) setenv(kRunVariables, JoinedVariables(variables).c_str(), 1);
  StatusCopy copy(*platform.files, options.statusFile);
  Ended ended = RunOnce(platform, options.job, !options.isQuiet);
  for (int left = options.retries; ended.exitCode != RunOk && left > 0 && mustEnd == 0; --left) {
    Warn(ended.sentence + "\nit is run again in " + std::to_string(options.retryDelaySeconds) +
         " seconds");
    WaitForRetry(options.retryDelaySeconds);
    if (mustEnd == 0) ended = RunOnce(platform, options.job, !options.isQuiet);
  }
  copy.Leave(ended.word);
  PrintResult(ended.result, ended.sentence, json);
  return ended.exitCode;
}

}  // namespace

void AddRunCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* run = app.add_subcommand("run", "run a job file as torvik -configfile does");
  run->footer("Progress goes to standard error. Exit code: 0 ok, 1 failure, 3 no verdict.");
  auto options = std::make_shared<RunOptions>();
  run->add_option("JOB", options->job, "job file (.etl)")->required();
  run->add_option("--var", options->variables,
                  "NAME=VALUE: a variable of the package's own for this run; may be repeated")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  run->add_option("--statusfile", options->statusFile,
                  "file in which the run's word is left too: running, then ok or failure");
  run->add_flag("--resume", options->resumes,
                "go on behind the steps that succeeded in the job's last run, which failed");
  run->add_option("--retries", options->retries,
                  "how often a run that did not succeed is tried again")
      ->check(CLI::NonNegativeNumber);
  run->add_option("--retry-delay", options->retryDelaySeconds, "seconds before it is tried again")
      ->check(CLI::NonNegativeNumber)
      ->capture_default_str();
  run->add_flag("--quiet", options->isQuiet, "show no progress, the outcome alone");
  AddJsonOption(*run, invocation);
  run->callback([&invocation, options] {
    invocation.command = [&invocation, options](LinuxPlatform& platform) {
      return Run(platform, *options, invocation.json);
    };
  });
}

}  // namespace torvik::admin
