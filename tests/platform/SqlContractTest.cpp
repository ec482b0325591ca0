// What every kind of server does alike, whatever its SQL and its driver are like.

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "fakes/LoadRow.h"
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

INSTANTIATE_TEST_SUITE_P(, SqlContract, kSqlServers,
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

TEST_P(SqlContract, PrepareRunsNothingAndSaysWhatTheServerDoesNotTake) {
  Do("CREATE TABLE p (id INT, note VARCHAR(9)); INSERT INTO p VALUES (1, 'a')");
  const struct {
    const char* sql;
    bool isTaken;
  } cases[] = {{"DELETE FROM p; INSERT INTO p VALUES (2, 'b')", true},
               {"DELETE FROM p WHERE id = ? AND note LIKE ?", true},
               {"SELECT ? FROM p", true},
               {"CREATE TABLE made (id INT)", true},
               {"DROP TABLE p", true},
               {"SELECT TOP 5 id FROM p", false},
               {"SELECT 1; SELECT nothing FROM p", false},
               {"SELECT id FROM nowhere", false},
               {"-- nothing", true}};
  for (const bool inTransaction : {false, true}) {
    if (inTransaction) dw_->BeginTrans();
    for (const auto& c : cases)
      EXPECT_EQ(c.isTaken, ErrorOf([&] { dw_->Prepare(c.sql); }).empty()) << c.sql;
    if (inTransaction) dw_->CommitTrans();
    EXPECT_EQ("1|a", Rows("SELECT id, note FROM p"));
    EXPECT_NE("", ErrorOf([&] { Do("DROP TABLE made"); }));
  }
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

TEST_P(SqlContract, ATransactionThatAStatementLeavesOpenIsSeen) {
  Do("CREATE TABLE t (a INT)");
  const std::pair<const char*, bool> cases[] = {{"INSERT INTO t VALUES (1)", false},
                                                {"BEGIN; INSERT INTO t VALUES (2); COMMIT", false},
                                                {"BEGIN; INSERT INTO t VALUES (3)", true},
                                                {"INSERT INTO t VALUES (4)", true},
                                                {"ROLLBACK", false}};
  for (const auto& [sql, isOpen] : cases) {
    Do(sql);
    EXPECT_EQ(isOpen, dw_->HasOpenTransaction()) << sql;
  }
  EXPECT_EQ("1\n2", Rows("SELECT a FROM t ORDER BY a"));
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
  const auto load = dw_->OpenBulkLoad("dbo.Sales", columns);
  LoadRow(*load, Row{"-7", "1.50", "1e2", "1", "2001-01-08", "007"});
  LoadRow(*load, Row{ado::LoadValue(), ado::LoadValue(), ado::LoadValue(), ado::LoadValue(),
                     ado::LoadValue(), ""});
  const std::pair<Row, const char*> faulty[] = {{{"-7", "1", "1", "0", "2001-01-08", ""}, "i"},
                                                {Row(6), "s"},
                                                {{"2"}, "1 values for 6 columns"}};
  for (const auto& [row, error] : faulty)
    EXPECT_THAT(ErrorOf([&, values = row] { LoadRow(*load, values); }), HasSubstr(error));
  EXPECT_EQ(2, load->Finish());
  EXPECT_EQ("-|-|-|-|-|\n-7|1.500000|100.000000|1|2001-01-08|007",
            Rows("SELECT * FROM Sales ORDER BY s"));
  EXPECT_THAT(ErrorOf([&] { dw_->OpenBulkLoad("Sales", unknown); }), HasSubstr("no column \"c\""));
  EXPECT_THAT(ErrorOf([&] { dw_->OpenBulkLoad("a.b", columns); }), HasSubstr("no table a.b"));
}

TEST_P(SqlContract, ABulkLoadTiesEachRefusalToItsRow) {
  Do("CREATE TABLE t (id INT PRIMARY KEY, s VARCHAR(9) NOT NULL)");
  const std::vector<std::string> columns = {"id", "s"};
  const std::vector<std::size_t> cases[] = {{},  {0},          {5},
                                            {9}, {0, 1, 5, 9}, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}};
  for (const bool inTransaction : {false, true}) {
    for (const std::size_t tolerated : {std::size_t{0}, std::size_t{10}}) {
      for (const std::vector<std::size_t>& bad : cases) {
        SCOPED_TRACE(testing::Message()
                     << inTransaction << tolerated << testing::PrintToString(bad));
        Do("DELETE FROM t; INSERT INTO t VALUES (100, 'x')");
        std::vector<ado::LoadValue> values;
        for (std::size_t row = 0; row < 10; ++row) {
          const bool isBad = std::ranges::count(bad, row) > 0;
          // A key that is there already, or no text.
          values.emplace_back(isBad && row % 2 == 1 ? std::int64_t{100}
                                                    : static_cast<std::int64_t>(row));
          values.push_back(isBad && row % 2 == 0 ? ado::LoadValue() : "x");
        }
        if (inTransaction) dw_->BeginTrans();
        std::vector<ado::Refusal> refused;
        const auto load = dw_->OpenBulkLoad("t", columns);
        load->Load({values, 2}, tolerated, refused);
        std::vector<std::size_t> rows;
        for (const ado::Refusal& refusal : refused) rows.push_back(refusal.row);
        const bool isKept = bad.empty() || tolerated > 0;
        EXPECT_EQ(isKept ? bad : std::vector{bad[0]}, rows);
        const auto taken = static_cast<std::int64_t>(isKept ? 10 - bad.size() : 0);
        EXPECT_TRUE(!isKept || load->Finish() == taken);
        if (inTransaction) isKept ? dw_->CommitTrans() : dw_->RollbackTrans();
        // Without a transaction the server keeps what it likes of a load that has ended.
        EXPECT_TRUE((!isKept && !inTransaction) ||
                    Rows("SELECT COUNT(*) FROM t") == std::to_string(taken + 1));
      }
    }
  }
}

TEST_P(SqlContract, NullStandsForADefaultUnlessNullsAreKept) {
  Do("CREATE TABLE t (id INT PRIMARY KEY, n INT DEFAULT 7, s VARCHAR(9) DEFAULT 'it''s' NOT NULL, "
     "x INT)");
  const std::vector<std::string> columns = {"X", "S", "N", "id"}, defaults = {"s", "n"};
  const ado::LoadValue null;
  const ado::LoadValue rows[] = {null, null, null, "1", "9", "a",  "1",  "2", "9", null, "2",  "3",
                                 null, "b",  null, "4", "5", null, null, "1", "6", null, null, "6"};
  const struct {
    bool keepsNulls;
    std::vector<std::size_t> refused;
    const char* rows;
  } cases[] = {{false, {4}, "1|7|it's|-\n2|1|a|9\n3|2|it's|9\n4|7|b|-\n6|7|it's|6"},
               {true, {0, 2, 4, 5}, "2|1|a|9\n4|-|b|-"}};
  for (const auto& c : cases) {
    Do("DELETE FROM t");
    std::vector<ado::Refusal> refused;
    const auto load = dw_->OpenBulkLoad("t", columns, {.keepsNulls = c.keepsNulls});
    load->Load({rows, 4}, 9, refused);
    std::vector<std::size_t> places;
    for (const ado::Refusal& one : refused) places.push_back(one.row);
    EXPECT_EQ(c.refused, places);
    EXPECT_EQ(6 - static_cast<int>(places.size()), load->Finish());
    EXPECT_EQ(c.rows, Rows("SELECT * FROM t ORDER BY id"));
  }
  std::vector<ado::Refusal> refused;
  dw_->OpenBulkLoad("t", defaults, {.keepsNulls = false})
      ->Load({std::span(rows).first(2), 2}, 1, refused);
  EXPECT_EQ(1u, refused.size()) << "there is no INSERT of nothing";
}

/// The rows that are left, as RowsOf shows them.
std::string TextsLeftIn(ado::BulkRead& read) {
  std::string rows;
  std::vector<ado::LoadValue> row(read.Columns().size());
  while (read.Next(row)) {
    for (const ado::LoadValue& value : row) {
      const bool isInteger = value.GetKind() == ado::LoadValue::Kind::Integer;
      rows += (isInteger        ? std::to_string(value.Integer())
               : value.IsNull() ? "-"
                                : std::string(value.Text())) +
              "|";
    }
    rows += "\n";
  }
  return rows;
}

TEST_P(SqlContract, AQueryIsReadInBulkAloneOrAlongsideOtherStatements) {
  Do("CREATE TABLE t (id INT, f BOOLEAN, at TIMESTAMP, s VARCHAR(20));"
     "INSERT INTO t VALUES (1, '1', '2001-01-08 09:10:11', 'tab\there\nline\\N'), "
     "(2, '0', NULL, ''), (3, NULL, NULL, NULL)");
  Do("CREATE TABLE n (i INT); INSERT INTO n WITH RECURSIVE c(i) AS (SELECT 1 UNION ALL "
     "SELECT i + 1 FROM c WHERE i < 9000) SELECT i FROM c");
  for (const bool inTransaction : {false, true}) {
    for (const bool alongside : {false, true}) {
      SCOPED_TRACE(testing::Message() << inTransaction << alongside);
      if (inTransaction) dw_->BeginTrans();
      const auto read =
          dw_->OpenBulkRead("SELECT id, f AS flag, at, s FROM t ORDER BY id", alongside);
      EXPECT_EQ((std::vector<std::string>{"id", "flag", "at", "s"}), read->Columns());
      if (alongside) Do("UPDATE n SET i = i WHERE i = 1");
      EXPECT_EQ("1|1|2001-01-08 09:10:11|tab\there\nline\\N|\n2|0|-||\n3|-|-|-|\n",
                TextsLeftIn(*read));
      EXPECT_EQ("", TextsLeftIn(*read));
      {
        const auto many = dw_->OpenBulkRead("SELECT i FROM n ORDER BY i", alongside);
        const std::string rows = TextsLeftIn(*many);
        EXPECT_EQ(9000, std::ranges::count(rows, '\n'));
        EXPECT_TRUE(rows.ends_with("\n9000|\n"));
        const auto left = dw_->OpenBulkRead("SELECT a.i FROM n a, n b WHERE a.i < 30", alongside);
        std::vector<ado::LoadValue> row(1);
        EXPECT_TRUE(left->Next(row));
      }
      EXPECT_THAT(ErrorOf([&] { dw_->OpenBulkRead("SELECT * FROM no_such_table", alongside); }),
                  HasSubstr("no_such_table"));
      EXPECT_EQ("9000", Rows("SELECT COUNT(*) FROM n"));
      if (inTransaction) dw_->CommitTrans();
    }
  }
}

TEST_P(SqlContract, ExecuteWithPutsEachValueInPlaceOfItsMarker) {
  Do("CREATE TABLE t (id INT, s VARCHAR(20), r DOUBLE PRECISION)");
  const ado::Value values[] = {std::int64_t{1}, "Grüße '?'", 1.5,
                               std::int64_t{2}, ado::Null{}, std::int64_t{1}};
  for (const bool inTransaction : {false, true}) {
    if (inTransaction) dw_->BeginTrans();
    Do("DELETE FROM t");
    const ado::StatementResult result = dw_->ExecuteWith(
        "INSERT INTO t VALUES (?, ?, ?); -- one?\nINSERT INTO t (id, s, r) VALUES (?, 'a?', ?);"
        "SELECT s AS \"s?\", r FROM t WHERE id = ? /* ? */",
        values);
    EXPECT_EQ(2, result.changedRows);
    EXPECT_EQ(std::vector<std::string>({"s?", "r"}), result.columns);
    EXPECT_EQ(std::vector<ado::Value>({"Grüße '?'", 1.5}), result.rows.at(0));
    for (const std::size_t most : {0, 1, 2, 3})
      EXPECT_EQ(std::min<std::size_t>(most, 2),
                dw_->ExecuteWith("SELECT id FROM t WHERE id >= ?", std::span(values, 1), most)
                    .rows.size());
    for (const std::size_t count : {1, 3})
      EXPECT_THAT(ErrorOf([&] {
                    dw_->ExecuteWith("DELETE FROM t; SELECT id FROM t WHERE id IN (?, ?)",
                                     std::span(values).first(count));
                  }),
                  HasSubstr("2 "));
    EXPECT_NE("", ErrorOf([&] { dw_->ExecuteWith("SELECT ? FROM none", std::span(values, 1)); }));
    EXPECT_EQ("1|Grüße '?'|1.500000\n2|a?|-", Rows("SELECT * FROM t ORDER BY id"));
    if (inTransaction) dw_->CommitTrans();
  }
}

TEST_P(SqlContract, ATableIsMadeEmptiedAndReplacedFromBesideIt) {
  using enum ado::ColumnKind;
  const std::vector<ado::Column> made = {
      {.name = "id", .kind = Integer, .size = 8, .nullable = false, .keyPosition = 2},
      {.name = "part", .kind = Integer, .size = 2, .nullable = false, .keyPosition = 1},
      {.name = "s", .kind = Text, .size = 40},
      {.name = "words", .kind = Text},
      {.name = "price", .kind = Decimal, .precision = 9, .scale = 2},
      {.name = "r", .kind = Real},
      {.name = "f", .kind = Boolean},
      {.name = "day", .kind = Date},
      {.name = "at", .kind = DateTime},
      {.name = "bytes", .kind = Binary}};
  dw_->CreateTable("made", made);
  const auto columns = dw_->TableColumns("made");
  ASSERT_EQ(made.size(), columns.size());
  for (std::size_t i = 0; i < made.size(); ++i) {
    const auto facts = [](const ado::Column& c) {
      return std::tuple(c.name, c.kind, c.nullable, c.keyPosition, c.precision, c.scale);
    };
    EXPECT_EQ(facts(made[i]), facts(columns[i])) << columns[i].declaredType;
  }
  EXPECT_EQ(40, columns[2].size);

  Do("INSERT INTO made (id, part) VALUES (1, 1)");
  const std::vector<std::string> filled = {"part", "id", "s"};
  Do("CREATE TABLE long_name_of_a_table_that_fills_all_of_the_sixty_three_bytes__ (a INT)");
  EXPECT_NE("", dw_->CreateStagingTable(
                    "long_name_of_a_table_that_fills_all_of_the_sixty_three_bytes__"));
  dw_->CreateStagingTable("made");
  const std::string staging = dw_->CreateStagingTable("made");
  const ado::LoadValue rows[] = {"1", "7", "a", "1", "8", "b", "1", "7", "again"};
  std::vector<ado::Refusal> refused;
  const auto load = dw_->OpenBulkLoad(staging, filled);
  load->Load({rows, 3}, 1, refused);
  EXPECT_EQ(2, load->Finish()) << "the key is not there";
  EXPECT_EQ("1", Rows("SELECT id FROM made"));
  for (const bool commit : {false, true}) {
    dw_->BeginTrans();
    EXPECT_EQ(2, dw_->ReplaceRows("made", staging));
    commit ? dw_->CommitTrans() : dw_->RollbackTrans();
    EXPECT_EQ(commit ? "7|a\n8|b" : "1|-", Rows("SELECT id, s FROM made ORDER BY id"));
  }
  EXPECT_TRUE(dw_->TableColumns(staging).empty());
  for (const bool commit : {false, true}) {
    dw_->BeginTrans();
    dw_->EmptyTable("made");
    commit ? dw_->CommitTrans() : dw_->RollbackTrans();
    EXPECT_EQ(commit ? "0" : "2", Rows("SELECT COUNT(*) FROM made"));
  }
}

TEST_P(SqlContract, AMergeInsertsChangesAndDeletesExactlyWhatDiffers) {
  const std::vector<std::string> columns = {"id", "order", "note"};
  const struct {
    const char* made;  ///< The key, as the table has it.
    std::vector<std::string> keys;
    std::vector<ado::LoadValue> rows;
    bool deletes;
    const char* counts;  ///< Inserted, updated, deleted; or a part of the error.
    const char* after;
  } cases[] = {
      {", PRIMARY KEY (id)",
       {"id"},
       {"1", "5", "A", "2", "5", "b", "4", "5", {}},
       false,
       "1 1 0",
       "1|5|A\n2|5|b\n3|5|-\n4|5|-"},
      {", PRIMARY KEY (id)", {"ID"}, {"1", "5", "a", "3", "5", "c"}, true, "0 1 1", "1|5|a\n3|5|c"},
      {"",
       {"id", "order"},
       {"1", "6", "a", "2", "5", {}, "3", "5", {}},
       true,
       "1 1 1",
       "1|6|a\n2|5|-\n3|5|-"},
      {"",
       {"id", "order", "note"},
       {"1", "5", "a", "2", "5", "x"},
       false,
       "1 0 0",
       "1|5|a\n2|5|b\n2|5|x\n3|5|-"},
      {"", {"id", "order"}, {"7", "8", "a", "7", "8", "b"}, true, "(7, 8)", nullptr},
      {"",
       {"note"},
       {"7", "8", "a", "8", "8", {}},
       true,
       "NULL in the key column \"note\"",
       nullptr},
      {"", {"made"}, {"7", "8", "a"}, true, "the key column made of table [a.b]", nullptr},
      {", CHECK (note <> 'no' OR note IS NULL)",
       {"id"},
       {"1", "6", "a"},
       false,
       "0 1 0",
       "1|6|a\n2|5|b\n3|5|-"}};
  for (const auto& c : cases) {
    Do(std::string("DROP TABLE IF EXISTS \"a.b\"; CREATE TABLE \"a.b\" (id INT NOT NULL, ") +
       "\"order\" INT, note VARCHAR(9), twice INT GENERATED ALWAYS AS (id * 2) STORED" + c.made +
       "); INSERT INTO \"a.b\" (id, \"order\", note) VALUES (1, 5, 'a'), (2, 5, 'b'), (3, 5, "
       "NULL)");
    const std::string before = Rows("SELECT id, \"order\", note FROM \"a.b\" ORDER BY id, note");
    dw_->BeginTrans();
    const std::string staging = dw_->CreateStagingTable("[a.b]");
    const auto load = dw_->OpenBulkLoad(staging, columns);
    std::vector<ado::Refusal> refused;
    load->Load({c.rows, 3}, 0, refused);
    ASSERT_EQ(static_cast<std::int64_t>(c.rows.size() / 3), load->Finish());
    ado::MergeCounts counts;
    const std::string error = ErrorOf([&] {
      counts = dw_->MergeRows("[a.b]", staging, {columns, c.keys, c.deletes});
    });
    error.empty() ? dw_->CommitTrans() : dw_->RollbackTrans();
    const std::string told = std::to_string(counts.inserted) + " " +
                             std::to_string(counts.updated) + " " + std::to_string(counts.deleted);
    EXPECT_THAT(error.empty() ? told : error, HasSubstr(c.counts)) << c.after;
    EXPECT_EQ(c.after ? c.after : before,
              Rows("SELECT id, \"order\", note FROM \"a.b\" ORDER BY id, note"))
        << c.counts;
    EXPECT_TRUE(dw_->TableColumns(staging).empty()) << c.counts;
  }
}

}  // namespace
}  // namespace torvik
