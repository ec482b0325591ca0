// Composition root: builds the platform, hands it to the program and starts it.

#include <unistd.h>

#include <chrono>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string_view>

#include "alarms/Alarms.h"
#include "engine/Package.h"
#include "history/SendRuns.h"
#include "history/SharedHistory.h"
#include "platform/FetchProgress.h"
#include "platform/PlatformError.h"
#include "platform/Version.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/modules/Modules.h"
#include "platform/linux/system/ConsoleMessages.h"
#include "platform/linux/system/Display.h"
#include "platform/linux/system/FrontEnd.h"
#include "platform/linux/system/ProcessSetup.h"
#include "platform/linux/system/ProgramBeside.h"
#include "platform/linux/system/WhoRuns.h"
#include "startup/Program.h"
#include "startup/RunProgress.h"
#include "startup/RunnerMain.h"
#include "startup/StatusLine.h"
#include "ui/Desktop.h"
#include "ui/frmAnimate.h"
#include "ui/frmRunnerMain.h"

namespace {

using namespace torvik;

/// Whoever started the run sees its progress on a terminal, and where a front end asks for it.
bool ShowsProgress() {
  return isatty(STDERR_FILENO) || std::getenv("TORVIK_PROGRESS") != nullptr;
}

std::unique_ptr<frmRunnerMain> NewMainForm(Program& program) {
  auto form = std::make_unique<frmRunnerMain>(program);
  if (ShowsProgress()) {
    const auto line = std::make_shared<StatusLine>(
        [](std::string_view text) { std::fwrite(text.data(), 1, text.size(), stderr); },
        isatty(STDERR_FILENO) != 0);
    form->sbStatus.Text.Observe([line](const std::string& text) { line->Show(text); });
  }
  return form;
}

/// A form that is still open waits for the operator; without a display nobody can come.
void TellThatTheFormNeedsADisplay(const Program& program, const std::string& reason) {
  const MainForm& form = *program.form;
  Messages& messages = program.platform.messages;
  if (form.StartInConfigMode) {
    messages.Report("the form cannot be shown: " + reason +
                    "; run a job unattended with -configfile JOB.etl, or see -help");
  } else {
    messages.Report((form.TorvConfigFile.empty() ? "no job file is named" : form.TorvConfigFile) +
                    ": nothing was run: a job needs a package, its DTS server, an exception file "
                    "(LogFile), a data-warehouse server and its database; see torvik --help");
  }
}

Alarms NewAlarms(LinuxPlatform& platform) {
  return Alarms(platform.settings.alarms,
                {*platform.history, *platform.files, platform.codePages->Ansi(), *platform.locks,
                 *platform.clock, *platform.mail, *platform.pings, *platform.processes},
                platform.settings.stateDirectory + "/alarms");
}

/// Of a run that an operator looks on, the metrics alone: he needs no call. Of all others when they
/// are over and their locks are free.
void WatchRuns(Program& program, Alarms& alarms, FrontEnd& frontEnd) {
  const auto report = [&program](const std::string& problem) {
    if (!problem.empty()) program.platform.messages.Report(problem);
  };
  program.recorder.onPrepare = [&alarms](RunRecord& run) {
    if (run.isAttended || !alarms.AreRaisedFor(run.job)) run.alarms = kAllAlarms;
  };
  program.recorder.onBegin = [&](std::int64_t run) {
    frontEnd.TellRun(run);
    if (!program.recorder.Record().isAttended) alarms.TellStart(program.recorder.Record().job);
  };
  program.recorder.onEnd = [&alarms, report](const RunRecord& run) {
    if (run.isAttended) report(alarms.WriteMetrics(run.job));
  };
}

void RaiseAlarms(Program& program, Alarms& alarms) {
  const RunRecord& last = program.recorder.Record();
  if (last.job.empty() || last.isAttended) return;
  for (const std::string& problem : alarms.RaiseDue(last).problems)
    program.platform.messages.Report(problem);
}

/// The end of a run waits no longer for it.
constexpr std::chrono::seconds kSendingLimit{10};

/// To the history that machines share, behind the word that the run leaves.
void ShareRuns(const Program& program, const LinuxPlatform& platform) {
  if (program.recorder.Record().job.empty()) return;
  const HistorySettings& history = platform.settings.history;
  const SentRuns sent =
      SendRuns({*platform.history, *platform.databases, *platform.locks, *platform.clock},
               {history.server, history.database},
               platform.settings.stateDirectory + "/history-sending", kSendingLimit);
  if (!sent.problem.empty()) platform.messages->Report(sent.problem);
}

/// The windows, where there is a display and their module is installed; null, and why not, else.
std::unique_ptr<Desktop> NewDesktop(const LinuxPlatform& platform, std::string& reason) {
  if (!HasDisplay()) {
    reason = "there is no display";
    return nullptr;
  }
  void* const function = FindInModule(kDesktopModule, kNewDesktop, reason);
  if (function == nullptr) {
    reason += " (Debian package torvik-desktop)";
    return nullptr;
  }
  return std::unique_ptr<Desktop>(reinterpret_cast<NewDesktopFunction>(function)(
      {*platform.messages, *platform.neighbourhood, ProgramBeside("torvik-admin")}));
}

/// A file manager has a job opened by its file; the command line has no word for that.
void OpenNamedJob(frmRunnerMain& form) {
  const char* const file = std::getenv("TORVIK_JOB");
  if (form.StartInConfigMode && form.TorvConfigFile.empty() && file != nullptr && *file != '\0')
    form.OpenJobFile(file);
}

void RunProgram(const std::string& argumentText) {
  FrontEnd frontEnd;
  Program* running = nullptr;
  const auto form = [&running] {
    return running == nullptr ? nullptr : static_cast<frmRunnerMain*>(running->form.get());
  };
  LinuxPlatform linuxPlatform = NewLinuxPlatform(
      [form] {
        if (form() != nullptr) form()->cmdClose_Click();
      },
      [&running](const FetchProgress& progress) {
        if (running != nullptr) TellFetchProgress(*running, progress);
      },
      [&running] {
        if (running != nullptr) LetEventsIn(*running);
      });
  const auto packages =
      engine::NewPackageHost({*linuxPlatform.databases,
                              *linuxPlatform.files,
                              *linuxPlatform.codePages,
                              *linuxPlatform.clock,
                              *linuxPlatform.processes,
                              *linuxPlatform.eventLog,
                              *linuxPlatform.mail,
                              linuxPlatform.settings.scriptDirectories,
                              {linuxPlatform.locks.get(), linuxPlatform.settings.stateDirectory,
                               linuxPlatform.settings.limits},
                              ProgramBeside("torvik-admin"),
                              HostName(),
                              UserName(),
                              linuxPlatform.expressions.get(),
                              linuxPlatform.settings.scriptsMayStartPrograms,
                              linuxPlatform.newFtpClient});
  std::string noDesktop;
  const auto desktop = NewDesktop(linuxPlatform, noDesktop);
  Messages& messages = desktop ? desktop->Boxes() : *linuxPlatform.messages;
  Program program(
      {*linuxPlatform.databases, *packages, linuxPlatform.codePages->Ansi(), *linuxPlatform.clock,
       *linuxPlatform.console, *linuxPlatform.files, *linuxPlatform.locks, messages,
       *linuxPlatform.processes, *linuxPlatform.profile, *linuxPlatform.shell,
       *linuxPlatform.internet, *linuxPlatform.registry, *linuxPlatform.history,
       *linuxPlatform.secrets, desktop ? desktop->Browser() : *linuxPlatform.browser,
       desktop ? desktop->Dialogs() : *linuxPlatform.dialogs},
      [&] {
        auto animation = std::make_unique<frmAnimate>(messages);
        if (desktop) desktop->ShowForm(*animation);
        return animation;
      });
  program.waitForOtherRun = std::chrono::seconds(linuxPlatform.settings.waitForOtherRunSeconds);
  program.runVariables = frontEnd.Variables();
  program.resumedRun = frontEnd.ResumedRun();
  Alarms alarms = NewAlarms(linuxPlatform);
  WatchRuns(program, alarms, frontEnd);
  running = &program;
  const auto closeWindows = [](Desktop* open) { open->CloseWindows(); };
  const std::unique_ptr<Desktop, decltype(closeWindows)> windows(desktop.get(), closeWindows);
  InstallCloseSignals();
  Main(program, argumentText, [&](Program& theirs) {
    auto newForm = NewMainForm(theirs);
    if (desktop) desktop->ShowForm(*newForm);
    return newForm;
  });
  frontEnd.Tell(program.log.Losses());
  RaiseAlarms(program, alarms);
  if (!program.form || !program.form->IsOpen()) return ShareRuns(program, linuxPlatform);
  OpenNamedJob(*form());
  if (desktop) {
    desktop->RunUntilClosed();
    ShareRuns(program, linuxPlatform);
  } else {
    TellThatTheFormNeedsADisplay(program, noDesktop);
  }
}

/// The usage of -help is for those who know it already.
constexpr const char* kHelp =
    "torvik                    opens the form\n"
    "torvik -configfile JOB.etl [-statusfile FILE] [-logfile FILE]\n"
    "                          runs a job; its outcome is the word in the status file\n"
    "torvik -config FILE       prepares a job and leaves its command line in FILE\n"
    "torvik -help, --version\n"
    "torvik-admin --help shows the commands that prepare what a job needs.\n";

}  // namespace

int main(int argc, char** argv) {
  GuardStandardStreams();
  KeepMemoryPrivate();
  const std::string_view only = argc == 2 ? argv[1] : "";
  if (only == "--version") std::printf("torvik %s\n", kVersion);
  if (only == "--help") std::fputs(kHelp, stdout);
  if (only == "--version" || only == "--help") return EXIT_SUCCESS;
  std::setlocale(LC_TIME, "");  // the log's date is in the words of the locale
  try {
    RunProgram(JoinArguments({argv + 1, argv + argc}));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "torvik: %s\n", WordsOf(error).c_str());
  }
  return EXIT_SUCCESS;  // schedulers read the outcome from the status file
}
