#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "fakes/FakeAdo.h"
#include "fakes/FakeAnimateForm.h"
#include "fakes/FakeClock.h"
#include "fakes/FakeConsole.h"
#include "fakes/FakeDts.h"
#include "fakes/FakeFiles.h"
#include "fakes/FakeLocks.h"
#include "fakes/FakeMessages.h"
#include "fakes/FakePickers.h"
#include "fakes/FakeProcesses.h"
#include "fakes/FakeProfile.h"
#include "fakes/FakeRegistry.h"
#include "fakes/FakeRunHistory.h"
#include "fakes/FakeSecrets.h"
#include "fakes/FakeShell.h"
#include "fakes/FakeWinInet.h"
#include "platform/linux/text/IconvCodePages.h"
#include "startup/Program.h"
#include "startup/RunnerMain.h"
#include "ui/frmRunnerMain.h"

namespace torvik {

/// The program over fakes of the platform, with a job file "job.etl" that can be run.
struct ProgramTest : ::testing::Test {
  FakeAdo ado;
  FakePackageHost host;
  FakeClock clock;
  FakeConsole console;
  FakeFiles files;
  FakeLocks locks;
  FakeMessages messages;
  FakeProcesses processes;
  FakeProfile profile;
  FakeShell shell;
  FakeWinInet internet;
  FakeRegistry registry;
  FakeRunHistory history;
  FakeSecrets secrets;
  FakeShellBrowser browser;
  FakeFileDialogs dialogs;
  FakeAnimateForms animateForms;
  std::unique_ptr<CodePages> codePages = NewIconvCodePages("windows-1252");
  Program program{{ado, host, codePages->Ansi(), clock, console, files, locks, messages, processes,
                   profile, shell, internet, registry, history, secrets, browser, dialogs},
                  [this] { return animateForms.New(); }};

  ProgramTest() {
    ado.state.tables["dwm_data_link"] = {{.name = "model"}};
    ado.state.rows["SELECT * FROM dwm_data_link WHERE dwm_data_link.model = 'Sales'"] = {};
    files.Put("job.etl", "");
    const struct {
      const char* section;
      const char* key;
      const char* value;
    } entries[] = {
        {"Package Info", "Package", "Sales_LoadDW"},
        {"Package Info", "LogFile", "err.txt"},
        {"Package Info", "LogFileDir", "logs\\"},
        {"Package Info", "UseDefaultLogFileDir", "FALSE"},
        {"Package Info", "TruncLogFile", "FALSE"},
        {"DTS Server Info", "DTSServer", "DTSPROD"},
        {"Datawarehouse Server Info", "DWServer", "DWPROD"},
        {"Datawarehouse Server Info", "DWDB", "DW"},
    };
    for (const auto& e : entries) SetEntry(e.section, e.key, e.value);
  }

  void SetEntry(const char* section, const char* key, const char* value) {
    profile.WritePrivateProfileStringA(section, key, value, "job.etl");
  }

  void Start(const char* argumentText) {
    program.commandLine = {};
    Main(program, argumentText, [](Program& p) { return std::make_unique<frmRunnerMain>(p); });
  }
  frmRunnerMain& Form() { return static_cast<frmRunnerMain&>(*program.form); }
  std::string LogAfter(const std::string& line) {
    const std::string text = files.Text("err.txt");
    const std::size_t found = text.find(line);
    return found == std::string::npos ? "no such line in:\n" + text : text.substr(found);
  }
};

}  // namespace torvik
