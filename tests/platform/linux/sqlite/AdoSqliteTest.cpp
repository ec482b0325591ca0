#include <gmock/gmock.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "fakes/LoadRow.h"
#include "fakes/ReadRows.h"
#include "platform/linux/database/SqlNames.h"
#include "platform/linux/sqlite/EmbeddedFixture.h"

namespace torvik {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

TEST(SqlNames, OnlyNamesOfDatabasesAndOfTheOwnerAreRewritten) {
  const std::pair<const char*, const char*> cases[] = {
      {"SELECT * FROM msdb.dbo.t", "SELECT * FROM {msdb:t}t"},
      {"[my db].[DBO].[t x].\"c\"", "{my db:t x}[t x].\"c\""},
      {"\"a\"\"b\".`dbo`.t", "{a\"b:t}t"},
      {"FROM dbo.t WHERE dbo.t.c = t.c", "FROM {:t}t WHERE {:t}t.c = t.c"},
      {"msdb . dbo /* x */ .\n t", "{msdb:t}\nt"},
      {"t.dbo = main.t.c", "t.dbo = main.t.c"},
      {"a.b.dbo.c", "a.b.dbo.c"},
      {"'msdb.dbo.t' x'00' 'it''s msdb..t'", "'msdb.dbo.t' x'00' 'it''s msdb..t'"},
      {"-- msdb.dbo.t\n/* msdb..t */ m..t", "-- msdb.dbo.t\n/* msdb..t */ {m:t}t"},
      {"1.5 + 2.e3 - .5", "1.5 + 2.e3 - .5"},
      {"isnull (a.b, 'ISNULL(')", "COALESCE (a.b, 'ISNULL(')"},
      {"a ISNULL AND (b ISNULL)", "a ISNULL AND (b ISNULL)"},
      {"'open msdb.dbo.t", "'open msdb.dbo.t"},
      {"/* open m..t", "/* open m..t"},
      {"[open m..t", "[open m..t"},
      {"m.", "m."},
      {"m..", "m.."},
      {"\"", "\""}};
  const auto prefix = [](const TableName& name, int) {
    return "{" + name.database + ":" + name.table + "}";
  };
  for (const auto& [sql, resolved] : cases) EXPECT_EQ(resolved, ResolveNames(sql, prefix)) << sql;
}

class AdoSqlite : public testing::Test {
 protected:
  void Do(const std::string& sql) { dw_->Execute(sql); }
  std::string Rows(const std::string& sql) { return RowsOf(*dw_, sql); }

  EmbeddedFixture server_;
  std::unique_ptr<ado::Connection> dw_ = server_.Open();
};

TEST_F(AdoSqlite, ListsAndCatalogueAnswerTheServersStatements) {
  Do("INSERT INTO msdb.dbo.sysdtspackages (name, id, versionid) VALUES ('A', '1', '1'), "
     "('A', '1', '2'), ('B', '2', '1');"
     "INSERT INTO dwm_data_link (model, source_name, Type) VALUES ('M', 'x', 3)");
  const std::pair<const char*, const char*> cases[] = {
      {"SELECT DISTINCT name FROM master.dbo.sysdatabases ORDER BY name", "dw\nmaster\nmsdb"},
      {"SELECT d.name FROM MASTER..SysDatabases AS d WHERE d.name LIKE 'd%'", "dw"},
      {"SELECT DISTINCT name FROM msdb.dbo.sysdtspackages", "A\nB"},
      {"SELECT ISNULL(NULL, LEN('d\u00e9j\u00e0  ')), LEN(NULL)", "4|-"},
      {"SELECT GETDATE() BETWEEN datetime('now', 'localtime', '-1 day') AND"
       " datetime('now', 'localtime', '+1 day')",
       "1"}};
  for (const std::string database : {"dw", "master", "msdb"}) {
    const auto connection = server_.Open(database);
    for (const auto& [sql, rows] : cases)
      EXPECT_EQ(rows, RowsOf(*connection, sql)) << database << ": " << sql;
  }
  EXPECT_EQ("x", Rows("SELECT source_name FROM dw.dbo.dwm_data_link"
                      " WHERE dwm_data_link.model = 'M'"));
  const auto schemata = dw_->OpenSchema(ado::SchemaQuery::Schemata, {});
  EXPECT_EQ(ado::Value("dw"), schemata->Field("SCHEMA_NAME"));
}

TEST_F(AdoSqlite, AServerOrDatabaseThatIsNotThereIsNamedAndNotMade) {
  const auto unknown = server_.Databases().NewConnection();
  unknown->SetProperty("Data Source", "DWPROD");
  const std::string error = ErrorOf([&] { unknown->Open(); });
  EXPECT_THAT(error, HasSubstr("[server DWPROD]"));
  EXPECT_EQ(error, unknown->Errors().at(0).description);
  EXPECT_EQ(ado::ObjectState::Closed, unknown->State());

  const auto isNamed = AllOf(HasSubstr("no such database: sales"), HasSubstr(server_.Directory()));
  EXPECT_THAT(ErrorOf([&] { server_.Open("sales"); }), isNamed);
  EXPECT_THAT(ErrorOf([&] { Do("DELETE\nFROM sales..t"); }),
              AllOf(isNamed, StartsWith("line 2 of the SQL text")));
  EXPECT_THAT(ErrorOf([&] { dw_->TableColumns("sales.dbo.t"); }), isNamed);
  EXPECT_FALSE(std::filesystem::exists(server_.Directory() + "/sales.db"));
  std::filesystem::remove_all(server_.Directory());
  EXPECT_THAT(ErrorOf([&] { server_.Open("dw"); }),
              AllOf(HasSubstr(server_.Directory()), HasSubstr("server init")));
}

TEST_F(AdoSqlite, ExecuteCountsTheRowsThatTheStatementsThemselvesChange) {
  Do("CREATE TABLE p (id INTEGER PRIMARY KEY); CREATE TABLE log (id INT);"
     "CREATE TABLE q (id INTEGER REFERENCES p (id) ON DELETE CASCADE);"
     "CREATE TRIGGER logged AFTER INSERT ON p BEGIN INSERT INTO log VALUES (new.id); END");
  const std::pair<const char*, int> cases[] = {
      {"INSERT INTO p VALUES (1), (2), (3); INSERT INTO q VALUES (1), (2)", 5},
      {"UPDATE q SET id = 3; SELECT * FROM p; CREATE INDEX i ON q (id)", 2},
      {"WITH w AS (SELECT 9 AS id) INSERT INTO p SELECT id FROM w; -- end", 1},
      {"DELETE FROM p WHERE id = 3", 1},
      {"DELETE FROM p WHERE id = 77", 0},
      {"CREATE TABLE c AS SELECT * FROM p", 0},
      {"DROP TABLE p", 0},
      {"/* nothing */ ;;", 0}};
  for (const auto& [sql, rows] : cases) EXPECT_EQ(rows, dw_->Execute(sql)) << sql;
}

TEST_F(AdoSqlite, AnErrorNamesItsLineAndLeavesTheStatementsBeforeItDone) {
  Do("CREATE TABLE t (a INTEGER PRIMARY KEY)");
  EXPECT_THAT(
      ErrorOf([&] { Do("INSERT INTO t VALUES (1);\n-- x\n\nSELECT *\nFORM t; DELETE FROM t"); }),
      StartsWith("line 4 of the SQL text: near \"FORM\": syntax error"));
  EXPECT_THAT(ErrorOf([&] { Do("\nINSERT INTO t VALUES (1)"); }),
              StartsWith("line 2 of the SQL text: UNIQUE constraint failed: t.a"));
  EXPECT_THAT(ErrorOf([&] { Rows("SELECT 1; DELETE FROM t"); }), HasSubstr("one statement"));
  EXPECT_EQ("1", Rows("SELECT * FROM t"));
}

TEST_F(AdoSqlite, ATransactionTakesInDatabasesThatItNamesLaterAndASavepointMovesWithinIt) {
  const auto reading = dw_->OpenRecordset("SELECT * FROM dwm_data_link", {});
  EXPECT_THAT(ErrorOf([&] { dw_->SetSavepoint(); }), HasSubstr("transaction"));
  for (int transaction = 0; transaction < 2; ++transaction) {
    dw_->BeginTrans();
    for (const std::string id : {"1", "2"}) {
      dw_->SetSavepoint();
      Do("INSERT INTO msdb..sysdtspackages (name, id, versionid) VALUES ('A', " + id + ", '1')");
    }
    dw_->RollbackToSavepoint();
    EXPECT_EQ("1", Rows("SELECT id FROM msdb..sysdtspackages"));
    dw_->RollbackTrans();
    EXPECT_EQ("", Rows("SELECT id FROM msdb..sysdtspackages"));
  }
  EXPECT_NE("", ErrorOf([&] { dw_->RollbackToSavepoint(); }));
}

TEST_F(AdoSqlite, ASecondWriterWaitsOrSaysWhatItWaitedFor) {
  Do("CREATE TABLE t (a INT)");
  dw_->BeginTrans();
  Do("INSERT INTO t VALUES (1)");
  const auto impatient = server_.Open("dw", 0);
  EXPECT_THAT(ErrorOf([&] { impatient->BeginTrans(); }),
              AllOf(HasSubstr(server_.Directory() + "/dw.db"), HasSubstr("another process"),
                    HasSubstr("waited 0.0 s"), HasSubstr("database is locked")));
  try {
    impatient->Execute("DELETE FROM t");
    ADD_FAILURE() << "two write at once";
  } catch (const PlatformError& error) {
    EXPECT_TRUE(error.isTransient);
  }
  EXPECT_EQ("", RowsOf(*impatient, "SELECT a FROM t"));
  // The second counts from the last time that the other one wrote to its log.
  const auto patient = server_.Open("dw", 1);
  std::thread writer([&] { patient->Execute("INSERT INTO t VALUES (2)"); });
  for (int write = 0; write < 15; ++write) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    std::filesystem::last_write_time(server_.Directory() + "/dw.db-wal",
                                     std::filesystem::file_time_type::clock::now());
  }
  dw_->CommitTrans();
  writer.join();
  EXPECT_EQ("1\n2", Rows("SELECT a FROM t ORDER BY a"));
}

TEST_F(AdoSqlite, CancelEndsAStatementAndAWaitForALock) {
  const auto patient = server_.Open("dw", 600);
  dw_->BeginTrans();
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

TEST_F(AdoSqlite, ColumnsHaveTheKindOfTheirDeclaredType) {
  using Kind = ado::ColumnKind;
  const std::tuple<const char*, Kind, int, int, int> cases[] = {
      {"INTEGER", Kind::Integer, 8, 0, 0},
      {"int", Kind::Integer, 4, 0, 0},
      {"TINYINT", Kind::Integer, 1, 0, 0},
      {"time(3)", Kind::Text, 0, 0, 0},
      {"DECIMAL(10, 2)", Kind::Decimal, 0, 10, 2},
      {"NUMERIC(5)", Kind::Decimal, 0, 5, 0},
      {"money", Kind::Decimal, 0, 19, 4},
      {"DOUBLE PRECISION", Kind::Real, 0, 0, 0},
      {"BIT", Kind::Boolean, 0, 0, 0},
      {"DATE", Kind::Date, 0, 0, 0},
      {"SMALLDATETIME", Kind::DateTime, 0, 0, 0},
      {"NVARCHAR(40)", Kind::Text, 40, 0, 0},
      {"CHARACTER VARYING (7)", Kind::Text, 7, 0, 0},
      {"", Kind::Text, 0, 0, 0},
      {"VARBINARY(85)", Kind::Binary, 0, 0, 0}};
  for (const auto& [type, kind, size, precision, scale] : cases) {
    Do("DROP TABLE IF EXISTS [a t]; CREATE TABLE [a t] (x " + std::string(type) + " NOT NULL)");
    const ado::Column x = dw_->TableColumns("dw.dbo.[A T]").at(0);
    EXPECT_EQ(std::tuple(x.kind, x.size, x.precision, x.scale, x.nullable),
              std::tuple(kind, size, precision, scale, false))
        << type;
  }
  EXPECT_TRUE(dw_->TableColumns("dwm_absent").empty());
  const std::string restrictions[] = {"", "", "A T", ""};
  const auto schema = dw_->OpenSchema(ado::SchemaQuery::Columns, restrictions);
  EXPECT_EQ(ado::Value("a t"), schema->Field("TABLE_NAME"));
  EXPECT_EQ(ado::Value("x"), schema->Field("COLUMN_NAME"));
}

TEST_F(AdoSqlite, ABulkLoadStoresEachValueInItsColumnsTypeAndSaysWhatItCannotStore) {
  Do("CREATE TABLE t (i INT UNIQUE, d DECIMAL(9,2), r REAL, s TEXT NOT NULL, b BLOB)");
  const std::vector<std::string> columns = {"I", "d", "r", "s", "b"}, unknown = {"c"};
  using Row = std::vector<ado::LoadValue>;
  dw_->BeginTrans();
  const auto load = dw_->OpenBulkLoad("dbo.t", columns);
  LoadRow(*load, Row{"-7", "1.50", "1e2", "007", std::string_view()});
  LoadRow(*load, Row{"x", "12", "nan", "", "\xFF"});
  LoadRow(*load, Row{ado::LoadValue(), ado::LoadValue(), ado::LoadValue(), "", ado::LoadValue()});
  const std::pair<Row, const char*> faulty[] = {
      {{"x", "1", "1", "", ""}, "table t: UNIQUE constraint failed: t.i"},
      {Row(5), "table t: NOT NULL constraint failed: t.s"},
      {{"2"}, "1 values for 5 columns"}};
  for (const auto& [row, error] : faulty)
    EXPECT_THAT(ErrorOf([&, values = row] { LoadRow(*load, values); }), HasSubstr(error));
  EXPECT_EQ(3, load->Finish());
  EXPECT_EQ(
      "-7|1.500000|100.000000|007|<>|integer|real|real\n"
      "x|12|nan||<\xFF>|text|integer|text\n"
      "-|-|-||-|null|null|null",
      Rows("SELECT *, typeof(i), typeof(d), typeof(r) FROM t"));
  dw_->RollbackTrans();
  EXPECT_EQ("", Rows("SELECT * FROM t"));
  EXPECT_THAT(ErrorOf([&] { dw_->OpenBulkLoad("t", unknown); }), HasSubstr("no column \"c\""));
  EXPECT_THAT(ErrorOf([&] { dw_->OpenBulkLoad("a.b", columns); }), HasSubstr("no table a.b"));
}

TEST_F(AdoSqlite, AnIdentityColumnNumbersTheRows) {
  const struct {
    const char *columns, *rows;  ///< The third row brings its number along.
  } cases[] = {
      {"id int IDENTITY(1,1) PRIMARY KEY, s TEXT", "1|a\n2|b\n9|c"},
      {"[id] [int] identity (1, 1) NOT NULL, s nvarchar(5) NOT NULL", "1|a\n2|b\n9|c"},
      {"s TEXT, id decimal(18, 0) NOT NULL IDENTITY, CONSTRAINT pk PRIMARY KEY (\"ID\")",
       "1|a\n2|b\n9|c"},
      {"id int IDENTITY, s TEXT PRIMARY KEY", "1|a\n2|b\n9|c"},
      {"s TEXT, [primary] INT, id int IDENTITY(1,1), CONSTRAINT pk PRIMARY KEY (s, id)",
       "1|a\n2|b\n9|c"},
      {"identity TEXT, id INT PRIMARY KEY, s TEXT DEFAULT 'identity(1,1)'", "-|a\n-|b\n9|c"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.columns);
    Do("DROP TABLE IF EXISTS t; CREATE TABLE dbo.t (" + std::string(c.columns) +
       ");\n"
       "INSERT INTO t (s) VALUES ('a')");
    const std::vector<std::string> text = {"s"}, both = {"id", "s"};
    LoadRow(*dw_->OpenBulkLoad("t", text), std::vector<ado::LoadValue>{"b"});
    LoadRow(*dw_->OpenBulkLoad("t", both), std::vector<ado::LoadValue>{"9", "c"});
    EXPECT_EQ(c.rows, Rows("SELECT id, s FROM t ORDER BY s"));
  }
}

TEST_F(AdoSqlite, AnIdentityBeginsWhereItIsDeclaredTo) {
  const std::pair<const char*, std::int64_t> cases[] = {
      {"id int IDENTITY(100, 1), s TEXT", 100},
      {"id int NOT NULL PRIMARY KEY IDENTITY(100,1), s TEXT", 100},
      {"id int IDENTITY(100,1) PRIMARY KEY NOT NULL, s TEXT", 100},
      {"CONSTRAINT k PRIMARY KEY (id), id int IDENTITY(7, 1) NOT NULL, s TEXT", 7},
      {"s TEXT, id int IDENTITY(100,1), PRIMARY KEY (id)", 100},
      {"s TEXT, id int IDENTITY, PRIMARY KEY (id)", 1}};
  const std::string insert = "INSERT INTO t (s) VALUES ('a'), ('b')";
  for (const auto& [columns, seed] : cases) {
    SCOPED_TRACE(columns);
    Do("DROP TABLE IF EXISTS t; CREATE TABLE IF NOT EXISTS dbo.t (" + std::string(columns) + ");" +
       insert + "; CREATE TABLE IF NOT EXISTS dbo.t (" + columns + "); " + insert);
    const std::string numbers = "SELECT min(id), max(id) FROM t";
    EXPECT_EQ(std::to_string(seed) + "|" + std::to_string(seed + 3), Rows(numbers));
    dw_->EmptyTable("T");
    Do(insert);
    EXPECT_EQ(std::to_string(seed) + "|" + std::to_string(seed + 1), Rows(numbers));
    Do("INSERT INTO " + dw_->CreateStagingTable("t") + " (s) VALUES ('x')");
    EXPECT_EQ(1, dw_->ReplaceRows("t", "t_torvik_staging"));
    Do("INSERT INTO t (s) VALUES ('next')");
    EXPECT_EQ(std::to_string(seed) + "|" + std::to_string(seed + 1), Rows(numbers));
    for (const ado::Column& column : dw_->TableColumns("t"))
      EXPECT_EQ(std::pair(column.name == "id", column.name == "id" ? seed : 1),
                std::pair(column.isIdentity, column.seed));
  }
  for (const auto& [given, advised] :
       {std::pair("(10, 10)", "(10, 1)"), std::pair("(-1, -1)", "(1, 1)")})
    EXPECT_THAT(ErrorOf([&] { Do(std::string("CREATE TABLE u (n int IDENTITY") + given + ")"); }),
                HasSubstr("write IDENTITY" + std::string(advised) + " for the column n"));
}

TEST_F(AdoSqlite, ADecimalThatWouldLoseDigitsIsRefused) {
  Do("CREATE TABLE t (m MONEY, d DECIMAL(38, 20), any DECIMAL)");
  const std::vector<std::string> columns = {"m", "d", "any"};
  const std::pair<std::vector<ado::LoadValue>, const char*> cases[] = {
      {{"99999999999.9999", "-0.33333333333333331", "922337203685477.5807"}, ""},
      {{"0000000000000001.50", "1234567890123450000.00", "0.1"}, ""},
      {{"922337203685477.5807", "1", "1"}, "column m: the server keeps 15 digits"},
      {{"-1", "0.33333333333333333333", "1"}, "column d: the server keeps 15 digits"}};
  for (const auto& [row, error] : cases) {
    const auto load = dw_->OpenBulkLoad("t", columns);
    EXPECT_THAT(ErrorOf([&, values = row] { LoadRow(*load, values); }), HasSubstr(error));
    EXPECT_EQ(error[0] == '\0' ? 1 : 0, load->Finish());
  }
}

TEST_F(AdoSqlite, ParametersGoToTheMarkersOfAllStatementsInOrder) {
  Do("CREATE TABLE t (a INT UNIQUE, b TEXT)");
  const auto run = [&](const std::string& sql, std::vector<ado::Value> parameters) {
    const ado::StatementResult result = dw_->ExecuteWith(sql, parameters);
    std::string text = std::to_string(result.changedRows);
    for (const std::string& column : result.columns) text += " " + column;
    return text + " " + std::to_string((result.rows.empty() ? 0 : result.rows[0].size()));
  };
  const auto one = std::int64_t{1};
  EXPECT_EQ("2 a b 2", run("INSERT INTO dbo.t VALUES (?, '?'); -- ?\nSELECT 5 AS x;\n"
                           "INSERT INTO t VALUES (2, ?); SELECT a, b AS \"b\" FROM t WHERE b = ?",
                           {one, "it's", "it's"}));
  EXPECT_EQ("1|?\n2|it's", Rows("SELECT * FROM t ORDER BY a"));
  EXPECT_EQ("1 a 0", run("DELETE FROM t WHERE a = ?; SELECT a FROM t WHERE a = ?", {one, one}));
  const std::pair<const char*, const char*> faulty[] = {
      {"DELETE FROM t; SELECT ?, ?", "2 markers \"?\" for 1 parameters"},
      {"DELETE FROM t", "0 markers \"?\" for 1 parameters"},
      {"SELECT ?3", "no plain \"?\""}};
  for (const auto& [sql, error] : faulty)
    EXPECT_THAT(ErrorOf([&, text = sql] { run(text, {one}); }), HasSubstr(error)) << sql;
  EXPECT_EQ("2|it's", Rows("SELECT * FROM t"));
}

TEST_F(AdoSqlite, ABulkReadGivesEveryValueAsItIsAndStaysAsItWasAlongside) {
  Do("CREATE TABLE t (i INT, r REAL, s TEXT, b BLOB);"
     "INSERT INTO t VALUES (1, 2, '', x'0041'), ('x', NULL, 'dé', x'')");
  const std::string rows = "1|2.000000|''|'" + std::string("\0A", 2) + "'|\n'x'|-|'dé'|''|\n";
  for (const bool alongside : {false, true}) {
    const auto read = dw_->OpenBulkRead("SELECT i, r, s AS i, b FROM dbo.t -- all", alongside);
    EXPECT_THAT(read->Columns(), testing::ElementsAre("i", "r", "i", "b"));
    if (alongside) Do("DELETE FROM t");
    EXPECT_EQ(rows, RestOf(*read));
    EXPECT_EQ("", RestOf(*read));
  }
  EXPECT_EQ("0", Rows("SELECT count(*) FROM temp.sqlite_schema WHERE type = 'table'"));
  EXPECT_THAT(ErrorOf([&] { dw_->OpenBulkRead("DELETE FROM t", false); }), HasSubstr("no query"));
  EXPECT_THAT(ErrorOf([&] { dw_->OpenBulkRead("SELECT 1; SELECT 2", true); }),
              HasSubstr("one statement"));
  EXPECT_THAT(ErrorOf([&] { dw_->OpenBulkRead("\nSELECT nothing", true); }),
              StartsWith("line 2 of the SQL text"));
}

TEST_F(AdoSqlite, ATableIsMadeOfTheColumnsOfAnotherAndItsRowsAreReplacedByStagedOnes) {
  using enum ado::ColumnKind;
  const ado::Column made[] = {{.name = "b y", .kind = Integer, .size = 4, .keyPosition = 2},
                              {.name = "a", .kind = Text, .size = 9, .keyPosition = 1},
                              {.name = "d", .kind = Decimal, .precision = 9, .scale = 2},
                              {.name = "r", .kind = Real},
                              {.name = "f", .kind = Boolean, .nullable = false},
                              {.name = "x", .kind = Binary},
                              {.name = "i", .kind = Integer, .size = 8},
                              {.name = "s", .kind = Integer, .size = 2},
                              {.name = "m", .kind = DateTime},
                              {.name = "y", .kind = Date}};
  dw_->CreateTable("msdb.dbo.[m x]", made);
  const auto read = dw_->TableColumns("msdb..[m x]");
  ASSERT_EQ(std::size(made), read.size());
  for (std::size_t i = 0; i < read.size(); ++i) {
    const ado::Column &a = made[i], &b = read[i];
    EXPECT_EQ(std::tuple(a.name, a.kind, a.size, a.precision, a.scale, a.keyPosition,
                         a.nullable && a.keyPosition == 0),
              std::tuple(b.name, b.kind, b.size, b.precision, b.scale, b.keyPosition, b.nullable));
  }
  EXPECT_EQ("\"msdb\".dbo.\"m x_torvik_staging\"", dw_->CreateStagingTable("msdb.dbo.[M X]"));

  const struct {
    const char *declared, *columns, *taken, *refused, *error;
  } cases[] = {
      {"(id INTEGER PRIMARY KEY, up INT REFERENCES T (id), n INT CHECK (T.n > 0))", "id, up, n",
       "(2, 2, 1), (1, 2, 1)", "(9, 3, 1)", "FOREIGN KEY"},
      {"(id INT NOT NULL UNIQUE, up INT AS (id + 1) STORED, n INT CHECK (n > 0))", "id, n",
       "(2, 1), (1, 1)", "(9, 0)", "CHECK"},
      {"(id INT UNIQUE, up INT, n INT); CREATE UNIQUE INDEX [i ON t] on t (up, n) WHERE n > 0",
       "id, up, n", "(2, 2, 1), (1, 1, 1)", "(9, 2, 1)", "UNIQUE"}};
  for (const auto& [declared, columns, taken, refused, error] : cases) {
    SCOPED_TRACE(declared);
    const std::string select = std::string("SELECT ") + columns + " FROM ", order = " ORDER BY id";
    Do("DROP TABLE IF EXISTS child; DROP TABLE IF EXISTS t; CREATE TABLE t " +
       std::string(declared) +
       "; INSERT INTO t (id, n) VALUES (2, 7), (3, 7);"
       "CREATE TABLE child (t INT REFERENCES t (id)); INSERT INTO child VALUES (2)");
    const std::string before = Rows(select + "t" + order);
    Do("INSERT INTO " + dw_->CreateStagingTable("t") + " (id, n) VALUES (4, 4)");
    for (const bool commit : {false, true}) {
      dw_->BeginTrans();
      const std::string staging = dw_->CreateStagingTable("dbo.T");
      const std::string insert = "INSERT INTO " + staging + " (" + columns + ") VALUES ";
      Do(insert + taken);
      EXPECT_THAT(ErrorOf([&] { Do(insert + refused); }), HasSubstr(error));
      const std::string staged = Rows(select + staging + order);
      EXPECT_EQ(2, dw_->ReplaceRows("t", staging));
      EXPECT_EQ(staged, Rows(select + "t" + order));
      commit ? dw_->CommitTrans() : dw_->RollbackTrans();
      EXPECT_EQ(commit ? staged : before, Rows(select + "t" + order));
      EXPECT_EQ(commit, dw_->TableColumns(staging).empty());
    }
  }
  Do("DROP TABLE child");
  dw_->EmptyTable("t");
  EXPECT_EQ("", Rows("SELECT * FROM t"));
  for (const char* table : {"absent", "a.b", "temp.dbo.sysdatabases"})
    EXPECT_THAT(ErrorOf([&] { dw_->CreateStagingTable(table); }), HasSubstr("no ")) << table;
}

TEST_F(AdoSqlite, ARowIsRefusedForWhatIsInItAndABatchGoesOnWithTheOthers) {
  Do("CREATE TABLE p (id INTEGER PRIMARY KEY); INSERT INTO p VALUES (1);"
     "CREATE TABLE t (id INTEGER PRIMARY KEY, s TEXT NOT NULL, n INT CHECK (n < 9), p REFERENCES "
     "p);"
     "CREATE TRIGGER g BEFORE INSERT ON t WHEN new.s LIKE 'bad%' BEGIN SELECT"
     " RAISE(ABORT, 'bad row') WHERE new.s = 'bad'; SELECT RAISE(ROLLBACK, 'all undone')"
     " WHERE new.s = 'bad all'; END");
  const std::vector<std::string> columns = {"id", "s", "n", "p"};
  const std::vector<ado::LoadValue> rows = {"1", "a", "1", "1",   "1", "b", "1", "1", "x", "c", "1",
                                            "1", "2", {},  "1",   "1", "3", "d", "9", "1", "4", "e",
                                            "1", "2", "5", "bad", "1", "1", "6", "f", {},  {}};
  dw_->BeginTrans();
  const auto load = dw_->OpenBulkLoad("t", columns);
  std::vector<ado::Refusal> refused;
  load->Load({rows, 4}, 6, refused);
  EXPECT_EQ("1 UNIQUE c;2 datatype;3 NOT NULL;4 CHECK co;5 FOREIGN ;6 bad row;",
            WordsOf(refused, 9, 8));
  EXPECT_EQ("1\n6", Rows("SELECT id FROM t"));
  load->Load({std::span(rows).first(8), 4}, 0, refused);
  EXPECT_EQ(7U, refused.size());
  EXPECT_EQ(2, load->Finish());
  const std::vector<ado::LoadValue> lost = {"7", "bad all", "1", "1"};
  EXPECT_THAT(ErrorOf([&] { load->Load({lost, 4}, 5, refused); }), HasSubstr("all undone"));
}

/// In a transaction rows go together, without one each goes alone: whatever a table has, both must
/// keep and refuse the same.
TEST_F(AdoSqlite, RowsThatGoTogetherAreKeptAndRefusedAsOnesThatGoAlone) {
  Do("CREATE TABLE p (id INT PRIMARY KEY); INSERT INTO p VALUES (1)");
  const struct {
    const char *table, *more;
    const char* refused;  ///< Which rows; the last one is sent once more.
  } cases[] = {
      {"(a INT, b TEXT, c DECIMAL(20, 2))", "", "1 "},
      {"(a INT PRIMARY KEY, b TEXT NOT NULL, c REAL CHECK (c < 5))", "", "2 3 5 6 7 0 "},
      {"(a INTEGER PRIMARY KEY, b TEXT, c)", "", "2 4 6 0 "},
      {"(a INTEGER PRIMARY KEY AUTOINCREMENT, b TEXT, c, d AS (b || c) UNIQUE)", "", "2 4 6 0 "},
      {"(a TEXT PRIMARY KEY, b, c) WITHOUT ROWID", "", "2 3 6 0 "},
      {"(a INT UNIQUE ON CONFLICT REPLACE, b NOT NULL ON CONFLICT IGNORE, c)", "", ""},
      {"(a INT, b TEXT, c REAL) STRICT", "", "4 "},
      {"(a INT REFERENCES p, b, c)", "", "1 4 5 6 7 0 "},
      {"(a INT, b, c)", "CREATE UNIQUE INDEX i ON t (abs(a)) WHERE b <> 'five'", "2 0 "},
      {"(a INT, b UNIQUE, c)",
       "CREATE TRIGGER g BEFORE INSERT ON t WHEN new.b = 'two' BEGIN SELECT RAISE(IGNORE); END;"
       "CREATE TRIGGER h AFTER INSERT ON t BEGIN UPDATE t SET c = c + 1 WHERE a = new.a; END",
       "6 0 "},
      {"(a INT, b, c)",
       "CREATE TEMP TRIGGER g AFTER INSERT ON main.t BEGIN INSERT INTO p VALUES (new.a); END",
       "0 2 6 0 "}};
  const std::vector<ado::LoadValue> rows = {std::int64_t{1},
                                            "one",
                                            1.5,
                                            "2",
                                            "two",
                                            "-123456789012345678.91",
                                            std::int64_t{1},
                                            "once",
                                            "3",
                                            {},
                                            {},
                                            std::int64_t{3},
                                            "x",
                                            "two",
                                            "4",
                                            "5",
                                            "five",
                                            9.0,
                                            std::int64_t{5},
                                            "five",
                                            "6.5",
                                            "7",
                                            "seven",
                                            std::int64_t{7}};
  const std::vector<std::string> columns = {"c", "a", "b"};
  std::vector<ado::LoadValue> turned;
  for (std::size_t i = 0; i < rows.size(); i += 3)
    turned.insert(turned.end(), {rows[i + 2], rows[i], rows[i + 1]});
  for (const auto& c : cases) {
    SCOPED_TRACE(c.table);
    std::string kept[2], why[2];
    for (const bool together : {false, true}) {
      Do("DROP TABLE IF EXISTS t; DELETE FROM p WHERE id <> 1; CREATE TABLE t " +
         std::string(c.table) + ";" + c.more);
      if (together) dw_->BeginTrans();
      const auto load = dw_->OpenBulkLoad("t", columns);
      std::vector<ado::Refusal> refused;
      load->Load({turned, 3}, 99, refused);
      load->Load({std::span(turned).last(3), 3}, 0, refused);
      kept[together] = std::to_string(load->Finish()) + "\n" + Rows("SELECT * FROM t");
      if (together) dw_->CommitTrans();
      std::string which;
      for (const ado::Refusal& one : refused) {
        which += std::to_string(one.row) + " ";
        why[together] += one.description + "\n";
      }
      EXPECT_EQ(c.refused, which) << why[together];
    }
    EXPECT_EQ(kept[false], kept[true]);
    EXPECT_EQ(why[false], why[true]);
  }
}

}  // namespace
}  // namespace torvik
