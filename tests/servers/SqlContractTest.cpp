// What every kind of server does alike, whatever its SQL and its driver are like.

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "servers/ServersUnderTest.h"

namespace torvik {
namespace {

using testing::HasSubstr;

class SqlContract : public testing::TestWithParam<const char*> {
 protected:
  void Do(const std::string& sql) { dw_->Execute(sql); }
  std::string Rows(const std::string& sql) { return RowsOf(*dw_, sql); }

  DatabaseUnderTest database_{GetParam()};
  std::unique_ptr<ado::Connection> dw_ = database_.Open();
};

INSTANTIATE_TEST_SUITE_P(, SqlContract, testing::Values("Sqlite", "PostgreSql"),
                         [](const auto& tested) { return std::string(tested.param); });

TEST_P(SqlContract, ExecuteCountsTheRowsThatItsStatementsChange) {
  Do("CREATE TABLE p (id INT)");
  const std::pair<const char*, int> cases[] = {
      {"INSERT INTO p VALUES (1), (2), (3); INSERT INTO p VALUES (4)", 4},
      {"UPDATE p SET id = 3 WHERE id > 2; SELECT * FROM p; DELETE FROM p WHERE id = 1", 3},
      {"DELETE FROM p WHERE id = 77", 0},
      {"SELECT * FROM p", 0},
      {"DELETE FROM p WHERE id = 77; DELETE FROM p WHERE id = 2", 1},
      {"CREATE TABLE q (id INT)", 0},
      {"-- nothing", 0},
      {" ", 0}};
  for (const auto& [sql, rows] : cases) EXPECT_EQ(rows, dw_->Execute(sql)) << sql;
}

TEST_P(SqlContract, AnUpdateChangesExactlyOneRowOrNothing) {
  Do("CREATE TABLE keyed (id INTEGER PRIMARY KEY, a VARCHAR(9), b VARCHAR(9));"
     "CREATE TABLE bare (n INT, a VARCHAR(9), b VARCHAR(9))");
  const struct {
    const char* query;
    const char* meanwhile;  ///< What another connection does before the update of `a` to 'new'.
    const char* error;      ///< Part of it; empty when the update succeeds.
    const char* table;
    const char* after;
  } cases[] = {
      {"SELECT * FROM keyed", "", "", "keyed", "1|new|-\n2|x|-"},
      {"SELECT A, ID FROM keyed WHERE id < 9 ORDER BY id", "UPDATE keyed SET b = 'z'", "", "keyed",
       "1|new|z\n2|x|z"},
      {"SELECT * FROM keyed", "UPDATE keyed SET a = 'y'", "changed by someone else", "keyed",
       "1|y|-\n2|y|-"},
      {"SELECT * FROM keyed", "DELETE FROM keyed WHERE id = 1", "is gone", "keyed", "2|x|-"},
      {"SELECT a FROM keyed", "", "cannot be told from another one", "keyed", "1|x|-\n2|x|-"},
      {"SELECT upper(b) AS u, a FROM bare", "DELETE FROM bare WHERE n = 1", "", "bare", "2|new|-"},
      {"SELECT a, b FROM bare", "", "cannot be told from another one", "bare", "1|x|-\n2|x|-"},
      {"SELECT k.a, bare.b FROM keyed k, bare", "", "more than one table", "bare", "1|x|-\n2|x|-"},
      {"SELECT a || '' AS c, id FROM keyed", "", "no field \"a\"", "keyed", "1|x|-\n2|x|-"}};
  for (const bool inTransaction : {false, true}) {
    for (const auto& c : cases) {
      SCOPED_TRACE(std::string(c.query) + "; " + c.meanwhile + (inTransaction ? " in one" : ""));
      Do("DELETE FROM keyed; INSERT INTO keyed VALUES (1, 'x', NULL), (2, 'x', NULL);"
         "DELETE FROM bare; INSERT INTO bare VALUES (1, 'x', NULL), (2, 'x', NULL)");
      const auto rows = dw_->OpenRecordset(c.query, kLocked);
      database_.Open()->Execute(c.meanwhile);
      if (inTransaction) dw_->BeginTrans();
      const std::string error = ErrorOf([&] {
        rows->SetField("a", rows->Field("a"));
        rows->Update();
        rows->SetField("a", "new");
        rows->Update();
      });
      if (inTransaction) dw_->CommitTrans();
      EXPECT_THAT(error, HasSubstr(c.error));
      EXPECT_EQ(error.empty(), std::string(c.error).empty());
      EXPECT_EQ(c.after, Rows(std::string("SELECT * FROM ") + c.table + " ORDER BY 1"));
    }
  }
}

TEST_P(SqlContract, AnUpdateTakesValuesOfAnyTypeAndKeepsNullApartFromEmptyText) {
  Do("CREATE TABLE t (id INT PRIMARY KEY, flag BOOLEAN, small SMALLINT, words VARCHAR(20), "
     "price DECIMAL(9, 2), at TIMESTAMP);"
     "INSERT INTO t VALUES (1, NULL, 5, NULL, 1.25, '2001-01-08 09:10:11')");
  const auto row = dw_->OpenRecordset("SELECT * FROM t", kLocked);
  row->SetField("flag", std::int64_t{1});
  row->SetField("small", "7");
  row->SetField("words", "");
  row->SetField("price", "3.50");
  row->SetField("at", "2002-02-03 04:05:06");
  row->Update();
  row->SetField("words", "Grüße 'x'");
  row->Update();
  row->SetField("small", ado::Null{});
  row->Update();
  EXPECT_EQ("1|1|-|Grüße 'x'|3.500000|2002-02-03 04:05:06", Rows("SELECT * FROM t"));
}

TEST_P(SqlContract, ASavepointUndoesAFailedStepAndTheTransactionGoesOn) {
  Do("CREATE TABLE t (a INT PRIMARY KEY)");
  EXPECT_THAT(ErrorOf([&] { dw_->SetSavepoint(); }), HasSubstr("transaction"));
  for (const bool commit : {false, true}) {
    dw_->BeginTrans();
    for (const std::string id : {"1", "2", "3"}) {
      dw_->SetSavepoint();
      Do("INSERT INTO t VALUES (" + id + ")");
    }
    EXPECT_NE("", ErrorOf([&] { Do("INSERT INTO t VALUES (1)"); }));
    EXPECT_EQ("1\n2\n3", Rows("SELECT a FROM t ORDER BY a")) << "a failed statement undoes more";
    dw_->RollbackToSavepoint();
    commit ? dw_->CommitTrans() : dw_->RollbackTrans();
    EXPECT_EQ(commit ? "1\n2" : "", Rows("SELECT a FROM t ORDER BY a"));
  }
}

TEST_P(SqlContract, ClosingRollsBackEvenWhileARecordsetIsHeld) {
  Do("CREATE TABLE t (a INT)");
  dw_->BeginTrans();
  Do("INSERT INTO t VALUES (1), (2)");
  const auto rows = dw_->OpenRecordset("SELECT * FROM t", {});
  dw_->Close();
  EXPECT_EQ(1, database_.Open()->Execute("INSERT INTO t VALUES (3)"));
  EXPECT_EQ("3", RowsOf(*database_.Open(), "SELECT a FROM t"));
}

TEST_P(SqlContract, OneConnectionReadsSeveralQueriesAtATime) {
  Do("CREATE TABLE t (a INT); INSERT INTO t VALUES (1), (2), (3)");
  const auto first = dw_->OpenRecordset("SELECT a FROM t ORDER BY a", {});
  first->MoveNext();
  const auto second = dw_->OpenRecordset("SELECT a FROM t ORDER BY a DESC", {});
  Do("INSERT INTO t VALUES (4)");
  EXPECT_EQ(ado::Value(std::int64_t{2}), first->Field("a"));
  first->MoveNext();
  EXPECT_EQ(ado::Value(std::int64_t{3}), first->Field("a"));
  EXPECT_EQ(ado::Value(std::int64_t{3}), second->Field("a"));
}

TEST_P(SqlContract, CancelEndsAStatementOfAnotherThread) {
  std::atomic<bool> ended = false;
  std::string error;
  std::thread runner([&] {
    error = ErrorOf([&] {
      Rows("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT max(i) FROM n");
    });
    ended = true;
  });
  while (!ended) dw_->Cancel();
  runner.join();
  EXPECT_THAT(error, testing::ContainsRegex("interrupt|cancel"));
  EXPECT_EQ("1", Rows("SELECT 1"));
}

TEST_P(SqlContract, ABulkLoadStoresEachValueInItsColumnsTypeAndSaysWhatItCannotStore) {
  Do("CREATE TABLE Sales (i INT UNIQUE, d DECIMAL(9,2), r REAL, f BOOLEAN, day DATE, "
     "s VARCHAR(5) NOT NULL)");
  const std::vector<std::string> columns = {"I", "d", "r", "f", "day", "s"}, unknown = {"c"};
  using Row = std::vector<ado::LoadValue>;
  const ado::Column s = dw_->TableColumns("Sales").at(5);
  EXPECT_EQ(std::pair(5, false), std::pair(s.size, s.nullable));
  dw_->BeginTrans();
  const auto load = dw_->OpenBulkLoad("dbo.Sales", columns);
  load->Append(Row{"-7", "1.50", "1e2", "1", "2001-01-08", "007"});
  load->Append(Row{std::nullopt, std::nullopt, std::nullopt, std::nullopt, std::nullopt, ""});
  const std::pair<Row, const char*> faulty[] = {{{"-7", "1", "1", "0", "2001-01-08", ""}, "i"},
                                                {Row(6), "s"},
                                                {{"2"}, "1 values for 6 columns"}};
  for (const auto& [row, error] : faulty)
    EXPECT_THAT(ErrorOf([&, values = row] { load->Append(values); }), HasSubstr(error));
  EXPECT_EQ(2, load->Finish());
  dw_->CommitTrans();
  EXPECT_EQ("-|-|-|-|-|\n-7|1.500000|100.000000|1|2001-01-08|007",
            Rows("SELECT * FROM Sales ORDER BY s"));
  EXPECT_THAT(ErrorOf([&] { dw_->OpenBulkLoad("Sales", unknown); }), HasSubstr("no column \"c\""));
  EXPECT_THAT(ErrorOf([&] { dw_->OpenBulkLoad("a.b", columns); }), HasSubstr("no table a.b"));
}

}  // namespace
}  // namespace torvik
