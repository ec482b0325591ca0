#include <gmock/gmock.h>

#include "engine/EngineFixture.h"

namespace torvik::engine {
namespace {

using testing::HasSubstr;

class TransactionTest : public EngineTest {
 protected:
  TransactionTest() {
    warehouse_->Execute(
        "CREATE TABLE t (n INTEGER PRIMARY KEY); CREATE TABLE u (n INTEGER PRIMARY KEY);"
        "CREATE TABLE child (n INTEGER REFERENCES t (n) DEFERRABLE INITIALLY DEFERRED)");
  }

  static std::string Insert(const std::string& value, const std::string& keys) {
    return Sql("insert " + value, "INSERT INTO t VALUES (" + value + ")", keys);
  }
};

TEST_F(TransactionTest, KeepsOrDropsWhatJoinedStepsDid) {
  const std::string join = "join_transaction = true\n", commit = join + "commit_success = true";
  const std::string one = Insert("1", join), three = Insert("3", commit);
  const std::string bad = "INSERT INTO t VALUES (20); INSERT INTO nowhere VALUES (1)";
  const std::string failing = Sql("bad", bad, join);
  const std::string orphan = "INSERT INTO t VALUES (1); INSERT INTO child VALUES (9)";
  const char* const uncommitted = "\"dw\" cannot be committed and is rolled back";
  const struct {
    const char* what;
    std::string steps;
    const char *ends, *rows;
    const char* log = "";
    const char* keys = "";
    const char* raised = "";
  } cases[] = {
      {"all succeed", one + Insert("2", join), "SS", "1 2"},
      {"a failed step drops all", one + failing, "SF", "", "rolled back: a step failed"},
      {"a failed step is undone alone", one + failing + three, "SFS", "1 3"},
      {"the first joined step fails", failing + three, "FS", "3"},
      {"committed work survives", Insert("1", commit) + Insert("2", join) + failing, "SSF", "1"},
      {"rollback at a failure, then a new transaction",
       one + Sql("bad", bad, join + "rollback_failure = true") + three, "SFS", "3",
       "rolled back: step \"bad\" failed"},
      {"an unjoined failure drops all too", one + Sql("bad", "SELECT * FROM nowhere"), "SF", "",
       "rolled back"},
      {"no automatic commit", one, "S", "", "rolled back: auto_commit_transaction is false",
       "auto_commit_transaction = false"},
      {"joins are ignored", one + failing, "SF", "1 20", "", "use_transaction = false"},
      {"two connections, one database",
       one + Sql("b", "INSERT INTO t SELECT n + 1 FROM t", join + "connection = \"dw again\""),
       "SS", "1 2"},
      {"an unjoined reader sees what is committed: one row would overflow",
       one + Sql("b", "SELECT abs(-9223372036854775807 - COUNT(*)) FROM t"), "SS", "1"},
      {"an unjoined writer beside learns why it had to wait",
       one + Sql("b", "INSERT INTO u VALUES (2)"), "SF", "",
       "the package's own transaction is open on the same"},
      {"an unjoined writer before and after",
       Insert("1", "") + Insert("2", commit) + Insert("3", "") + failing, "SSSF", "1 2 3"},
      {"a commit at the end that fails", Sql("a", orphan, join) + Insert("2", join), "SS", "",
       uncommitted, "", uncommitted},
      {"a commit of a step that fails", Sql("a", orphan, commit) + Insert("2", join), "FW", "",
       uncommitted, "", uncommitted},
  };
  for (const auto& c : cases) {
    warehouse_->Execute("DELETE FROM t");
    disk_.Write("P.log", "");
    const RunResult result = Run("P", Head("P", c.keys) + c.steps);
    EXPECT_THAT(result.raised, HasSubstr(c.raised)) << c.what;
    EXPECT_EQ(result.raised.empty(), *c.raised == 0) << c.what << result.raised;
    EXPECT_THAT(result.events.errors, HasSubstr(c.raised)) << c.what;
    EXPECT_EQ(result.ends, c.ends) << c.what << "\n" << result.events.errors;
    EXPECT_EQ(Query("SELECT n FROM t ORDER BY n"), c.rows) << c.what;
    EXPECT_THAT(disk_.Read("P.log"), HasSubstr(c.log)) << c.what;
  }
}

}  // namespace
}  // namespace torvik::engine
