#include "engine/Package.h"

#include <gmock/gmock.h>

#include "engine/EngineFixture.h"
#include "fakes/NoThreads.h"

namespace torvik::engine {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

using PackageTest = EngineTest;

TEST_F(PackageTest, RaisesOnlyWhereAFailureFailsThePackage) {
  const std::string steps =
      Sql("b", "SELECT 1", "after = [{ step = \"a\" }]") + Sql("a", "SELECT 1");
  const struct {
    const char* keys;
    const char* stepKeys;
    long number;
    const char* ends;
    const char* order;
  } cases[] = {{"", "", 0, "SSFS", "a< a> b< b> c< c> d< d> "},
               {"", "fail_package_on_error = true", 1064, "SSFW", "a< a> b< b> c< c> "},
               {"fail_on_error = true", "", 1064, "SSFW", "a< a> b< b> c< c> "}};
  for (const auto& c : cases) {
    const RunResult result =
        Run("P", Head("P", c.keys) + steps + Sql("c", "SELECT nothing", c.stepKeys) +
                     Sql("d", "SELECT 1", "after = [{ step = \"b\" }]"));
    EXPECT_EQ(result.number, c.number) << c.keys << c.stepKeys;
    EXPECT_THAT(result.raised, HasSubstr(c.number ? "\"c\" failed: " : "")) << c.keys << c.stepKeys;
    EXPECT_EQ(result.ends, c.ends) << c.keys << c.stepKeys;
    EXPECT_EQ(result.events.order, c.order) << c.keys << c.stepKeys;
    EXPECT_THAT(result.events.errors, AllOf(HasSubstr("c: "), HasSubstr("nothing")));
  }
}

TEST_F(PackageTest, RunsAgainAndLoadsAgain) {
  Put("P", Head("P") + Sql("a", "INSERT INTO once VALUES (1)"));
  const auto package = Load("P");
  EXPECT_EQ(Run(*package).ends, "F");
  warehouse_->Execute("CREATE TABLE once (n INTEGER)");
  EXPECT_EQ(Run(*package).ends, "S");
  package->UnInitialize();
  EXPECT_EQ(package->StepCount(), 0);
  EXPECT_THAT(Run(*package).raised, HasSubstr("no package is loaded"));
  EXPECT_THROW(package->GlobalVariables(), PlatformError);
  Put("P", "name = 1");
  EXPECT_THAT(ErrorOf([&] { Load("P"); }), HasSubstr("P, line 1, column 8: "));
}

TEST_F(PackageTest, ItsLogTellsTheRun) {
  warehouse_->Execute("CREATE TABLE t (n INTEGER)");
  Run("P/1", Head("P/1") + Sql("a", "INSERT INTO t VALUES (1), (2)") +
                 Sql("b", "SELECT\\n nothing") + Sql("c", "SELECT 1", "disabled = true") +
                 Sql("d", "SELECT 1", "after = [{ step = \"b\" }]"));
  std::string expected;
  for (const char* line : {"Package \"P/1\" started", "Step \"a\" started",
                           "Step \"a\" succeeded: 2 rows, 0.000 seconds", "Step \"b\" started",
                           "Step \"b\" failed after 0.000 seconds: [^\r\n]*nothing[^\r\n]*",
                           "Step \"c\" did not run: it is disabled",
                           "Step \"d\" did not run: its constraints did not come to hold",
                           "Package \"P/1\" failed after 0.000 seconds"})
    expected += "2001-01-08 10:20:30 " + std::string(line) + "\r\n";
  EXPECT_THAT(disk_.Read("P_1.log"), MatchesRegex(expected));
}

TEST_F(PackageTest, ALogThatCannotBeWrittenDoesNotStopTheRun) {
  Put("P", Head("P") + Sql("a", "SELECT 1") + Sql("b", "SELECT 1"));
  const auto package = Load("P");
  package->GlobalVariables().SetValue("ExceptionFilePath", disk_.PathOf("missing"));
  const RunResult result = Run(*package);
  EXPECT_EQ(result.ends, "SS");
  EXPECT_THAT(result.events.errors,
              MatchesRegex(": the package's log \"[^\n]*missing/P.log\" cannot be [^\n]*\n"));
  package->GlobalVariables().SetValue("ExceptionFilePath", std::string());
  EXPECT_EQ(Run(*package).events.errors, "") << "without a directory there is no log";
}

TEST_F(PackageTest, WritesItsEndToTheSystemLogWhenAsked) {
  Put("P", Head("P") + Sql("a", "SELECT 1 LIMIT ${Count}"));
  const auto package = Load("P");
  Run(*package);
  EXPECT_THAT(eventLog_.entries, ElementsAre());
  package->GlobalVariables().SetValue("WriteCompletionStatusToNT", true);
  Run(*package);
  Put("P", Head("P", "write_completion_status_to_nt_event_log = true") + Sql("a", "bad"));
  Run(*Load("P"));
  EXPECT_THAT(eventLog_.entries,
              ElementsAre("information: Package \"P\" succeeded after 0.000 seconds.",
                          "error: Package \"P\" failed after 0.000 seconds; failed steps: \"a\"."));
}

TEST_F(PackageTest, NoPasswordReachesAMessage) {
  Put("P", Head("P") + Sql("a", "SELECT ${DTSServerLoginPassword}"));
  const auto package = Load("P");
  package->GlobalVariables().SetValue("DTSServerLoginPassword", std::string("s3cret"));
  const RunResult result = Run(*package);
  EXPECT_EQ(result.ends, "F");
  EXPECT_THAT(result.events.errors + disk_.Read("P.log"),
              AllOf(HasSubstr("***"), Not(HasSubstr("s3cret"))));
}

/// A caller that fails, as a form that is closed may.
struct FailingEvents final : RecordedEvents {
  void OnStart(std::string_view) override { throw std::runtime_error("closed"); }
};

TEST_F(PackageTest, ACallerThatFailsEndsTheRun) {
  warehouse_->Execute("CREATE TABLE t (n INTEGER)");
  const std::string rows =
      "WITH RECURSIVE r (n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM r LIMIT 3000000)"
      " SELECT n FROM r";
  Put("P", Head("P") +
               Step("long", "DataPump",
                    "source = 'dw'\nsource_sql = '" + rows +
                        "'\ndestination = 'dw again'\ntable = 't'") +
               Sql("next", "INSERT INTO t VALUES (0)",
                   "after = [{ step = 'long', on = 'completion' }]"));
  const auto package = Load("P");
  FailingEvents events;
  EXPECT_THROW(package->Execute(events), std::runtime_error);
  EXPECT_EQ(Query("SELECT COUNT(*) FROM t"), "0");
}

/// All of it on the thread there is, with its events.
TEST_F(PackageTest, WithoutThreadsItRuns) {
  const NoThreads none;
  disk_.Write("rows.csv", "a\n1\n2\n");
  warehouse_->Execute("CREATE TABLE t (a INTEGER)");
  const RunResult run = Run(
      "P", Head("P", "max_concurrent_steps = 4\n") +
               "[[connections]]\nname = \"file\"\nprovider = \"DTSFlatFile\"\nproperties = { "
               "\"Data Source\" = '" +
               disk_.PathOf("rows.csv") + "', \"First Row Column Name\" = true }\n" +
               Step("pump", "DataPump", "source = \"file\"\ndestination = \"dw\"\ntable = \"t\"") +
               Sql("fails", "no statement", "after = [{ step = \"pump\" }]") +
               Sql("on failure", "INSERT INTO t VALUES (3)",
                   "after = [{ step = \"fails\", on = \"failure\" }]"));
  EXPECT_EQ(run.ends, "SFS") << run.raised << run.events.errors;
  EXPECT_EQ(run.events.order, "pump< pump> fails< fails> on failure< on failure> ");
  EXPECT_EQ(Query("SELECT a FROM t ORDER BY a"), "1 2 3");
  EXPECT_THAT(disk_.Read("P.log"), HasSubstr("allows no further thread"));
}

}  // namespace
}  // namespace torvik::engine
