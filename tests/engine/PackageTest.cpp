#include "engine/Package.h"

#include <gmock/gmock.h>

#include <regex>

#include "EngineFixture.h"

namespace torvik::engine {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

using PackageTest = EngineTest;

TEST_F(PackageTest, TellsHowItGoesInOrder) {
  const RunResult result = Run("P", Head("P") + Sql("b", "SELECT 1", "after = [{ step = \"a\" }]") +
                                        Sql("a", "SELECT 1") + Sql("c", "SELECT nothing"));
  EXPECT_EQ(result.raised, "");
  EXPECT_EQ(result.events.order, "a b c ");
  EXPECT_EQ(result.events.finished, "a b c ");
  EXPECT_EQ(result.ends, "SSF");
  EXPECT_THAT(result.events.errors, AllOf(HasSubstr("c: "), HasSubstr("nothing")));
}

TEST_F(PackageTest, RaisesOnlyWhereAFailureFailsThePackage) {
  const std::string steps = Sql("a", "SELECT nothing", "fail_package_on_error = false");
  const std::string failing = Sql("a", "SELECT nothing", "fail_package_on_error = true");
  const struct {
    const char* keys;
    std::string steps;
    long number;
    const char* ends;
  } cases[] = {
      {"", steps, 0, "FS"}, {"", failing, 1064, "FW"}, {"fail_on_error = true", steps, 1064, "FW"}};
  for (const auto& c : cases) {
    const RunResult result = Run("P", Head("P", c.keys) + c.steps + Sql("b", "SELECT 1"));
    EXPECT_EQ(result.number, c.number) << c.keys << c.steps;
    EXPECT_EQ(result.ends, c.ends) << c.keys << c.steps;
    EXPECT_THAT(result.raised, HasSubstr(c.number ? "\"a\" failed: " : "")) << c.keys << c.steps;
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
}

TEST_F(PackageTest, ADocumentAtFaultIsNotLoaded) {
  Put("P", Head("P") + "[[steps]]\nname = \"s\"\ntask = \"Walk\"\n");
  try {
    Load("P");
    FAIL() << "no error";
  } catch (const PlatformError& error) {
    EXPECT_THAT(error.Description(), HasSubstr("P, line 24, column 8: unknown task \"Walk\""));
  }
}

TEST_F(PackageTest, ItsLogTellsTheRun) {
  warehouse_->Execute("CREATE TABLE t (n INTEGER)");
  Run("P/1", Head("P/1") + Sql("a", "INSERT INTO t VALUES (1), (2)") +
                 Sql("b", "SELECT\\n nothing") + Sql("c", "SELECT 1", "disabled = true") +
                 Sql("d", "SELECT 1", "after = [{ step = \"b\" }]"));
  const std::string log = std::regex_replace(
      Read("P_1.log"), std::regex("\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d |\\d+\\.\\d{3}"), "");
  EXPECT_THAT(log, MatchesRegex("Package \"P/1\" started\r\n"
                                "Step \"a\" started\r\n"
                                "Step \"a\" succeeded: 2 rows,  seconds\r\n"
                                "Step \"b\" started\r\n"
                                "Step \"b\" failed after  seconds: [^\r\n]*nothing[^\r\n]*\r\n"
                                "Step \"c\" did not run: it is disabled\r\n"
                                "Step \"d\" did not run: its constraints did not come to hold\r\n"
                                "Package \"P/1\" failed after  seconds\r\n"));
}

TEST_F(PackageTest, ALogThatCannotBeWrittenDoesNotStopTheRun) {
  Put("P", Head("P") + Sql("a", "SELECT 1") + Sql("b", "SELECT 1"));
  const auto package = Load("P");
  package->GlobalVariables().SetValue("ExceptionFilePath", PathOf("missing"));
  const RunResult result = Run(*package);
  EXPECT_EQ(result.ends, "SS");
  EXPECT_THAT(
      result.events.errors,
      MatchesRegex(": the package's log \"[^\n]*missing/P.log\" cannot be written: [^\n]*\n"));
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
  package->GlobalVariables().SetValue("Count", std::string("nothing"));
  Run(*package);
  EXPECT_THAT(eventLog_.entries,
              ElementsAre("information: Package \"P\" succeeded.", "error: Package \"P\" failed."));
}

TEST_F(PackageTest, NoPasswordReachesAMessage) {
  Put("P", Head("P") + Sql("a", "SELECT ${DTSServerLoginPassword}"));
  const auto package = Load("P");
  package->GlobalVariables().SetValue("DTSServerLoginPassword", std::string("s3cret"));
  const RunResult result = Run(*package);
  EXPECT_EQ(result.ends, "F");
  EXPECT_THAT(result.events.errors + Read("P.log"),
              AllOf(HasSubstr("***"), Not(HasSubstr("s3cret"))));
}

/// A caller that fails, as a form that is closed may.
struct FailingEvents final : dts::PackageEvents {
  void OnStart(std::string_view) override { throw std::runtime_error("closed"); }
  void OnProgress(std::string_view, std::int64_t) override {}
  void OnFinish(std::string_view) override {}
  void OnError(std::string_view, std::string_view) override {}
  void OnIdle() override {}
};

TEST_F(PackageTest, ACallerThatFailsEndsTheRun) {
  warehouse_->Execute("CREATE TABLE t (n INTEGER)");
  Put("P", Head("P") + R"toml(
[[steps]]
name = "long"
task = "DataPump"
source = "dw"
source_sql = """
WITH RECURSIVE count (n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM count LIMIT 3000000)
SELECT n FROM count"""
destination = "dw again"
table = "t"
)toml" + Sql("next", "INSERT INTO t VALUES (0)", "after = [{ step = 'long', on = 'completion' }]"));
  const auto package = Load("P");
  FailingEvents events;
  EXPECT_THROW(package->Execute(events), std::runtime_error);
  EXPECT_EQ(Query("SELECT COUNT(*) FROM t"), "0 ");
}

}  // namespace
}  // namespace torvik::engine
