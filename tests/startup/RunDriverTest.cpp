// The program from its argument text on: the form without a toolkit, over fakes of the platform.

#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>

#include "fakes/ProgramTest.h"

namespace torvik {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST_F(ProgramTest, HelpWinsOverEverythingAndWaitsForEnter) {
  console.input = {""};
  Start("-configfile missing.etl -?");
  EXPECT_EQ(console.written,
            "Usage Torv : Configurate and Execute DTS Packages\r\n\r\n"
            "      Torv [ -configfile <Torv Configuration File>Press enter to exit\r\n");
  EXPECT_THAT(console.calls,
              ElementsAre("AllocConsole", "SetConsoleTitle Torv", "ReadConsole", "FreeConsole"));
  EXPECT_EQ(program.form, nullptr);
  EXPECT_THAT(messages.boxes, IsEmpty());
}

TEST_F(ProgramTest, AJobFileThatIsMissingStopsTheProgram) {
  Start("-configfile -logfile L -statusfile s.txt");
  EXPECT_THAT(messages.boxes,
              ElementsAre(FakeMessages::ShownBox{"Error: Can't find Config File -logfile",
                                                 "Torv Error", BoxIcon::Critical}));
  EXPECT_EQ(program.form, nullptr);
  EXPECT_FALSE(files.Exists("s.txt"));
}

TEST_F(ProgramTest, AGoodRunLogsInOrderAndLeavesOk) {
  host.state.onExecute = [this](auto&) {
    EXPECT_EQ(files.Text("s.txt"), "running\r\n");
    files.Put("logs\\Sales_LoadDW.log", "the package's own log\r\n");
  };
  Start("-configfile job.etl -statusfile s.txt -logfile copy.txt");
  const std::string text = files.Text("err.txt");
  const std::string banner =
      text.substr(text.find("\r\n") + 2, text.find("Run at") - text.find("\r\n") - 2);
  EXPECT_EQ(text, "Loading DTS Package : Sales_LoadDW\r\n" + banner +
                      "Run at : Monday, Jan 8 2001\r\n"
                      "DTS Server info         : DTSPROD\r\n"
                      "DTS Package name        : Sales_LoadDW\r\n"
                      "Data Warehouse server   : DWPROD\r\n"
                      "Data Warehouse database : DW\r\n"
                      "Torv Config file        : job.etl\r\n"
                      "Loaded DTS Package : Sales_LoadDW\r\n"
                      "Executing DTS Package : Sales_LoadDW\r\n"
                      "the package's own log\r\n"
                      "Executed succesfully ...\r\n");
  EXPECT_EQ(files.Text("s.txt"), "ok\r\n");
  EXPECT_EQ(files.Text("copy.txt"), text);
  EXPECT_FALSE(Form().IsOpen());
  // The log is on disk before the word is written.
  const auto at = [&](const char* call) {
    return std::find(files.calls.begin(), files.calls.end(), call) - files.calls.begin();
  };
  EXPECT_LT(at("Sync err.txt"), std::ssize(files.calls));
  EXPECT_EQ(files.calls.at(static_cast<std::size_t>(at("Sync err.txt")) + 1), "ReplaceText s.txt");
}

TEST_F(ProgramTest, TheLogIsNotCopiedOntoItself) {
  Start("-configfile job.etl -logfile err.txt");
  for (const std::string& call : files.calls)
    EXPECT_THAT(call, ::testing::Not(HasSubstr("to err.txt")));
  EXPECT_FALSE(files.Exists("s.txt"));
}

TEST_F(ProgramTest, WithoutItsRequiredFieldsNothingRunsAndTheFormStaysOpen) {
  const struct {
    const char* section;
    const char* key;
  } required[] = {{"Package Info", "Package"},
                  {"Package Info", "LogFile"},
                  {"DTS Server Info", "DTSServer"},
                  {"Datawarehouse Server Info", "DWServer"},
                  {"Datawarehouse Server Info", "DWDB"}};
  for (const auto& field : required) {
    const std::string former = profile.Find("job.etl", field.section, field.key)->value;
    SetEntry(field.section, field.key, "");
    Start("-configfile job.etl -statusfile s.txt");
    EXPECT_TRUE(Form().IsOpen()) << field.key;
    EXPECT_FALSE(Form().cmdExecute.Enabled.Get()) << field.key;
    EXPECT_FALSE(files.Exists("s.txt")) << field.key;
    EXPECT_FALSE(files.Exists("err.txt")) << field.key;
    SetEntry(field.section, field.key, former.c_str());
  }
}

TEST_F(ProgramTest, FailuresEndInTheirLinesAndStatusWords) {
  const struct {
    const char* what;
    std::function<void(ProgramTest&)> arrange;
    const char* lastLines;
    const char* status;
  } cases[] = {
      {"load", [](ProgramTest& t) { t.host.state.failLoad = "unknown"; },
       "Error: DTS Package loading error\r\n", "failure\r\n"},
      {"connect",
       [](ProgramTest& t) {
         t.ado.state.failOpen = {{0, "refused"}};
       },
       "Error while connecting to : DWPROD  refused\r\n", "running\r\n"},
      {"links cannot be read", [](ProgramTest& t) { t.ado.state.rows.clear(); },
       "Error: the data links cannot be loaded: ", "running\r\n"},
      {"step",
       [](ProgramTest& t) {
         t.host.state.steps = {
             FakeStep("s", dts::StepExecutionStatus::Completed, dts::StepExecutionResult::Failure)};
       },
       "Error: DTS Package Execute error\r\ns in 'Sales_LoadDW' failed.  \r\n", "failure\r\n"},
      {"raise", [](ProgramTest& t) { t.host.state.failExecute = "its own words"; },
       "Error: DTS Package Execute error\r\nExecution of DTS Package 'Sales_LoadDW' failed.\r\n"
       "its own words\r\n",
       "failure\r\n"},
  };
  for (const auto& c : cases) {
    if (program.dataWarehouse.HasBeenOpened()) program.dataWarehouse.Connection().Close();
    host.state.failLoad.reset();
    files.Remove("err.txt");
    const auto rows = ado.state.rows;
    c.arrange(*this);
    Start("-configfile job.etl -statusfile s.txt");
    const std::string firstLine =
        std::string(c.lastLines).substr(0, std::string(c.lastLines).find("\r\n"));
    EXPECT_THAT(LogAfter(firstLine), ::testing::StartsWith(c.lastLines)) << c.what;
    EXPECT_EQ(files.Text("s.txt"), c.status) << c.what;
    EXPECT_THAT(messages.boxes, IsEmpty()) << c.what;  // an unattended run shows none
    EXPECT_FALSE(Form().IsOpen()) << c.what;
    ado.state.rows = rows;
  }
}

/// Whatever is thrown, wherever: the log says it, the word is "failure", the log's copy is made.
TEST_F(ProgramTest, NoExceptionLeavesARun) {
  const struct {
    const char* behindLine;  // of the log, the last one before it; null: in the package
    const char* told;
  } places[] = {
      {"Loading DTS", "Error: the run ended unexpectedly: "},
      {"Run at", "Error: the run ended unexpectedly: "},
      {"Loaded DTS", "Error: "},
      {"Executing DTS", "Error: the run ended unexpectedly: "},
      {nullptr, "Error: DTS Package Execute error"},
      {"the package's own", "Error: "},
  };
  const auto raise = [](bool isMemory) {
    if (isMemory) throw std::bad_alloc();
    throw std::runtime_error("no thread");
  };
  for (const auto& place : places)
    for (const bool isMemory : {true, false}) {
      SCOPED_TRACE(place.behindLine == nullptr ? "package" : place.behindLine);
      host.state.onExecute = [&](auto&) {
        files.Put("logs\\Sales_LoadDW.log", "the package's own log\r\n");
        if (place.behindLine == nullptr) raise(isMemory);
      };
      if (program.dataWarehouse.HasBeenOpened()) program.dataWarehouse.Connection().Close();
      for (const char* file : {"err.txt", "copy.txt", "s.txt"}) files.Remove(file);
      bool isRaised = place.behindLine == nullptr;
      messages.onPump = [&] {
        const std::string text = files.Text("err.txt");
        const std::size_t line = text.rfind("\r\n", text.size() - 3);
        if (isRaised ||
            text.find(place.behindLine, line == std::string::npos ? 0 : line) == std::string::npos)
          return;
        isRaised = true;
        raise(isMemory);
      };
      Start("-configfile job.etl -statusfile s.txt -logfile copy.txt");
      EXPECT_TRUE(isRaised);
      EXPECT_EQ(files.Text("s.txt"), "failure\r\n");
      EXPECT_THAT(files.Text("err.txt"), HasSubstr(place.told));
      EXPECT_THAT(files.Text("err.txt"),
                  HasSubstr(isMemory ? "there is not enough memory" : "no thread"));
      EXPECT_EQ(files.Text("copy.txt"), files.Text("err.txt"));
      EXPECT_FALSE(Form().IsOpen());
      EXPECT_FALSE(Form().Busy.Get());
    }
}

TEST_F(ProgramTest, OkPromisesTheDataAndSaysWhatOfTheLogIsMissing) {
  host.state.onExecute = [this](dts::PackageEvents& events) {
    files.Put("logs\\Sales_LoadDW.log", "text");
    files.Put("logs\\other.log", "other");
    files.Fail("logs\\Sales_LoadDW.log", std::errc::io_error);
    events.OnLogTrouble("the package's log is cut off");
  };
  files.Fail("copy.txt");
  Start("-configfile job.etl -statusfile s.txt -logfile copy.txt");
  EXPECT_EQ(files.Text("s.txt"), "ok\r\n");
  EXPECT_THAT(program.log.Losses(),
              ElementsAre("the package's log is cut off",
                          "cannot append logs\\Sales_LoadDW.log to err.txt: Input/output error",
                          "cannot copy the exception log err.txt to copy.txt: Permission denied"));
  EXPECT_EQ(messages.reports, program.log.Losses());
  for (const std::string& loss : program.log.Losses())
    EXPECT_THAT(files.Text("err.txt"), HasSubstr("Error: the log is incomplete: " + loss));
  EXPECT_THAT(LogAfter("other"), HasSubstr("Executed succesfully ...\r\n"));
}

TEST_F(ProgramTest, ALibraryThatEndsTheProcessInARunLeavesAVerdict) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // functions for the exit run in a fixed order
  static const FakeFiles* seen = &files;
  static const FakeRunHistory* kept = &history;
  const auto exitAndShow = [&](bool isInTheRun) {
    std::atexit(
        [] { std::fputs((seen->Text("s.txt") + kept->runs.back().error).c_str(), stderr); });
    if (isInTheRun) host.state.onExecute = [](dts::PackageEvents&) { std::exit(3); };
    Start("-configfile job.etl -statusfile s.txt");
    std::exit(3);
  };
  EXPECT_EXIT(exitAndShow(true), ::testing::ExitedWithCode(3),
              "^failure\r\nError: .*a library has ended the process$");
  EXPECT_EXIT(exitAndShow(false), ::testing::ExitedWithCode(3), "^ok\r\n$");
}

TEST_F(ProgramTest, AStatusFileThatCannotBeWrittenIsToldAndTheRunGoesOn) {
  files.Fail("s.txt");
  Start("-configfile job.etl -statusfile s.txt");
  EXPECT_THAT(messages.reports,
              ElementsAre(HasSubstr("\"running\" to the status file s.txt: Permission denied"),
                          HasSubstr("\"ok\" to the status file s.txt: Permission denied")));
  EXPECT_THAT(LogAfter("Executing"), HasSubstr("Executed succesfully ...\r\n"));
}

TEST_F(ProgramTest, OneRunOfAJobAndInALogDirectoryAtATime) {
  files.Put("logs\\of the other.log", "kept");
  const struct {
    const char* what;
    std::function<void()> arrange;
    const char* status;  // what stands in the status file, which said "old"
    const char* reason;
  } cases[] = {
      {"another status file",
       [&] {
         locks.others = {{"job.etl", "process 7"}};
       },
       "failure\r\n", "nothing was run: the job job.etl is in use by another run: process 7"},
      {"its status file",
       [&] {
         locks.others = {{"job.etl", "process 7"}};
         locks.othersNames = {"s.txt"};
       },
       "old", "nothing was run: the job job.etl is in use by another run: process 7"},
      {"log directory",
       [&] {
         locks.others = {{"logs\\", "process 8"}};
       },
       "failure\r\n",
       "nothing was run: the log directory logs\\ is in use by another run: process 8"},
      {"no descriptors",
       [&] {
         locks.failing = {{"job.etl", std::errc::too_many_files_open}};
       },
       "failure\r\n",
       "nothing was run: the job job.etl cannot be locked against another run: Too many open "
       "files"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    locks.others.clear(), locks.othersNames.clear(), locks.failing.clear();
    messages.reports.clear();
    files.Put("s.txt", "old");
    c.arrange();
    Start("-configfile job.etl -statusfile s.txt -logfile copy.txt");
    EXPECT_THAT(messages.reports, ElementsAre(c.reason));
    EXPECT_EQ(files.Text("s.txt"), c.status);
    EXPECT_EQ(files.Text("logs\\of the other.log"), "kept");
    EXPECT_FALSE(files.Exists("err.txt"));
    EXPECT_FALSE(files.Exists("copy.txt"));
    EXPECT_THAT(host.state.calls, IsEmpty());
    EXPECT_THAT(locks.held, IsEmpty());
    EXPECT_FALSE(Form().IsOpen());
    const bool isMine = c.status != std::string("old");
    ASSERT_EQ(history.runs.size(), isMine ? 1u : 0u);
    if (isMine) {
      EXPECT_EQ(history.runs[0].outcome, RunOutcome::Failure);
      EXPECT_EQ(history.runs[0].error, c.reason);
    }
    history.runs.clear();
  }
}

TEST_F(ProgramTest, ARunHoldsItsLocksToItsEndAndOneThatCannotBeLockedRuns) {
  host.state.onExecute = [this](auto&) {
    EXPECT_THAT(locks.held, ElementsAre("name s.txt", "job.etl"));
  };
  locks.failing = {{"logs\\", std::errc::no_lock_available}};
  Start("-configfile job.etl -statusfile s.txt");
  EXPECT_THAT(messages.reports, ElementsAre(HasSubstr("logs\\ cannot be locked against another")));
  EXPECT_EQ(files.Text("s.txt"), "ok\r\n");
  EXPECT_THAT(locks.held, IsEmpty());
}

TEST_F(ProgramTest, ARunWaitsForAnotherOneAsLongAsTheSettingsSay) {
  program.waitForOtherRun = std::chrono::seconds(60);
  enum { Ends, Stays, OperatorCloses };
  for (const int other : {Ends, Stays, OperatorCloses}) {
    SCOPED_TRACE(other);
    messages.reports.clear();
    files.Remove("err.txt");
    locks.others = {{"job.etl", "process 7"}};
    const auto start = clock.steady;
    bool isOver = false;
    messages.onPump = [&, start] {
      if (isOver || clock.steady - start < std::chrono::seconds(30)) return;
      isOver = true;
      if (other == Ends) locks.others.clear();
      if (other == OperatorCloses) Form().cmdClose_Click();
    };
    Start("-configfile job.etl -statusfile s.txt");
    EXPECT_THAT(messages.reports[0],
                "waiting: the job job.etl is in use by another run: process 7");
    EXPECT_NEAR((clock.steady - start) / std::chrono::seconds(1), other == Stays ? 60 : 30, 1);
    EXPECT_EQ(files.Text("s.txt"), other == Ends ? "ok\r\n" : "failure\r\n");
    EXPECT_EQ(files.Exists("err.txt"), other == Ends);
  }
}

TEST_F(ProgramTest, CloseDuringARunWaitsForItsEnd) {
  host.state.onExecute = [this](dts::PackageEvents& events) {
    EXPECT_FALSE(Form().cmdExecute.Enabled.Get());
    messages.onPump = [this] {
      messages.onPump = nullptr;
      Form().cmdClose_Click();
    };
    events.OnIdle();
    EXPECT_TRUE(Form().IsOpen());
    EXPECT_TRUE(program.remoteData.IsCancelRequested());
  };
  Start("-configfile job.etl -statusfile s.txt");
  EXPECT_THAT(LogAfter("Executing"), HasSubstr("Waiting for end of execution\r\nExecuted succ"));
  EXPECT_EQ(files.Text("s.txt"), "ok\r\n");
}

TEST_F(ProgramTest, ProgressShowsInTheStatusBarAndErrorsAreReported) {
  std::vector<std::string> shown;
  host.state.onExecute = [&](dts::PackageEvents& events) {
    Form().sbStatus.Text.Observe([&](const std::string& text) { shown.push_back(text); });
    events.OnStart("pump");
    events.OnProgress("pump", 12000);
    events.OnError("pump", "line 7: bad");
    events.OnFinish("pump");
  };
  Start("-configfile job.etl");
  EXPECT_THAT(shown, ::testing::IsSupersetOf({"pump ...", "pump : 12,000 rows", "pump : done"}));
  EXPECT_THAT(messages.reports, ElementsAre("step 'pump': line 7: bad"));
  const RunMonitor::Problem problem{"pump", "line 7: bad"};
  EXPECT_THAT(Form().Monitor.Problems.Get(), ElementsAre(problem));
}

TEST_F(ProgramTest, TheDefaultLogDirectoryIsNamedAfterThePackage) {
  SetEntry("Package Info", "UseDefaultLogFileDir", "TRUE");
  Start("-config hand.txt -configfile job.etl");
  EXPECT_EQ(Form().txtLogFilesDir.Text.Get(), "T:/tmp/Torv\\Sales_LoadDW\\");
}

TEST_F(ProgramTest, SchedulerConfigurationHandsOverOneLine) {
  Start("-config hand.txt -configfile job.etl");
  EXPECT_EQ(Form().cmdExecute.Caption.Get(), "Exit");
  EXPECT_EQ(Form().cmdClose.Caption.Get(), "Cancel");
  EXPECT_EQ(Form().Caption.Get(), "Torv : [job.etl]");
  EXPECT_THAT(host.state.calls, IsEmpty());  // nothing is run
  Form().txtDestServer.Text.Set("DWTEST");
  Form().cmdExecute_Click();
  EXPECT_EQ(files.Text("hand.txt"), "-configfile \"C:/here/job.etl\"\r\n");
  EXPECT_EQ(profile.Find("job.etl", "Datawarehouse Server Info", "DWServer")->value, "DWTEST");
  EXPECT_FALSE(Form().IsOpen());

  Start("-config hand.txt");
  EXPECT_EQ(Form().txtDTSServer.Text.Get(), "(local)");
  EXPECT_EQ(Form().txtDestSQLUsername.Text.Get(), "sa");
  Form().cmdExecute_Click();
  EXPECT_EQ(
      messages.boxes.back(),
      (FakeMessages::ShownBox{"You did not save your current settings to an Torvik config file.\r\n"
                              "Settings must be saved, because Torvik will read this info when \r\n"
                              "the Job is executed.",
                              "QXJob Config mode", BoxIcon::Critical}));
  EXPECT_TRUE(Form().IsOpen());
  Form().cmdClose_Click();
  EXPECT_EQ(files.Text("hand.txt"), "canceled\r\n");
  EXPECT_FALSE(Form().IsOpen());
}

TEST_F(ProgramTest, AHandOffFileThatCannotBeWrittenIsShownAndTheFormCloses) {
  files.Fail("hand.txt");
  for (const bool isExit : {true, false}) {
    messages.boxes.clear();
    Start("-config hand.txt -configfile job.etl");
    isExit ? Form().cmdExecute_Click() : Form().cmdClose_Click();
    ASSERT_EQ(messages.boxes.size(), 1u);
    EXPECT_EQ(messages.boxes[0].text, "Unable to write to : hand.txt\r\nPermission denied");
    EXPECT_EQ(messages.boxes[0].title, "Save QXJob Config file");
    EXPECT_FALSE(Form().IsOpen());
  }
}

TEST_F(ProgramTest, LogonOptionsOpenAndCloseTheirFields) {
  Start("-config hand.txt");
  Form().optDTSSecureLogin.Value.Set(true);
  EXPECT_FALSE(Form().optDTSSQLLogin.Value.Get());
  EXPECT_FALSE(Form().txtDTSSQLPassword.Enabled.Get());
  EXPECT_TRUE(Form().txtDestSQLPassword.Enabled.Get());
  Form().optDTSSQLLogin.Value.Set(true);
  EXPECT_FALSE(Form().optDTSSecureLogin.Value.Get());
  EXPECT_TRUE(Form().txtDTSSQLPassword.Enabled.Get());
}

}  // namespace
}  // namespace torvik
