#include "package/ExecDTSPackage.h"

#include <gmock/gmock.h>

#include "datalinks/DataWarehouse.h"
#include "fakes/DataLinkRow.h"
#include "fakes/FakeAdo.h"
#include "fakes/FakeAnimateForm.h"
#include "fakes/FakeClock.h"
#include "fakes/FakeDts.h"
#include "fakes/FakeFiles.h"
#include "fakes/FakeLogForm.h"
#include "fakes/FakeMessages.h"
#include "fakes/FakeRegistry.h"
#include "fakes/FakeRunHistory.h"
#include "fakes/FakeSecrets.h"
#include "fakes/FakeShell.h"
#include "fakes/FakeWinInet.h"
#include "history/RunRecorder.h"
#include "log/RunLog.h"
#include "package/ErrLogging.h"
#include "transfer/CopyQuorFiles.h"

namespace torvik {
namespace {

using dts::StepExecutionResult;
using dts::StepExecutionStatus;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

struct NoEvents final : dts::PackageEvents {
  void OnStart(std::string_view) override {}
  void OnProgress(std::string_view, std::int64_t) override {}
  void OnFinish(std::string_view) override {}
  void OnError(std::string_view, std::string_view) override {}
  void OnLogTrouble(std::string_view) override {}
  void OnIdle() override {}
};

struct JobTest : ::testing::Test {
  FakePackageHost host;
  FakeAdo ado;
  FakeFiles files;
  FakeMessages messages;
  FakeClock clock;
  FakeShell shell;
  FakeWinInet internet;
  FakeAnimateForms animateForms;
  FakeLogForm form;
  FakeRegistry registry;
  DataWarehouse warehouse{ado};
  RunLog log{files, messages};
  CopyQuorFiles remoteData{log, clock, registry, {internet, shell, files, messages, [this] {
                                                    return animateForms.New();
                                                  }}};
  ErrLogging errLogging{files, messages};
  FakeRunHistory history;
  RunRecorder recorder{history, clock, messages};
  FakeSecrets secrets;
  RunVariables variables;
  ExecDTSPackage job{
      {host, warehouse, remoteData, errLogging, messages, recorder, secrets, variables}};
  NoEvents events;

  JobTest() {
    log.SetForm(form);
    job.DTSPackageName = "Sales_LoadDW";
    job.DTSServer = "DTSPROD";
    job.DTSLoginUserName = "sa";
    job.DTSLoginPassword = "pw1";
    job.DWServerLoginPassword = "pw2";
    job.LogFileDir = "C:\\logs";
    job.ExceptionLogFile = "err.txt";
  }

  std::vector<std::string> Written() const {
    std::vector<std::string> names;
    for (const std::string& call : host.state.calls) {
      if (call.starts_with("SetValue ")) names.push_back(call.substr(9));
    }
    return names;
  }
};

TEST_F(JobTest, OnlyTrueItselfLogsOnTrusted) {
  const struct {
    VariantBool trusted;
    const char* call;
  } cases[] = {
      {VariantTrue, "LoadFromSQLServer DTSPROD|||256||||Sales_LoadDW|"},
      {VariantFalse, "LoadFromSQLServer DTSPROD|sa|pw1|0||||Sales_LoadDW|"},
      {1, "LoadFromSQLServer DTSPROD|sa|pw1|0||||Sales_LoadDW|"},
  };
  for (const auto& c : cases) {
    host.state.calls.clear();
    job.DTSServerTrustedLogin = c.trusted;
    EXPECT_TRUE(job.LoadPackage());
    EXPECT_THAT(host.state.calls, ::testing::Contains(c.call)) << c.trusted;
  }
}

TEST_F(JobTest, ASecondLoadDropsTheFirstPackageAndEmptiesTheLogDirectory) {
  EXPECT_TRUE(job.LoadPackage());
  files.Put("C:\\logs\\old.log", "old");
  files.Put("err.txt", "kept");
  host.state.calls.clear();
  EXPECT_TRUE(job.LoadPackage());
  EXPECT_THAT(host.state.calls,
              ElementsAre("UnInitialize", "NewPackage", HasSubstr("LoadFromSQLServer")));
  EXPECT_FALSE(files.Exists("C:\\logs\\old.log"));
  EXPECT_EQ(files.Text("err.txt"), "kept");
}

TEST_F(JobTest, AFailedLoadKeepsItsOwnTextAndReportsThePlatforms) {
  host.state.failLoad = "no such package";
  EXPECT_FALSE(job.LoadPackage());
  EXPECT_EQ(job.LastError(), "Can not load DTS Package from SQL Server : Sales_LoadDW");
  EXPECT_THAT(messages.reports, ElementsAre(HasSubstr("no such package")));
}

TEST_F(JobTest, ARunsVariablesComeBeforeTheJobsOwn) {
  host.state.variables.entries.insert(host.state.variables.entries.begin(),
                                      {{"Region", std::string("EMEA")},
                                       {"MailPassword", std::string()},
                                       {"Full", false},
                                       {"Rows", std::int64_t{1}},
                                       {"Rate", 0.5}});
  const struct {
    RunVariables given;
    const char* error;
  } cases[] = {
      {{{"Region", "APAC"},
        {"MailPassword", "file:/m"},
        {"Full", "true"},
        {"Rows", "-12"},
        {"Rate", "1e3"}},
       ""},
      {{{"Region", "APAC"}, {"Gone", "x"}}, "Gone"},
      {{{"Region", "APAC"}, {"Rows", "many"}},
       "--var: the variable \"Rows\" cannot be set for this run: its value"},
      {{{"Full", "perhaps"}}, "must be True or False"},
      {{{"MailPassword", "geheim"}}, "referred to by file:PATH or credential:NAME"},
      {{{"MailPassword", "file:/gone"}}, "there is no secret file:/gone"},
      {{{"dtsserver", "x"}}, "Torvik sets it itself"},
  };
  secrets.secrets["file:/m"] = "geheim";
  job.Variables = {{"Region", "of the job file"}, {"Rate", "2"}};
  for (const auto& c : cases) {
    variables = c.given;
    host.state.calls.clear();
    std::string error;
    ASSERT_TRUE(job.LoadPackage());
    try {
      job.ExecPackage(events);
    } catch (const PlatformError& raised) {
      error = raised.Description();
    }
    EXPECT_THAT(error, HasSubstr(c.error));
    const auto written = Written();
    const std::vector<std::string> first(written.begin(),
                                         written.begin() + std::min<long>(written.size(), 7));
    if (*c.error != '\0')
      EXPECT_THAT(written, ElementsAre("Region", "Rate")) << c.error;  // those of the job file
    else
      EXPECT_THAT(first,
                  ElementsAre("Region", "Rate", "Region", "MailPassword", "Full", "Rows", "Rate"));
  }
}

TEST_F(JobTest, OnlyVariablesThatDifferAreWritten) {
  job.DWDatabaseName = "DW";
  job.DWServerTrustedLogin = VariantTrue;
  ASSERT_TRUE(job.LoadPackage());
  ASSERT_TRUE(job.ExecPackage(events));
  EXPECT_THAT(Written(), ElementsAre("ExceptionFilePath", "DTSServer", "DTSServerLoginUserName",
                                     "DTSServerLoginPassword", "DestServerTrustedLogin",
                                     "DestServerLoginPassword", "DestServerDatabaseName",
                                     "OverwriteGlobalSettings"));
  EXPECT_EQ(job.LogFileDir, "C:\\logs\\");
  EXPECT_EQ(host.state.variables.Value("ExceptionFilePath"), dts::Variant("C:\\logs\\"));
  EXPECT_EQ(host.state.variables.Value("OverwriteGlobalSettings"), dts::Variant(true));

  host.state.calls.clear();
  ASSERT_TRUE(job.LoadPackage());
  ASSERT_TRUE(job.ExecPackage(events));
  EXPECT_THAT(Written(), ElementsAre("OverwriteGlobalSettings"));
  EXPECT_EQ(host.state.variables.Value("OverwriteGlobalSettings"), dts::Variant(false));

  // A password alone counts as a change.
  host.state.calls.clear();
  job.DTSLoginPassword = "another";
  ASSERT_TRUE(job.LoadPackage());
  ASSERT_TRUE(job.ExecPackage(events));
  EXPECT_EQ(host.state.variables.Value("OverwriteGlobalSettings"), dts::Variant(true));
}

TEST_F(JobTest, TheListingRunsEachValueIntoTheNextNameAndLeavesThePasswordsOut) {
  EXPECT_THROW(job.GetGlobalVariableValuesAsString(), PlatformError);
  ASSERT_TRUE(job.LoadPackage());
  host.state.variables.SetValue("DTSServer", std::string("S"));
  host.state.variables.SetValue("DTSServerLoginPassword", std::string("secret"));
  EXPECT_EQ(job.GetGlobalVariableValuesAsString(),
            "ExceptionFilePath = DTSServer = SDTSServerTrustedLogin = FalseDTSServerLoginUserName "
            "= DestinationServer = DestServerTrustedLogin = FalseDestServerLoginUserName = "
            "DestServerDatabaseName = WriteCompletionStatusToNT = FalseOverwriteGlobalSettings = "
            "False");
}

TEST_F(JobTest, APackageThatLacksAVariableRaises) {
  ASSERT_TRUE(job.LoadPackage());
  host.state.variables.entries.erase(host.state.variables.entries.begin());
  EXPECT_THROW(job.ExecPackage(events), PlatformError);
  EXPECT_EQ(job.LastError(), "");
}

TEST_F(JobTest, ARunIsJudgedByItsCompletedSteps) {
  const auto run = [this](std::vector<FakeStep> steps) {
    host.state.steps = std::move(steps);
    EXPECT_TRUE(job.LoadPackage());
    return job.ExecPackage(events);
  };
  EXPECT_TRUE(run({}));
  EXPECT_TRUE(
      run({FakeStep("waiting", StepExecutionStatus::Waiting, StepExecutionResult::Failure),
           FakeStep("inactive", StepExecutionStatus::Inactive, StepExecutionResult::Failure),
           FakeStep("good")}));
  EXPECT_EQ(job.LastError(), "");
  EXPECT_FALSE(run({FakeStep("b", StepExecutionStatus::Completed, StepExecutionResult::Failure),
                    FakeStep("good"),
                    FakeStep("a", StepExecutionStatus::Completed, StepExecutionResult::Failure)}));
  EXPECT_EQ(job.LastError(), "b in 'Sales_LoadDW' failed.\r\na in 'Sales_LoadDW' failed.\r\n");
}

TEST_F(JobTest, ThePackageIsDroppedAfterItsRunButNotWhenItRaises) {
  ASSERT_TRUE(job.LoadPackage());
  host.state.failExecute = "step x failed";
  EXPECT_THROW(job.ExecPackage(events), PlatformError);
  host.state.failExecute.reset();
  host.state.onExecute = [this](auto&) { files.Put("C:\\logs\\Sales_LoadDW.log", "log"); };
  EXPECT_TRUE(job.ExecPackage(events));
  EXPECT_EQ(host.state.calls.back(), "UnInitialize");
  EXPECT_EQ(files.Text("err.txt"), "log");
  EXPECT_FALSE(job.ExecPackage(events));
  EXPECT_EQ(job.LastError(), "Internal error : no Package loaded.");
}

TEST_F(JobTest, EveryRemoteLinkIsTriedAndOneThatFailsFailsTheStep) {
  std::string errorText;
  ASSERT_TRUE(warehouse.ConnectDataWarehouse({"DW", true, "", ""}, "DW", errorText));
  FakeRows& links =
      ado.state.rows["SELECT * FROM dwm_data_link WHERE dwm_data_link.model = 'Sales'"];
  links.fields = kDataLinkColumns;
  const auto add = [&](std::int64_t transfer, const char* server) {
    links.rows.push_back(DataLinkRow("link", {{"transfer_data", transfer},
                                              {"ftp_server", std::string(server)},
                                              {"poll_interval", std::int64_t{1}},
                                              {"poll_duration", std::int64_t{1}},
                                              {"ftp_password", std::string("ftp password")}}));
  };
  EXPECT_TRUE(job.HandleRemoteData(form));
  add(0, "");
  add(9, "");
  EXPECT_TRUE(job.HandleRemoteData(form));
  EXPECT_FALSE(files.Exists("err.txt"));
  add(1, "ftp1");
  add(2, "not used");
  EXPECT_FALSE(job.HandleRemoteData(form));
  EXPECT_THAT(internet.calls, testing::Contains("Connect ftp1:21 "));
  EXPECT_THAT(shell.calls, ElementsAre("Read status"));
  EXPECT_THAT(files.Text("err.txt"), Not(HasSubstr("ftp password")));
  EXPECT_EQ(job.LastError(), "");
  std::vector<std::string> shown;
  for (const FetchStatus& fetch : form.fetches)
    shown.push_back(fetch.from + (fetch.state == StepState::Running ? " begins" : ": ") +
                    fetch.error);
  EXPECT_THAT(
      shown, ElementsAre("ftp://ftp1/ begins", "ftp://ftp1/: Polling for Remote Data Timed out ...",
                         " begins", ": Polling for Remote Data Timed out ..."));
}

}  // namespace
}  // namespace torvik
