#include "engine/ServerLog.h"

#include <gmock/gmock.h>

#include "engine/EngineFixture.h"

namespace torvik::engine {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kPackages =
    "SELECT name, description, id = (SELECT MAX(id) FROM sysdtspackages), starttime, endtime, "
    "elapsedtime, computer, operator, errorcode, errordescription FROM sysdtspackagelog "
    "ORDER BY name, starttime";
constexpr const char* kSteps =
    "SELECT stepname, stepexecstatus, stepexecresult, s.errorcode, s.errordescription, "
    "progresscount "
    "FROM sysdtssteplog s JOIN sysdtspackagelog p ON p.lineagefull = s.lineagefull "
    "ORDER BY stepexecutionid";

struct ServerLogTest : EngineTest {
  std::string Logged(const std::string& sql) { return RowsOf(*server_.Open("msdb"), sql); }

  const std::string steps_ = Sql("a", "INSERT INTO t VALUES (1), (2)") +
                             Sql("b", "SELECT nothing", "fail_package_on_error = true") +
                             Sql("c", "SELECT 1", "after = [{ step = \"b\" }]");
};

TEST_F(ServerLogTest, TheServersTablesTellTheRun) {
  warehouse_->Execute("CREATE TABLE t (n INTEGER)");
  const std::string name = "P \xE2\x82\xAC '1'";
  const RunResult result =
      Run(name, Head(name, "log_to_server = true\ndescription = \"nightly\"") + steps_);
  EXPECT_EQ(result.ends, "SFW");
  EXPECT_THAT(result.events.errors, testing::Not(HasSubstr("log")));
  const std::string words = result.raised;
  EXPECT_EQ(Logged(kPackages),
            name +
                "|nightly|1|2001-01-08 10:20:30.000|2001-01-08 10:20:30.000|0.000000|etl1|loader|"
                "-2147220440|" +
                words);
  EXPECT_THAT(Logged(kSteps), AllOf(HasSubstr("a|4|0|0|-|2\nb|4|1|-2147467259|"),
                                    HasSubstr("nothing\": syntax error|-")));
  EXPECT_EQ(Logged("SELECT COUNT(*) FROM sysdtspackagelog WHERE logdate > '2020'"), "1");
}

TEST_F(ServerLogTest, OnlyPackagesThatWantItWriteIt) {
  const std::string inner = Head("Inner", "log_to_server = true") + Sql("x", "SELECT 1");
  Put("Inner", inner);
  EXPECT_EQ(Run("Outer", Head("Outer") + Step("run", "ExecutePackage", "package = \"Inner\"")).ends,
            "S");
  EXPECT_EQ(Logged("SELECT name, errorcode FROM sysdtspackagelog"), "Inner|0");
  EXPECT_EQ(Logged("SELECT stepname FROM sysdtssteplog"), "x");
}

TEST_F(ServerLogTest, ALogThatCannotBeWrittenFailsThePackageThatWantsThat) {
  warehouse_->Execute("CREATE TABLE t (n INTEGER)");
  const auto document = [&](const std::string& keys) {
    return Head("P", "log_to_server = true\n" + keys) + Sql("a", "INSERT INTO t VALUES (1)");
  };
  server_.Open("msdb")->Execute("DROP TABLE sysdtssteplog");
  const RunResult told = Run("P", document(""));
  EXPECT_EQ(told.ends + told.raised, "S");
  EXPECT_THAT(told.events.errors,
              AllOf(HasSubstr(": the package's log on the server \"(local)\" cannot be written: "),
                    HasSubstr("sysdtssteplog"), HasSubstr("; the run goes on without it")));
  EXPECT_EQ(Query("SELECT COUNT(*) FROM t"), "1");

  const RunResult failed = Run("P", document("fail_on_log_failure = true"));
  EXPECT_THAT(failed.raised, HasSubstr("(fail_on_log_failure)"));
  EXPECT_EQ(failed.ends, "F") << "it has not begun";
  const RunResult elsewhere =
      Run("P", document("fail_on_log_failure = true\nlog_server = \"${Text}\""));
  EXPECT_THAT(elsewhere.raised, HasSubstr("on the server \"text\" cannot be written"));
  EXPECT_EQ(elsewhere.ends, "W");
  EXPECT_EQ(Query("SELECT COUNT(*) FROM t"), "1");
}

}  // namespace
}  // namespace torvik::engine
