// Tables, parameters and rows in bulk by way of a data source of ODBC.

#include <gmock/gmock.h>

#include "fakes/LoadRow.h"
#include "fakes/ReadRows.h"
#include "platform/linux/sqlite/EmbeddedFixture.h"
#include "servers/PostgreSqlServer.h"

namespace torvik {
namespace {

using testing::HasSubstr;

class OdbcBulk : public testing::Test {
 protected:
  OdbcBulk() {
    server_.MakeDatabase("bulk");
    dw_ = Open();
  }

  std::unique_ptr<ado::Connection> Open() {
    auto connection = server_.NewConnection("bulk", "by ODBC");
    connection->Open();
    return connection;
  }
  std::string Rows(const std::string& sql) { return RowsOf(*dw_, sql); }

  PostgreSqlServer& server_ = PostgreSqlServer::Instance();
  std::unique_ptr<ado::Connection> dw_;
};

TEST_F(OdbcBulk, ParametersGoToTheMarkersOfAllStatementsInOrder) {
  dw_->Execute("CREATE TABLE t (a INT, b VARCHAR(9), c BOOLEAN)");
  const ado::Value values[] = {std::int64_t{1}, "it's", std::int64_t{1}, ado::Null{}, "it's"};
  const auto result = dw_->ExecuteWith(
      "INSERT INTO dbo.t VALUES (?, ?, ?), (2, '?', ?); -- ?\nSELECT 5 AS x, 6 AS y;\n"
      "SELECT a, b FROM t WHERE b = ?",
      values);
  EXPECT_EQ(2, result.changedRows);
  EXPECT_THAT(result.columns, testing::ElementsAre("a", "b"));
  EXPECT_THAT(result.rows.at(0), testing::ElementsAre(std::int64_t{1}, "it's"));
  EXPECT_THAT(ErrorOf([&] {
                dw_->ExecuteWith("DELETE FROM t; SELECT ?, ?", {values, 1});
              }),
              HasSubstr("2 markers \"?\" for 1 parameters"));
  const auto plain = dw_->ExecuteWith("SELECT a FROM t ORDER BY a; DELETE FROM t; SELECT 1", {});
  EXPECT_EQ(2, plain.changedRows);
  EXPECT_THAT(plain.rows.at(0), testing::ElementsAre(std::int64_t{1}));
}

TEST_F(OdbcBulk, ABulkReadStaysAsItWasWhileOtherStatementsRun) {
  dw_->Execute(
      "CREATE TABLE t AS SELECT i, i / 2.0::float8 AS r, 'ä' || i AS s, NULL::int AS n, "
      "'\\x00ff'::bytea AS b FROM generate_series(1, 2) AS i");
  const auto read = dw_->OpenBulkRead("SELECT * FROM dbo.t ORDER BY i", true);
  dw_->EmptyTable("t");
  EXPECT_EQ("0", Rows("SELECT count(*) FROM t"));
  const std::string blob("\0\xff", 2);
  EXPECT_EQ("1|0.500000|'ä1'|-|'" + blob + "'|\n2|1.000000|'ä2'|-|'" + blob + "'|\n",
            RestOf(*read));
  EXPECT_THAT(ErrorOf([&] { dw_->OpenBulkRead("DELETE FROM t", true); }), HasSubstr("no query"));
}

TEST_F(OdbcBulk, ARowIsRefusedForWhatIsInItAndTheOthersAreLoaded) {
  dw_->Execute(
      "CREATE TABLE p (id INT PRIMARY KEY); INSERT INTO p VALUES (1);"
      "CREATE TABLE t (id INT PRIMARY KEY, s VARCHAR(3) NOT NULL, n INT CHECK (n < 9),"
      " p INT REFERENCES p, b BYTEA)");
  dw_->Execute(
      "CREATE FUNCTION g() RETURNS trigger LANGUAGE plpgsql AS 'BEGIN IF new.s = ''bad'' THEN"
      " RAISE EXCEPTION ''bad row''; END IF; RETURN new; END'");
  dw_->Execute("CREATE TRIGGER g BEFORE INSERT ON t FOR EACH ROW EXECUTE FUNCTION g()");
  const std::vector<std::string> columns = {"id", "s", "n", "p", "b"};
  std::vector<ado::LoadValue> rows;
  for (std::int64_t id = 1; id <= 1200; ++id)
    for (const ado::LoadValue& value :
         {ado::LoadValue(id), ado::LoadValue("ä"), ado::LoadValue("1"), ado::LoadValue(1.0),
          ado::LoadValue(std::string_view("\0", 1))})
      rows.push_back(value);
  const auto set = [&](std::size_t row, std::size_t column, ado::LoadValue value) {
    rows[row * 5 + column] = value;
  };
  const struct {
    std::size_t row, column;
    ado::LoadValue value;
    const char* words;
  } faults[] = {{3, 0, std::int64_t{1}, "duplicate key"},
                {5, 1, {}, "null value"},
                {600, 1, "four", "too long"},
                {601, 2, "9", "check constraint"},
                {610, 3, std::int64_t{2}, "foreign key"},
                {611, 1, "bad", "bad row"},
                {612, 2, "x", "invalid input"}};
  for (const auto& fault : faults) set(fault.row, fault.column, fault.value);
  for (const bool inTransaction : {false, true}) {
    if (inTransaction) dw_->BeginTrans();
    dw_->EmptyTable("t");
    dw_->Execute("INSERT INTO t VALUES (0, '')");
    std::vector<ado::Refusal> refused;
    const auto load = dw_->OpenBulkLoad("t", columns);
    load->Load({rows, 5}, 7, refused);
    ASSERT_EQ(std::size(faults), refused.size());
    for (std::size_t i = 0; i < refused.size(); ++i) {
      EXPECT_EQ(faults[i].row, refused[i].row);
      EXPECT_THAT(refused[i].description, HasSubstr(faults[i].words));
    }
    EXPECT_EQ(1193, load->Finish());
    EXPECT_EQ("1194|1", Rows("SELECT count(*), max(length(b)) FROM t"));
    load->Load({rows, 5}, 2, refused);
    EXPECT_GT(std::size(faults) + 600, refused.size()) << "the load did not end";
    if (inTransaction) dw_->RollbackTrans();
  }
  EXPECT_EQ("1194", Rows("SELECT count(*) FROM t"));
  const auto load = dw_->OpenBulkLoad("t", columns);
  dw_->Execute("DROP TABLE t");
  std::vector<ado::Refusal> refused;
  EXPECT_THAT(ErrorOf([&] { load->Load({rows, 5}, 5000, refused); }), HasSubstr("does not exist"));
}

TEST_F(OdbcBulk, ATableIsMadeOfTheColumnsOfAnotherAndItsRowsAreReplacedByStagedOnes) {
  using enum ado::ColumnKind;
  const ado::Column made[] = {{.name = "b y", .kind = Integer, .size = 4, .keyPosition = 2},
                              {.name = "A", .kind = Text, .size = 9, .keyPosition = 1},
                              {.name = "d", .kind = Decimal, .precision = 9, .scale = 2},
                              {.name = "r", .kind = Real},
                              {.name = "f", .kind = Boolean, .nullable = false},
                              {.name = "x", .kind = Binary},
                              {.name = "i", .kind = Integer, .size = 8},
                              {.name = "s", .kind = Integer, .size = 2},
                              {.name = "m", .kind = DateTime},
                              {.name = "y", .kind = Date}};
  dw_->CreateTable("dbo.Made", made);
  const auto read = dw_->TableColumns("MADE");
  ASSERT_EQ(std::size(made), read.size());
  for (std::size_t i = 0; i < read.size(); ++i) {
    const ado::Column &a = made[i], &b = read[i];
    EXPECT_EQ(std::tuple(a.kind, a.size, a.precision, a.scale, a.keyPosition,
                         a.nullable && a.keyPosition == 0),
              std::tuple(b.kind, b.size, b.precision, b.scale, b.keyPosition, b.nullable))
        << a.name;
  }
  EXPECT_EQ("0", Rows("SELECT count(a) FROM made WHERE \"b y\" = 1"));
  dw_->Execute(
      "CREATE TABLE \"Sales X\" (id INT GENERATED ALWAYS AS IDENTITY PRIMARY KEY,"
      " n INT CHECK (n > 0), n2 INT GENERATED ALWAYS AS (n * 2) STORED);"
      "INSERT INTO \"Sales X\" (n) VALUES (7), (8), (9)");
  const std::string query = "SELECT * FROM \"Sales X\" ORDER BY id";
  dw_->CreateStagingTable("[Sales X]");
  dw_->BeginTrans();
  const std::string staging = dw_->CreateStagingTable("[Sales X]");
  dw_->Execute("INSERT INTO " + staging + " (n) VALUES (1), (2)");
  dw_->SetSavepoint();
  EXPECT_THAT(ErrorOf([&] { dw_->Execute("INSERT INTO " + staging + " (n) VALUES (0)"); }),
              HasSubstr("check constraint"));
  dw_->RollbackToSavepoint();
  EXPECT_EQ(2, dw_->ReplaceRows("[Sales X]", staging));
  EXPECT_EQ("1|1|2\n2|2|4", Rows(query));
  EXPECT_TRUE(dw_->TableColumns(staging).empty());
  dw_->RollbackTrans();
  EXPECT_EQ("1|7|14\n2|8|16\n3|9|18", Rows(query));
  dw_->Execute("CREATE TABLE child (id INT REFERENCES \"Sales X\")");
  dw_->BeginTrans();
  dw_->EmptyTable("[Sales X]");  // not by TRUNCATE
  EXPECT_EQ("", Rows(query));
  dw_->RollbackTrans();
  for (const auto& absent : {"absent", "a.b"})
    EXPECT_THAT(ErrorOf([&] { dw_->EmptyTable(absent); }), HasSubstr("no table"));
}

TEST_F(OdbcBulk, ALockedTableIsAPassingError) {
  dw_->Execute("CREATE TABLE t (a INT)");
  dw_->BeginTrans();
  dw_->EmptyTable("t");
  const auto other = Open();
  other->Execute("SET lock_timeout = 1");
  for (const auto& [sql, isTransient] :
       {std::pair("SELECT * FROM t", true), {"SELECT 1 / 0", false}})
    try {
      other->Execute(sql);
      ADD_FAILURE() << sql;
    } catch (const PlatformError& error) {
      EXPECT_EQ(isTransient, error.isTransient) << error.Description();
    }
}

}  // namespace
}  // namespace torvik
