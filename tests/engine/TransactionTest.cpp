#include <gmock/gmock.h>

#include "EngineFixture.h"

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
};

TEST_F(TransactionTest, KeepsOrDropsWhatJoinedStepsDid) {
  const std::string join = "join_transaction = true\n";
  const std::string bad = "INSERT INTO t VALUES (20); INSERT INTO nowhere VALUES (1)";
  const struct {
    const char* what;
    std::string keys, steps;
    const char *ends, *rows, *log;
  } cases[] = {
      {"all succeed", "",
       Sql("a", "INSERT INTO t VALUES (1)", join) + Sql("b", "INSERT INTO t VALUES (2)", join),
       "SS", "1 2 ", "succeeded"},
      {"a failed step drops all", "",
       Sql("a", "INSERT INTO t VALUES (1)", join) + Sql("b", bad, join), "SF", "",
       "rolled back: a step failed"},
      {"a failed step is undone alone", "",
       Sql("a", "INSERT INTO t VALUES (1)", join) + Sql("b", bad, join) +
           Sql("c", "INSERT INTO t VALUES (3)", join + "commit_success = true"),
       "SFS", "1 3 ", "failed"},
      {"the first joined step fails", "",
       Sql("a", bad, join) + Sql("b", "INSERT INTO t VALUES (2)", join + "commit_success = true"),
       "FS", "2 ", "failed"},
      {"committed work survives a failure", "",
       Sql("a", "INSERT INTO t VALUES (1)", join + "commit_success = true") +
           Sql("b", "INSERT INTO t VALUES (2)", join) + Sql("c", bad, join),
       "SSF", "1 ", "rolled back"},
      {"rollback at a failure, then a new transaction", "",
       Sql("a", "INSERT INTO t VALUES (1)", join) +
           Sql("b", bad, join + "rollback_failure = true") +
           Sql("c", "INSERT INTO t VALUES (3)", join + "commit_success = true"),
       "SFS", "3 ", "rolled back: step \"b\" failed"},
      {"an unjoined failure drops all too", "",
       Sql("a", "INSERT INTO t VALUES (1)", join) + Sql("b", "SELECT * FROM nowhere"), "SF", "",
       "rolled back"},
      {"no automatic commit", "auto_commit_transaction = false",
       Sql("a", "INSERT INTO t VALUES (1)", join), "S", "",
       "rolled back: auto_commit_transaction is false"},
      {"joins are ignored", "use_transaction = false",
       Sql("a", "INSERT INTO t VALUES (1)", join) + Sql("b", bad, join), "SF", "1 20 ", "failed"},
      {"two connections, one database", "",
       Sql("a", "INSERT INTO t VALUES (1)", join) +
           Sql("b", "INSERT INTO t SELECT n + 1 FROM t", join + "connection = \"dw again\""),
       "SS", "1 2 ", "succeeded"},
      {"an unjoined reader sees what is committed: one row would overflow", "",
       Sql("a", "INSERT INTO t VALUES (1)", join) +
           Sql("b", "SELECT abs(-9223372036854775807 - COUNT(*)) FROM t"),
       "SS", "1 ", "succeeded"},
      {"an unjoined writer before and after", "",
       Sql("a", "INSERT INTO t VALUES (1)") +
           Sql("b", "INSERT INTO t VALUES (2)", join + "commit_success = true") +
           Sql("c", "INSERT INTO t VALUES (3)") + Sql("d", bad, join),
       "SSSF", "1 2 3 ", "failed"},
  };
  int number = 0;
  for (const auto& c : cases) {
    const std::string name = "Case" + std::to_string(++number);
    warehouse_->Execute("DELETE FROM t");
    const RunResult result = Run(name, Head(name, c.keys) + c.steps);
    EXPECT_EQ(result.raised, "") << c.what;
    EXPECT_EQ(result.ends, c.ends) << c.what << "\n" << result.events.errors;
    EXPECT_EQ(Query("SELECT n FROM t ORDER BY n"), c.rows) << c.what;
    EXPECT_THAT(Read(name + ".log"), HasSubstr(c.log)) << c.what;
  }
}

TEST_F(TransactionTest, AWriterBesideTheTransactionLearnsWhyItHadToWait) {
  const RunResult result =
      Run("P", Head("P") + Sql("a", "INSERT INTO t VALUES (1)", "join_transaction = true") +
                   Sql("b", "INSERT INTO u VALUES (2)"));
  EXPECT_EQ(result.ends, "SF");
  EXPECT_THAT(result.events.errors, HasSubstr("the package's own transaction is open on the same"));
}

TEST_F(TransactionTest, AFailedCommitFailsThePackage) {
  const std::string orphan = "INSERT INTO t VALUES (1); INSERT INTO child VALUES (9)";
  const struct {
    const char* keys;
    const char* ends;
  } cases[] = {{"join_transaction = true", "SS"},
               {"join_transaction = true\ncommit_success = true", "FW"}};
  for (const auto& c : cases) {
    const RunResult result = Run("P", Head("P") + Sql("a", orphan, c.keys) + Sql("b", "SELECT 1"));
    EXPECT_THAT(result.raised, HasSubstr("\"dw\" cannot be committed and is rolled back"))
        << c.keys;
    EXPECT_THAT(result.events.errors, HasSubstr("cannot be committed")) << c.keys;
    EXPECT_EQ(result.ends, c.ends) << c.keys;
    EXPECT_EQ(Query("SELECT n FROM t"), "") << c.keys;
  }
}

}  // namespace
}  // namespace torvik::engine
