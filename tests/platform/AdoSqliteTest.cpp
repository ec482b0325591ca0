#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "EmbeddedFixture.h"
#include "platform/linux/SqlNames.h"

namespace torvik {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

constexpr ado::CursorOptions kLocked{ado::CursorLocation::UseClient, ado::CursorType::Dynamic,
                                     ado::LockType::Pessimistic};

TEST(SqlNames, OnlyNamesOfDatabasesAndOfTheOwnerAreRewritten) {
  const struct {
    const char* sql;
    const char* resolved;
  } cases[] = {
      {"SELECT * FROM msdb.dbo.t", "SELECT * FROM {msdb:t}t"},
      {"SELECT * FROM msdb..t", "SELECT * FROM {msdb:t}t"},
      {"[my db].[DBO].[t x].\"c\"", "{my db:t x}[t x].\"c\""},
      {"\"a\"\"b\".`dbo`.t", "{a\"b:t}t"},
      {"FROM dbo.t WHERE dbo.t.c = t.c", "FROM {:t}t WHERE {:t}t.c = t.c"},
      {"msdb . dbo /* x */ .\n t", "{msdb:t}\nt"},
      {"t.dbo = main.t.c", "t.dbo = main.t.c"},
      {"a.b.dbo.c", "a.b.dbo.c"},
      {"'msdb.dbo.t' x'00' 'it''s msdb..t'", "'msdb.dbo.t' x'00' 'it''s msdb..t'"},
      {"-- msdb.dbo.t\n/* msdb..t */ m..t", "-- msdb.dbo.t\n/* msdb..t */ {m:t}t"},
      {"1.5 + 2.e3 - .5", "1.5 + 2.e3 - .5"},
      {"isnull (a.b, 'ISNULL(')", "IFNULL (a.b, 'ISNULL(')"},
      {"a ISNULL AND (b ISNULL)", "a ISNULL AND (b ISNULL)"},
      {"'open msdb.dbo.t", "'open msdb.dbo.t"},
      {"/* open m..t", "/* open m..t"},
      {"[open m..t", "[open m..t"},
      {"m.", "m."},
      {"m..", "m.."},
      {"\"", "\""},
      {"", ""},
  };
  const auto prefix = [](const TableName& name, int) {
    return "{" + name.database + ":" + name.table + "}";
  };
  for (const auto& c : cases) EXPECT_EQ(c.resolved, ResolveNames(c.sql, prefix)) << c.sql;
}

class AdoSqlite : public testing::Test {
 protected:
  EmbeddedFixture server_;
  std::unique_ptr<ado::Connection> dw_ = server_.Open();
};

TEST_F(AdoSqlite, ListsAndCatalogueAnswerTheServersStatements) {
  dw_->Execute(
      "INSERT INTO msdb.dbo.sysdtspackages (name, id, versionid) VALUES ('A', '1', '1'), "
      "('A', '1', '2'), ('B', '2', '1');"
      "INSERT INTO dwm_data_link (model, source_name, Type) VALUES ('M', 'x', 3)");
  const struct {
    const char* sql;
    const char* rows;
  } cases[] = {
      {"SELECT DISTINCT name FROM master.dbo.sysdatabases ORDER BY name", "dw\nmaster\nmsdb"},
      {"SELECT d.name FROM MASTER..SysDatabases AS d WHERE d.name LIKE 'd%'", "dw"},
      {"SELECT DISTINCT name FROM msdb.dbo.sysdtspackages", "A\nB"},
      {"SELECT source_name FROM dw.dbo.dwm_data_link WHERE dwm_data_link.model = 'M'", "x"},
      {"SELECT ISNULL(NULL, LEN('d\xC3\xA9j\xC3\xA0  ')), LEN(NULL)", "4|-"},
      {"SELECT GETDATE() BETWEEN datetime('now', 'localtime', '-1 day') AND"
       " datetime('now', 'localtime', '+1 day')",
       "1"},
  };
  for (const std::string database : {"dw", "master", "msdb"}) {
    const auto connection = server_.Open(database);
    for (const auto& c : cases) {
      if (database != "dw" && std::string(c.sql).find("dw.dbo") != std::string::npos) continue;
      EXPECT_EQ(c.rows, RowsOf(*connection, c.sql)) << database << ": " << c.sql;
    }
  }
  const auto schemata = dw_->OpenSchema(ado::SchemaQuery::Schemata, {});
  EXPECT_EQ(ado::Value("dw"), schemata->Field("SCHEMA_NAME"));
}

TEST_F(AdoSqlite, ADatabaseThatIsNotThereIsNamedAndNotMade) {
  const std::string file = server_.Directory() + "/sales.db";
  const auto isNamed = AllOf(HasSubstr("no such database: sales"), HasSubstr(server_.Directory()));
  EXPECT_THAT(ErrorOf([&] { server_.Open("sales"); }), isNamed);
  EXPECT_THAT(ErrorOf([&] { dw_->Execute("DELETE\nFROM sales..t"); }),
              AllOf(isNamed, StartsWith("line 2 of the SQL text")));
  EXPECT_THAT(ErrorOf([&] { dw_->TableColumns("sales.dbo.t"); }), isNamed);
  EXPECT_FALSE(std::filesystem::exists(file));
  std::filesystem::remove_all(server_.Directory());
  EXPECT_THAT(ErrorOf([&] { server_.Open("dw"); }),
              AllOf(HasSubstr(server_.Directory()), HasSubstr("server init")));
}

TEST_F(AdoSqlite, AServerThatIsNotKnownIsNamedAndTheFailureIsKept) {
  const auto connection = server_.Databases().NewConnection();
  connection->SetProperty("Data Source", "DWPROD");
  const std::string error = ErrorOf([&] { connection->Open(); });
  EXPECT_THAT(error, AllOf(HasSubstr("DWPROD"), HasSubstr("[server DWPROD]")));
  EXPECT_EQ(error, connection->Errors().at(0).description);
  EXPECT_EQ(ado::ObjectState::Closed, connection->State());
}

TEST_F(AdoSqlite, ExecuteCountsTheRowsThatTheStatementsThemselvesChange) {
  dw_->Execute(
      "CREATE TABLE p (id INTEGER PRIMARY KEY); CREATE TABLE log (id INT);"
      "CREATE TABLE q (id INTEGER REFERENCES p (id) ON DELETE CASCADE);"
      "CREATE TRIGGER logged AFTER INSERT ON p BEGIN INSERT INTO log VALUES (new.id); END");
  const struct {
    const char* sql;
    std::int64_t rows;
  } cases[] = {
      {"INSERT INTO p VALUES (1), (2), (3); INSERT INTO q VALUES (1), (2)", 5},
      {"UPDATE q SET id = 3; SELECT * FROM p; CREATE INDEX i ON q (id)", 2},
      {"WITH w AS (SELECT 9 AS id) INSERT INTO p SELECT id FROM w; -- end", 1},
      {"DELETE FROM p WHERE id = 3", 1},
      {"DELETE FROM p WHERE id = 77", 0},
      {"CREATE TABLE c AS SELECT * FROM p", 0},
      {"DROP TABLE p", 0},
      {"/* nothing */ ;;", 0},
  };
  for (const auto& c : cases) EXPECT_EQ(c.rows, dw_->Execute(c.sql)) << c.sql;
}

TEST_F(AdoSqlite, AnErrorNamesItsLineAndLeavesTheStatementsBeforeItDone) {
  dw_->Execute("CREATE TABLE t (a INTEGER PRIMARY KEY)");
  EXPECT_THAT(
      ErrorOf([&] {
        dw_->Execute("INSERT INTO t VALUES (1);\n-- next\n\nSELECT *\nFORM t; DELETE FROM t");
      }),
      StartsWith("line 4 of the SQL text: near \"FORM\": syntax error"));
  EXPECT_THAT(ErrorOf([&] { dw_->Execute("\nINSERT INTO t VALUES (1)"); }),
              StartsWith("line 2 of the SQL text: UNIQUE constraint failed: t.a"));
  EXPECT_THAT(ErrorOf([&] { dw_->OpenRecordset("SELECT 1; DELETE FROM t", {}); }),
              HasSubstr("one statement"));
  EXPECT_EQ("1", RowsOf(*dw_, "SELECT * FROM t"));
}

TEST_F(AdoSqlite, ATransactionTakesInDatabasesThatItNamesLater) {
  const auto reading = dw_->OpenRecordset("SELECT * FROM dwm_data_link", {});
  dw_->BeginTrans();
  dw_->Execute("INSERT INTO msdb..sysdtspackages (name, id, versionid) VALUES ('A', '1', '1')");
  dw_->RollbackTrans();
  EXPECT_EQ("", RowsOf(*dw_, "SELECT name FROM msdb..sysdtspackages"));
}

TEST_F(AdoSqlite, ASavepointMovesAndEndsWithItsTransaction) {
  dw_->Execute("CREATE TABLE t (a INT)");
  EXPECT_THAT(ErrorOf([&] { dw_->SetSavepoint(); }), HasSubstr("transaction"));
  for (const bool commit : {true, false}) {
    dw_->BeginTrans();
    dw_->SetSavepoint();
    dw_->Execute("INSERT INTO t VALUES (1)");
    dw_->SetSavepoint();
    dw_->Execute("INSERT INTO t VALUES (2)");
    dw_->RollbackToSavepoint();
    dw_->Execute("INSERT INTO t VALUES (3)");
    commit ? dw_->CommitTrans() : dw_->RollbackTrans();
  }
  EXPECT_EQ("1\n3", RowsOf(*dw_, "SELECT * FROM t"));
  EXPECT_NE("", ErrorOf([&] { dw_->RollbackToSavepoint(); }));
}

TEST_F(AdoSqlite, ClosingRollsBackEvenWhileARecordsetIsHeld) {
  dw_->Execute("CREATE TABLE t (a INT)");
  dw_->BeginTrans();
  dw_->Execute("INSERT INTO t VALUES (1), (2)");
  const auto rows = dw_->OpenRecordset("SELECT * FROM t", {});
  dw_->Close();
  EXPECT_EQ(1, server_.Open("dw", 0)->Execute("INSERT INTO t VALUES (3)"));
}

TEST_F(AdoSqlite, ASecondWriterWaitsOrSaysWhatItWaitedFor) {
  dw_->Execute("CREATE TABLE t (a INT)");
  dw_->BeginTrans();
  dw_->Execute("INSERT INTO t VALUES (1)");
  const auto impatient = server_.Open("dw", 0);
  EXPECT_THAT(ErrorOf([&] { impatient->BeginTrans(); }),
              AllOf(HasSubstr(server_.Directory() + "/dw.db"), HasSubstr("another process"),
                    HasSubstr("waited 0.0 s"), HasSubstr("database is locked")));
  EXPECT_EQ("", RowsOf(*impatient, "SELECT a FROM t"));
  const auto patient = server_.Open();
  std::string error = "not run";
  std::thread writer(
      [&] { error = ErrorOf([&] { patient->Execute("INSERT INTO t VALUES (2)"); }); });
  dw_->CommitTrans();
  writer.join();
  EXPECT_EQ("", error);
  EXPECT_EQ("1\n2", RowsOf(*dw_, "SELECT a FROM t ORDER BY a"));
}

TEST_F(AdoSqlite, CancelEndsAStatementAndAWaitForALock) {
  const auto holder = server_.Open();
  holder->BeginTrans();
  const auto patient = server_.Open("dw", 600);
  for (const char* sql : {"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n)"
                          " SELECT max(i) FROM n",
                          "DELETE FROM dwm_data_link"}) {
    std::atomic<bool> ended = false;
    std::string error;
    std::thread runner([&] {
      error = ErrorOf([&] { patient->Execute(sql); });
      ended = true;
    });
    while (!ended) patient->Cancel();
    runner.join();
    EXPECT_THAT(error, testing::ContainsRegex("interrupt|cancelled")) << sql;
  }
}

TEST_F(AdoSqlite, AnUpdateChangesExactlyOneRowOrNothing) {
  dw_->Execute(
      "CREATE TABLE keyed (id INTEGER PRIMARY KEY, a TEXT, b TEXT);"
      "CREATE TABLE bare (a TEXT, b TEXT)");
  const struct {
    const char* query;
    const char* meanwhile;  ///< What another connection does before the update of `a` to 'new'.
    const char* error;      ///< Part of it; empty when the update succeeds.
    const char* table;
    const char* after;
  } cases[] = {
      {"SELECT * FROM keyed", "", "", "keyed", "1|new|-\n2|x|-"},
      {"SELECT a, id FROM keyed", "UPDATE keyed SET b = 'z'", "", "keyed", "1|new|z\n2|x|z"},
      {"SELECT * FROM keyed", "UPDATE keyed SET a = 'y'", "changed by someone else", "keyed",
       "1|y|-\n2|y|-"},
      {"SELECT * FROM keyed", "DELETE FROM keyed WHERE id = 1", "is gone", "keyed", "2|x|-"},
      {"SELECT a FROM keyed", "", "cannot be told from another one", "keyed", "1|x|-\n2|x|-"},
      {"SELECT upper(b), a FROM bare", "DELETE FROM bare WHERE rowid = 1", "", "bare", "new|-"},
      {"SELECT * FROM bare", "", "cannot be told from another one", "bare", "x|-\nx|-"},
      {"SELECT k.a, bare.a AS c FROM keyed k, bare", "", "more than one table", "bare", "x|-\nx|-"},
      {"SELECT a || '' AS a, id FROM keyed", "", "computed", "keyed", "1|x|-\n2|x|-"},
  };
  for (const auto& c : cases) {
    dw_->Execute(
        "DELETE FROM keyed; INSERT INTO keyed VALUES (1, 'x', NULL), (2, 'x', NULL);"
        "DELETE FROM bare; INSERT INTO bare VALUES ('x', NULL), ('x', NULL)");
    const auto rows = dw_->OpenRecordset(c.query, kLocked);
    server_.Open()->Execute(c.meanwhile);
    const std::string error = ErrorOf([&] {
      rows->SetField("a", "new");
      rows->Update();
    });
    EXPECT_THAT(error, HasSubstr(c.error)) << c.query << "; " << c.meanwhile;
    EXPECT_EQ(error.empty(), std::string(c.error).empty()) << c.query << "; " << c.meanwhile;
    EXPECT_EQ(c.after, RowsOf(*dw_, std::string("SELECT * FROM ") + c.table))
        << c.query << "; " << c.meanwhile;
  }
}

TEST_F(AdoSqlite, AnUnchangedRowIsNotSent) {
  dw_->Execute(
      "CREATE TABLE t (a INTEGER PRIMARY KEY); INSERT INTO t VALUES (1);"
      "CREATE TRIGGER never BEFORE UPDATE ON t BEGIN SELECT RAISE(ABORT, 'sent'); END");
  const auto rows = dw_->OpenRecordset("SELECT * FROM t", kLocked);
  rows->SetField("a", std::int64_t{1});
  rows->Update();
  rows->SetField("a", std::int64_t{2});
  EXPECT_THAT(ErrorOf([&] { rows->Update(); }), HasSubstr("sent"));
}

TEST_F(AdoSqlite, ColumnsHaveTheKindOfTheirDeclaredType) {
  const struct {
    const char* type;
    ado::ColumnKind kind;
    int size, precision, scale;
  } cases[] = {
      {"INTEGER", ado::ColumnKind::Integer, 8, 0, 0},
      {"int", ado::ColumnKind::Integer, 4, 0, 0},
      {"TINYINT", ado::ColumnKind::Integer, 2, 0, 0},
      {"DECIMAL(10, 2)", ado::ColumnKind::Decimal, 0, 10, 2},
      {"NUMERIC(5)", ado::ColumnKind::Decimal, 0, 5, 0},
      {"money", ado::ColumnKind::Decimal, 0, 19, 4},
      {"DOUBLE PRECISION", ado::ColumnKind::Real, 0, 0, 0},
      {"BIT", ado::ColumnKind::Boolean, 0, 0, 0},
      {"DATE", ado::ColumnKind::Date, 0, 0, 0},
      {"SMALLDATETIME", ado::ColumnKind::DateTime, 0, 0, 0},
      {"NVARCHAR(40)", ado::ColumnKind::Text, 40, 0, 0},
      {"CHARACTER VARYING (7)", ado::ColumnKind::Text, 7, 0, 0},
      {"", ado::ColumnKind::Text, 0, 0, 0},
      {"VARBINARY(85)", ado::ColumnKind::Binary, 0, 0, 0},
  };
  for (const auto& c : cases) {
    dw_->Execute("DROP TABLE IF EXISTS [a t]; CREATE TABLE [a t] (x " + std::string(c.type) +
                 " NOT NULL)");
    const auto columns = dw_->TableColumns("dw.dbo.[A T]");
    ASSERT_EQ(1u, columns.size()) << c.type;
    EXPECT_EQ(std::tuple(c.kind, c.size, c.precision, c.scale, false),
              std::tuple(columns[0].kind, columns[0].size, columns[0].precision, columns[0].scale,
                         columns[0].nullable))
        << c.type;
  }
}

TEST_F(AdoSqlite, ABulkLoadStoresEachValueInItsColumnsType) {
  dw_->Execute("CREATE TABLE t (i INT, d DECIMAL(9,2), r REAL, s TEXT, b BLOB)");
  const std::vector<std::string> columns = {"I", "d", "r", "s", "b"};
  const auto load = dw_->OpenBulkLoad("dbo.t", columns);
  load->Append(std::vector<ado::LoadValue>{"-7", "1.50", "1e2", "007", std::string_view()});
  load->Append(std::vector<ado::LoadValue>{"x", "12", "nan", "", "\xFF"});
  load->Append(std::vector<ado::LoadValue>(5));
  EXPECT_EQ(3, load->Finish());
  EXPECT_EQ(
      "-7|1.500000|100.000000|007|<>|integer|real|real\n"
      "x|12|nan||<\xFF>|text|integer|text\n"
      "-|-|-|-|-|null|null|null",
      RowsOf(*dw_, "SELECT *, typeof(i), typeof(d), typeof(r) FROM t"));
}

TEST_F(AdoSqlite, ABulkLoadThatARowViolatesNamesTheTableAndCanBeRolledBack) {
  dw_->Execute("CREATE TABLE t (a INTEGER PRIMARY KEY, b TEXT NOT NULL)");
  const std::vector<std::string> columns = {"a", "b"}, unknown = {"c"};
  dw_->BeginTrans();
  const auto load = dw_->OpenBulkLoad("t", columns);
  load->Append(std::vector<ado::LoadValue>{"1", "x"});
  EXPECT_THAT(ErrorOf([&] {
                load->Append(std::vector<ado::LoadValue>{"1", "y"});
              }),
              StartsWith("table t: UNIQUE constraint failed: t.a"));
  EXPECT_THAT(ErrorOf([&] {
                load->Append(std::vector<ado::LoadValue>{"2", std::nullopt});
              }),
              StartsWith("table t: NOT NULL constraint failed: t.b"));
  EXPECT_THAT(ErrorOf([&] { load->Append(std::vector<ado::LoadValue>{"2"}); }),
              HasSubstr("1 values for 2 columns"));
  EXPECT_EQ(1, load->Finish());
  dw_->RollbackTrans();
  EXPECT_EQ("", RowsOf(*dw_, "SELECT * FROM t"));
  EXPECT_THAT(ErrorOf([&] { dw_->OpenBulkLoad("t", unknown); }), HasSubstr("no column \"c\""));
  EXPECT_THAT(ErrorOf([&] { dw_->OpenBulkLoad("a.b", columns); }), HasSubstr("no table a.b"));
}

}  // namespace
}  // namespace torvik
