// Composition root: builds the platform, hands it to the program and starts it.

#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "engine/Package.h"
#include "platform/linux/ConsoleMessages.h"
#include "platform/linux/LinuxPlatform.h"
#include "startup/Program.h"
#include "startup/RunnerMain.h"
#include "ui/frmAnimate.h"
#include "ui/frmRunnerMain.h"

namespace {

using namespace torvik;

/// Whoever started the run sees its progress on a terminal, and where a front end asks for it.
bool ShowsProgress() {
  return isatty(STDERR_FILENO) || std::getenv("TORVIK_PROGRESS") != nullptr;
}

std::unique_ptr<MainForm> NewMainForm(Program& program) {
  auto form = std::make_unique<frmRunnerMain>(program);
  if (ShowsProgress()) {
    form->sbStatus.Text.Observe(
        [](const std::string& text) { std::fprintf(stderr, "%s\n", text.c_str()); });
  }
  return form;
}

/// A form that is still open waits for the operator; without a display nobody can come.
void TellThatTheFormNeedsADisplay(const Program& program) {
  const MainForm& form = *program.form;
  Messages& messages = program.platform.messages;
  if (form.StartInConfigMode) {
    messages.Report(
        "the form needs a display, and there is none; run a job unattended with "
        "-configfile JOB.etl, or see -help");
  } else {
    messages.Report((form.TorvConfigFile.empty() ? "no job file is named" : form.TorvConfigFile) +
                    ": nothing was run: a job needs a package, its DTS server, an exception file "
                    "(LogFile), a data-warehouse server and its database");
  }
}

void RunProgram(const std::string& argumentText) {
  Program* running = nullptr;
  LinuxPlatform linuxPlatform = NewLinuxPlatform([&running] {
    if (running != nullptr && running->form) {
      static_cast<frmRunnerMain&>(*running->form).cmdClose_Click();
    }
  });
  const auto packages = engine::NewPackageHost({*linuxPlatform.databases, *linuxPlatform.files,
                                                *linuxPlatform.codePages, *linuxPlatform.clock,
                                                *linuxPlatform.processes, *linuxPlatform.eventLog});
  Program program(
      {*linuxPlatform.databases, *packages, linuxPlatform.codePages->Ansi(), *linuxPlatform.clock,
       *linuxPlatform.console, *linuxPlatform.files, *linuxPlatform.messages,
       *linuxPlatform.processes, *linuxPlatform.profile, *linuxPlatform.shell,
       *linuxPlatform.internet},
      [&linuxPlatform] { return std::make_unique<frmAnimate>(*linuxPlatform.messages); });
  running = &program;
  InstallCloseSignals();
  Main(program, argumentText, NewMainForm);
  if (program.form && program.form->IsOpen()) TellThatTheFormNeedsADisplay(program);
}

}  // namespace

int main(int argc, char** argv) {
  std::setlocale(LC_TIME, "");  // the log's date is in the words of the locale
  try {
    RunProgram(JoinArguments({argv + 1, argv + argc}));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "torvik: %s\n", error.what());
  }
  return EXIT_SUCCESS;  // schedulers read the outcome from the status file
}
