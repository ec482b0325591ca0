#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "platform/linux/sqlite/EmbeddedFixture.h"

namespace torvik {
namespace {

using testing::HasSubstr;

/// The tables t of two databases of an embedded server, from one into the other.
class SqliteTransfer : public EmbeddedFixture, public testing::Test {
 protected:
  SqliteTransfer() {
    CreateWarehouse(Directory(), "origin");
    origin_ = Open("origin");
    third_ = Open("origin");
  }

  std::unique_ptr<ado::BulkLoad> OpenLoad() {
    std::vector<std::string> columns;
    for (const ado::Column& column : dw_->TableColumns("t")) columns.push_back(column.name);
    return dw_->OpenBulkLoad("t", columns);
  }

  static std::optional<std::int64_t> LoadAll(
      ado::BulkLoad& load, ado::BulkRead& read,
      const std::function<void(std::int64_t)>& progress = [](std::int64_t) {}) {
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < read.Columns().size(); ++i) places.push_back(i);
    return load.LoadAll(read, places, progress);
  }

  std::optional<std::int64_t> LoadAll(const std::string& query = "SELECT * FROM t") {
    const auto read = origin_->OpenBulkRead(query, false);
    return LoadAll(*OpenLoad(), *read);
  }

  /// A table of the origin with that many rows.
  void FillOrigin(int rows) {
    origin_->Execute(
        "CREATE TABLE t (a INT, s TEXT); INSERT INTO t WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL "
        "SELECT i + 1 FROM n WHERE i < " +
        std::to_string(rows) + ") SELECT i, 'a text of row ' || i FROM n");
    dw_->Execute("CREATE TABLE t (a INT, s TEXT)");
  }

  std::string Guests() {
    return RowsOf(*dw_, "SELECT count(*) FROM pragma_database_list WHERE name LIKE 'torvik_g%'");
  }

  std::unique_ptr<ado::Connection> dw_ = Open(), origin_, third_;
};

TEST_F(SqliteTransfer, MovesTheRowsOfAWholeTableMadeAlikeAndOfNoOther) {
  const std::string plain = "a INT, b VARCHAR(3)";
  const struct {
    const char* what;
    std::string origin, target;  ///< The columns.
    bool isMoved = false;
    std::string query = "SELECT * FROM t";
    std::string beforeOrigin = "", beforeTarget = "";
  } cases[] = {
      {"alike", plain, plain, true},
      {"spelled otherwise", plain, plain, true, "select * /* all */ from [t] ;"},
      {"by three names", plain, plain, true, "SELECT * FROM origin.dbo.t"},
      {"other names", "x INT, y VARCHAR(3)", plain, true},
      {"types of the same kind", "a BIGINT, b TEXT", plain, true},
      {"keys of the origin", "a INT UNIQUE, b VARCHAR(3) PRIMARY KEY", plain, true},
      {"a trigger of the origin", plain, plain, true, "SELECT * FROM t",
       "CREATE TRIGGER g BEFORE INSERT ON t BEGIN SELECT 1; END"},
      {"no rows", plain, plain, true, "SELECT * FROM t", "DELETE FROM t"},
      {"a column that was added", "a INT", plain, true, "SELECT * FROM t",
       "ALTER TABLE t ADD b VARCHAR(3)"},
      {"a default that was added", "a INT", plain, false, "SELECT * FROM t",
       "ALTER TABLE t ADD b VARCHAR(3) DEFAULT 'd'"},
      {"some rows", plain, plain, false, "SELECT * FROM t WHERE a > 1"},
      {"an order", plain, plain, false, "SELECT * FROM t ORDER BY a"},
      {"another column order", plain, plain, false, "SELECT b, a FROM t"},
      {"an alias", plain, plain, false, "SELECT * FROM t u"},
      {"a view", plain, plain, false, "SELECT * FROM v", "CREATE VIEW v AS SELECT * FROM t"},
      {"a view of the name", plain, plain, false, "SELECT * FROM t",
       "CREATE TEMP VIEW t AS SELECT a, b FROM main.t WHERE a > 1"},
      {"a temporary table", plain, plain, false, "SELECT * FROM t",
       "CREATE TEMP TABLE t AS SELECT 1 AS a, 'b' AS b"},
      {"another affinity", "a TEXT, b VARCHAR(3)", plain},
      {"another collation", plain, "a INT, b VARCHAR(3) COLLATE NOCASE"},
      {"a column more", plain + ", c INT", plain},
      {"a column that must have a value", plain, "a INT NOT NULL, b VARCHAR(3)"},
      {"a computed column", "a INT, b VARCHAR(3) AS ('x')", plain},
      {"no row numbers", plain, plain, false, "SELECT * FROM t",
       "DROP TABLE t; CREATE TABLE t (a INT PRIMARY KEY, b VARCHAR(3)) WITHOUT ROWID;"
       " INSERT INTO t VALUES (1, 'b')"},
      {"a key", "a INTEGER PRIMARY KEY, b VARCHAR(3)", "a INTEGER PRIMARY KEY, b VARCHAR(3)"},
      {"an index", plain, plain, false, "SELECT * FROM t", "", "CREATE INDEX i ON t (a)"},
      {"a check", plain, "a INT CHECK (a < 9), b VARCHAR(3)"},
      {"a trigger", plain, plain, false, "SELECT * FROM t", "",
       "CREATE TRIGGER g BEFORE INSERT ON t BEGIN SELECT 1; END"},
      {"a value that does not fit", plain, plain, false, "SELECT * FROM t",
       "INSERT INTO t VALUES (4, 'long')"},
      {"a text that is a number to the type that its column has now", "a INT, b TIME",
       "a INT, b TIME", false, "SELECT * FROM t",
       "DROP TABLE t; CREATE TABLE t (a INT, b TEXT); INSERT INTO t VALUES (1, '12');"
       " PRAGMA writable_schema = ON; UPDATE sqlite_schema SET sql = 'CREATE TABLE t (a INT, b "
       "TIME)'"
       " WHERE name = 't'; PRAGMA writable_schema = RESET"},
      {"a type that says nothing", "a INT, b DATE CHAR", "a INT, b DATE CHAR"}};
  for (const auto& one : cases) {
    SCOPED_TRACE(one.what);
    origin_ = Open("origin");  // without temporary tables
    origin_->Execute("DROP VIEW IF EXISTS v; DROP TABLE IF EXISTS main.t; CREATE TABLE t (" +
                     one.origin + "); INSERT INTO t (" + (one.origin.starts_with("x") ? "x" : "a") +
                     ") VALUES (1), (2), (3)" +
                     (one.beforeOrigin.empty() ? "" : "; " + one.beforeOrigin));
    dw_->Execute("DROP TABLE IF EXISTS t; CREATE TABLE t (" + one.target + "); " +
                 one.beforeTarget);
    dw_->BeginTrans();
    const auto read = origin_->OpenBulkRead(one.query, false);
    auto load = OpenLoad();
    const auto moved = LoadAll(*load, *read);
    const std::string rows = RowsOf(*origin_, "SELECT count(*) FROM main.t");
    EXPECT_EQ(one.isMoved ? rows : "nothing", moved ? std::to_string(*moved) : "nothing");
    EXPECT_EQ(moved.value_or(0), load->Finish());
    if (one.isMoved) {
      EXPECT_EQ(RowsOf(*origin_, "SELECT * FROM t"), RowsOf(*dw_, "SELECT * FROM t"));
    } else {
      EXPECT_EQ("0", RowsOf(*dw_, "SELECT count(*) FROM t"));
      std::vector<ado::LoadValue> row(read->Columns().size());
      EXPECT_TRUE(read->Next(row)) << "the read begins anew";
    }
    load.reset();
    dw_->CommitTrans();
    EXPECT_EQ("0", Guests());
  }
}

TEST_F(SqliteTransfer, MovesNoColumnToAnotherPlace) {
  for (ado::Connection* connection : {dw_.get(), origin_.get()})
    connection->Execute("CREATE TABLE t (a INT, b INT); INSERT INTO t VALUES (1, 2)");
  const struct {
    std::vector<std::string> columns;
    std::vector<std::size_t> places;
    bool isMoved = false;
  } cases[] = {{{"a", "b"}, {0, 1}, true}, {{"A", "B"}, {0, 1}, true}, {{"a", "b"}, {1, 0}},
               {{"b", "a"}, {0, 1}},       {{"a", "b"}, {0, 0}},       {{"a"}, {0}}};
  for (const auto& one : cases) {
    const auto read = origin_->OpenBulkRead("SELECT * FROM t", false);
    dw_->BeginTrans();
    const auto moved =
        dw_->OpenBulkLoad("t", one.columns)->LoadAll(*read, one.places, [](std::int64_t) {});
    EXPECT_EQ(one.isMoved, moved.has_value()) << one.columns[0] << one.places[0];
    dw_->RollbackTrans();
  }
}

TEST_F(SqliteTransfer, LeavesRowsToOthersWhereAConnectionHasSomethingOpen) {
  FillOrigin(3);
  const auto read = origin_->OpenBulkRead("SELECT * FROM t", false);
  EXPECT_FALSE(LoadAll(*OpenLoad(), *read)) << "without a transaction";
  dw_->BeginTrans();
  dw_->SetSavepoint();
  EXPECT_FALSE(LoadAll(*OpenLoad(), *read)) << "in one that other steps share";
  dw_->RollbackTrans();
  dw_->BeginTrans();
  EXPECT_FALSE(LoadAll(*OpenLoad(), *dw_->OpenBulkRead("SELECT * FROM t", false))) << "the same";
  EXPECT_FALSE(LoadAll(*OpenLoad(), *Open()->OpenBulkRead("SELECT * FROM t", false))) << "file";
  origin_->BeginTrans();
  origin_->Execute("DELETE FROM t WHERE a = 2");
  EXPECT_FALSE(LoadAll(*OpenLoad(), *read)) << "changes that nobody else sees";
  origin_->RollbackTrans();
  {
    std::vector<ado::LoadValue> row(2);
    const auto other = origin_->OpenBulkRead("SELECT * FROM t", false);
    other->Next(row);
    third_->Execute("UPDATE t SET a = 'word' WHERE a = 3");
    EXPECT_FALSE(LoadAll(*OpenLoad(), *read)) << "a read of an earlier state";
    EXPECT_FALSE(LoadAll(*OpenLoad(), *other)) << "a read that has begun";
  }
  third_->Execute("UPDATE t SET a = 3 WHERE a = 'word'");
  EXPECT_EQ(3, LoadAll(*OpenLoad(), *read)) << "none of it is open any more";
  dw_->CommitTrans();
}

/// A row far behind, so that it is seen while rows are moved already.
TEST_F(SqliteTransfer, TakesBackWhatItHasMovedWhenARowDoesNotFit) {
  FillOrigin(60'000);
  origin_->Execute("UPDATE t SET a = 'word' WHERE a = 59000");
  dw_->BeginTrans();
  dw_->Execute("INSERT INTO t VALUES (0, 'before')");
  EXPECT_FALSE(LoadAll());
  EXPECT_EQ("0|before", RowsOf(*dw_, "SELECT * FROM t"));
  origin_->Execute("UPDATE t SET a = 59000 WHERE a = 'word'");
  dw_->CommitTrans();
  EXPECT_EQ("0|before", RowsOf(*dw_, "SELECT * FROM t"));
  dw_->BeginTrans();
  EXPECT_EQ(60'000, LoadAll());
  dw_->CommitTrans();
  EXPECT_EQ("60001", RowsOf(*dw_, "SELECT count(*) FROM t"));
}

TEST_F(SqliteTransfer, EndsSoonWhenItIsGivenUpAndLeavesNothing) {
  FillOrigin(300'000);
  for (const bool isCancelled : {true, false}) {
    dw_->BeginTrans();
    std::int64_t seen = 0;
    const auto read = origin_->OpenBulkRead("SELECT * FROM t", false);
    EXPECT_THAT(ErrorOf([&] {
                  LoadAll(*OpenLoad(), *read, [&](std::int64_t rows) {
                    seen = rows;
                    if (isCancelled) return dw_->Cancel();
                    throw PlatformError(0, "given up", "test");
                  });
                }),
                HasSubstr(isCancelled ? "interrupt" : "given up"));
    EXPECT_LT(seen, 300'000);
    ErrorOf([&] { dw_->RollbackTrans(); });
    EXPECT_EQ("0", RowsOf(*dw_, "SELECT count(*) FROM t"));
    origin_->Execute("UPDATE t SET a = a WHERE a = 1");
  }
  dw_->BeginTrans();
  EXPECT_EQ(300'000, LoadAll());
  dw_->CommitTrans();
}

/// The thread that looks and the one that moves must see the same: what was committed between them
/// has been looked at by nobody.
TEST_F(SqliteTransfer, MovesNoRowThatAnotherConnectionBringsMeanwhile) {
  FillOrigin(500);
  std::atomic<bool> isDone = false;
  std::thread writer([&] {
    while (!isDone) {
      third_->Execute("UPDATE t SET a = 'word' WHERE s = 'a text of row 7'");
      third_->Execute("UPDATE t SET a = 7 WHERE s = 'a text of row 7'");
    }
  });
  int moved = 0;
  for (int times = 0; times < 300; ++times) {
    dw_->BeginTrans();
    moved += LoadAll() ? 1 : 0;
    EXPECT_EQ("0", RowsOf(*dw_, "SELECT count(*) FROM t WHERE typeof(a) <> 'integer'"));
    dw_->RollbackTrans();
  }
  isDone = true;
  writer.join();
  EXPECT_GT(moved, 0);
}

}  // namespace
}  // namespace torvik
