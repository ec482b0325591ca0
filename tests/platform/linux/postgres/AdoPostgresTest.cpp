// What connections to PostgreSQL by its own library do that the contracts of all servers do not
// say.

#include <gmock/gmock.h>

#include <thread>

#include "fakes/ReadRows.h"
#include "platform/linux/postgres/PgStatements.h"
#include "platform/linux/sqlite/EmbeddedFixture.h"
#include "servers/PostgreSqlServer.h"

namespace torvik {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST(PgStatements, EndWhereTheServerEndsThem) {
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {" ;; -- a; b\n/* c; /* d; */ */", {}},
      {"a; b ;\n c", {"1:a", "1:b ", "2:c"}},
      {"'a;''b?'; E'c\\';'; \"d;?\"", {"1:'a;''b?'", "1:E'c\\';'", "1:\"d;?\""}},
      {"'a\\'; b", {"1:'a\\'", "1:b"}},
      {"DO $x$ a; $$ ?; $x$; $1$;", {"1:DO $x$ a; $$ ?; $x$", "1:$1$"}},
      {"CREATE RULE r AS DO (a; b); c -- d;\n, e",
       {"1:CREATE RULE r AS DO (a; b)", "1:c -- d;\n, e"}},
      {"CREATE FUNCTION f() BEGIN ATOMIC SELECT CASE WHEN a THEN b END; c; END; BEGIN; END",
       {"1:CREATE FUNCTION f() BEGIN ATOMIC SELECT CASE WHEN a THEN b END; c; END", "1:BEGIN",
        "1:END"}},
      {"? - ?; /*?*/ ?", {"1:$1 - $2", "1:$1"}}};
  for (const auto& [sql, expected] : cases) {
    std::vector<std::string> statements;
    for (const PgStatement& statement : SplitStatements(sql, PgMarkers::Numbered))
      statements.push_back(std::to_string(statement.line) + ":" + statement.text);
    EXPECT_EQ(expected, statements) << sql;
  }
}

class AdoPostgres : public testing::Test {
 protected:
  AdoPostgres() {
    server_.MakeDatabase("dw");
    dw_->Open();
  }

  void Do(const std::string& sql) { dw_->Execute(sql); }
  std::string Rows(const std::string& sql) { return RowsOf(*dw_, sql); }

  /// Loads `values` into the columns named; answers the refusals: row and text.
  std::vector<std::pair<std::size_t, std::string>> Load(const std::string& table,
                                                        const std::vector<std::string>& columns,
                                                        const std::vector<ado::LoadValue>& values,
                                                        std::size_t tolerated) {
    std::vector<ado::Refusal> refused;
    const auto load = dw_->OpenBulkLoad(table, columns);
    load->Load({values, columns.size()}, tolerated, refused);
    load->Finish();
    std::vector<std::pair<std::size_t, std::string>> answer;
    for (const ado::Refusal& refusal : refused)
      answer.emplace_back(refusal.row, refusal.description);
    return answer;
  }

  PostgreSqlServer& server_ = PostgreSqlServer::Instance();
  std::unique_ptr<ado::Connection> dw_ = [this] { return server_.NewConnection("dw"); }();
};

TEST_F(AdoPostgres, ALoadedValueIsWhatTheServerReadsInItsText) {
  Do("CREATE DOMAIN small AS SMALLINT CHECK (value < 100)");
  const std::string longText(70000, 'x');
  const struct {
    const char* type;
    std::vector<ado::LoadValue> values;
    bool isFaulty = false;  ///< The last one alone.
  } cases[] = {
      {"SMALLINT", {"-32768", std::int64_t{32767}, " 5 ", "32768"}, true},
      {"small", {"99", "100"}, true},
      {"INTEGER", {"+7", 8.0, "7.5"}, true},
      {"BIGINT", {"9223372036854775807", "-9223372036854775808"}},
      {"REAL", {"0.1", 0.1, "1e40"}, true},
      {"FLOAT8", {"-1e300", "NaN", std::int64_t{3}, "1,5"}, true},
      {"NUMERIC",
       {"0", "-0.00010", "12345678901234567890.123456789", "10000", "0.5", ".5", "1e3", 1e20,
        "9999.99990000", "NaN", "x"},
       true},
      {"NUMERIC(5,2)", {"999.994", "-1.005", "999.995"}, true},
      {"BOOLEAN", {"1", "0", "true", std::int64_t{1}, "off", "2"}, true},
      {"DATE", {"1999-12-31", "0001-01-01", "2000-02-29", "8 Jan 2001", "2001-02-29"}, true},
      {"TIMESTAMP",
       {"2001-01-08 09:10:11", "1999-12-31T23:59:59.25", "2001-01-08", "2001-01-08 9:10",
        "2001-01-08 24:00:01"},
       true},
      {"TIMESTAMPTZ", {"2001-01-08 09:10:11+02"}},
      {"VARCHAR(3)", {"äöü", "", std::int64_t{-12}, 1.5, "abcd"}, true},
      {"CHAR(3)", {"a"}},
      {"TEXT", {longText, "tab\there\\\n\r\\N", "\\.", std::string_view("a\0b", 3)}, true},
      {"TEXT", {"\xC3("}, true},
      {"BYTEA", {std::string_view("\0\\\xff\n", 4), ""}},
      {"UUID", {"6F9619FF-8B86-D011-B42D-00C04FC964FF"}},
      {"TEXT[]", {"{\"a\\\\\",NULL}"}}};
  for (const auto& c : cases) {
    for (std::size_t i = 0; i < c.values.size(); ++i) {
      SCOPED_TRACE(testing::Message() << c.type << " " << i);
      Do(std::string("DROP TABLE IF EXISTS t; CREATE TABLE t (v ") + c.type + ", key INT)");
      const bool isFaulty = c.isFaulty && i + 1 == c.values.size();
      const auto refused = Load("t", {"key", "v"}, {"1", ado::LoadValue(), "2", c.values[i]}, 1);
      EXPECT_EQ(isFaulty, refused.size() == 1 && refused[0].first == 1);
      if (isFaulty) continue;
      const ado::LoadValue& value = c.values[i];
      ado::Value parameter = value.IsText() ? ado::Value(std::string(value.Text()))
                             : value.GetKind() == ado::LoadValue::Kind::Real
                                 ? ado::Value(value.Real())
                                 : ado::Value(value.Integer());
      if (c.type == std::string("BYTEA")) parameter = ado::Blob{std::string(value.Text())};
      // As the same text in SQL.
      const auto same = dw_->ExecuteWith(
          std::string("SELECT v::text IS NOT DISTINCT FROM CAST(CAST(? AS text) AS ") + c.type +
              ")::text FROM t WHERE key = 2",
          std::span(&parameter, 1));
      EXPECT_EQ(std::vector<ado::Value>{std::int64_t{1}}, same.rows.at(0));
      EXPECT_EQ("1", Rows("SELECT COUNT(*) FROM t WHERE v IS NULL"));
    }
  }
}

TEST_F(AdoPostgres, ARefusalThatTheServerFindsLateIsTiedToItsRowToo) {
  Do("CREATE TABLE p (id INT PRIMARY KEY); INSERT INTO p VALUES (1), (2);"
     "CREATE TABLE t (n INT, p INT REFERENCES p);"
     "CREATE FUNCTION odd() RETURNS trigger LANGUAGE plpgsql AS $$ BEGIN"
     " IF NEW.n = 13 THEN RAISE EXCEPTION 'not thirteen'; END IF; RETURN NEW; END $$;"
     "CREATE TRIGGER odd AFTER INSERT ON t FOR EACH ROW EXECUTE FUNCTION odd()");
  std::vector<ado::LoadValue> values;
  for (int n = 0; n < 40; ++n) {
    values.emplace_back(std::int64_t{n});
    values.emplace_back(std::int64_t{n % 20 == 7 ? 3 : 1});
  }
  for (const bool inTransaction : {false, true}) {
    Do("DELETE FROM t");
    if (inTransaction) dw_->BeginTrans();
    EXPECT_THAT(Load("t", {"n", "p"}, values, 0),
                ElementsAre(testing::Pair(7, HasSubstr("SQLSTATE 23503"))));
    if (inTransaction) dw_->RollbackTrans();
    if (inTransaction) dw_->BeginTrans();
    Do("DELETE FROM t");
    EXPECT_THAT(Load("t", {"n", "p"}, values, 3),
                ElementsAre(testing::Pair(7, HasSubstr("\"p\"")),
                            testing::Pair(13, HasSubstr("not thirteen")),
                            testing::Pair(27, HasSubstr("(3)"))));
    if (inTransaction) dw_->CommitTrans();
    EXPECT_EQ("37", Rows("SELECT COUNT(*) FROM t"));
  }
}

TEST_F(AdoPostgres, RowsSentAreJudgedTogetherAndARefusalLeavesNoneOfThem) {
  const struct {
    const char* last;  ///< The fourth row's value.
    bool isTaken;
    const char* after;  ///< The rows once they have been loaded one call after the other.
  } cases[] = {{"2001-02-28", true, "4"},
               {"2001-02-29", false, "3"},
               {"1 Mar 2001", false, "4"},  // only the server can tell
               {"1999-12-31", false, "3"}};
  const auto rowsOf = [](const std::vector<ado::LoadValue>& values) {
    return ado::LoadRows{values, 1};
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.last);
    Do("DROP TABLE IF EXISTS t; CREATE TABLE t (d DATE UNIQUE)");
    const std::vector<ado::LoadValue> calls[] = {{"1999-12-31", "2000-01-01"},
                                                 {"2000-02-29", c.last}};
    const std::vector<std::string> columns = {"d"};
    const auto alone = dw_->OpenBulkLoad("t", columns);
    EXPECT_FALSE(alone->Send(rowsOf(calls[0]))) << "each call is stored for good";
    dw_->BeginTrans();
    {
      const auto left = dw_->OpenBulkLoad("t", columns);
      EXPECT_TRUE(left->Send(rowsOf(calls[0])));
      EXPECT_THAT(ErrorOf([&] { Rows("SELECT 1"); }), HasSubstr("busy"));
    }
    EXPECT_EQ("0", Rows("SELECT COUNT(*) FROM t"));
    const auto load = dw_->OpenBulkLoad("t", columns);
    for (const auto& values : calls) EXPECT_TRUE(load->Send(rowsOf(values)));
    EXPECT_EQ(c.isTaken, load->Settle());
    EXPECT_EQ(c.isTaken ? "4" : "0", Rows("SELECT COUNT(*) FROM t"));
    std::vector<ado::Refusal> refused;
    for (const auto& values : calls)
      if (!c.isTaken) load->Load(rowsOf(values), 1, refused);
    EXPECT_EQ(std::to_string(load->Finish()), c.after);
    dw_->CommitTrans();
    EXPECT_EQ(c.after, Rows("SELECT COUNT(*) FROM t"));
  }
}

TEST_F(AdoPostgres, ATransactionThatARefusalHasEndedIsNotCommitted) {
  Do("CREATE TABLE t (n INT NOT NULL)");
  dw_->BeginTrans();
  dw_->SetSavepoint();
  Load("t", {"n"}, {"1"}, 0);
  EXPECT_THAT(Load("t", {"n"}, {"2", ado::LoadValue()}, 0),
              ElementsAre(testing::Pair(1, HasSubstr("column \"n\""))));
  EXPECT_THAT(ErrorOf([&] { dw_->CommitTrans(); }), HasSubstr("is rolled back"));
  EXPECT_EQ("0", Rows("SELECT COUNT(*) FROM t"));
}

TEST_F(AdoPostgres, AnErrorSaysWhereItIsAndWhetherItMayPass) {
  const struct {
    const char* sql;
    const char* words;
    bool isTransient;
    bool isLast = false;
  } cases[] = {
      {"SELECT 1;\n\nSELECT\n nothing", "line 4 of the SQL text: column \"nothing\"", false},
      {"SELECT lenght('a')", "does not exist; No function matches", false},
      {"DO $$ BEGIN RAISE 'a' USING ERRCODE = '40001'; END $$", "SQLSTATE 40001", true},
      {"DO $$ BEGIN RAISE 'a' USING ERRCODE = '55P03', DETAIL = 'b'; END $$", "a; b", true},
      {"DO $$ BEGIN RAISE 'a' USING ERRCODE = '53200'; END $$", "SQLSTATE 53200", true},
      {"DO $$ BEGIN RAISE 'a' USING ERRCODE = '55000'; END $$", "SQLSTATE 55000", false},
      {"COPY pg_class FROM STDIN", "has no rows here", false},
      {"SELECT pg_terminate_backend(pg_backend_pid())", "open it again", true, true}};
  for (const bool inTransaction : {true, false}) {
    if (inTransaction) dw_->BeginTrans();
    for (const auto& c : cases) {
      if (inTransaction && c.isLast) continue;
      try {
        Do(c.sql);
        ADD_FAILURE() << c.sql;
      } catch (const PlatformError& error) {
        EXPECT_THAT(error.Description(), HasSubstr(c.words));
        EXPECT_EQ(c.isTransient, error.isTransient) << c.sql;
      }
      EXPECT_TRUE(!inTransaction || Rows("SELECT 1") == "1") << c.sql;
    }
    if (inTransaction) dw_->CommitTrans();
  }
}

TEST_F(AdoPostgres, ATextIsNeverCutAtANulCharacter) {
  const std::string text("a\0b", 3);
  const ado::Value value = text;
  EXPECT_THAT(ErrorOf([&] { Do("SELECT '" + text + "'"); }), HasSubstr("NUL"));
  EXPECT_THAT(ErrorOf([&] { dw_->ExecuteWith("SELECT ?", std::span(&value, 1)); }),
              HasSubstr("NUL"));
}

TEST_F(AdoPostgres, AServerThatGoesAwayUnderALoadOrAReadIsATransientError) {
  Do("CREATE TABLE t (n INT, s TEXT)");
  const std::string text(1000, 'x');
  for (const bool isLoad : {true, false}) {
    dw_->Close();
    dw_->Open();
    const std::string backend = Rows("SELECT pg_backend_pid()");
    const auto killer = server_.NewConnection("dw");
    killer->Open();
    const std::vector<std::string> columns = {"n", "s"};
    std::vector<ado::LoadValue> values;
    for (int row = 0; row < 1000; ++row) values.insert(values.end(), {"1", text});
    try {
      if (isLoad) dw_->BeginTrans();
      const auto load = isLoad ? dw_->OpenBulkLoad("t", columns) : nullptr;
      const auto read =
          isLoad ? nullptr
                 : dw_->OpenBulkRead("SELECT g FROM generate_series(1, 9000000) g", false);
      std::vector<ado::Refusal> refused;
      std::vector<ado::LoadValue> row(1);
      if (load) load->Load({values, 2}, 0, refused);
      EXPECT_TRUE(!read || read->Next(row));
      killer->Execute("SELECT pg_terminate_backend(" + backend + ")");
      while (load) load->Load({values, 2}, 0, refused);
      while (read->Next(row)) continue;
      ADD_FAILURE() << "the end is reached";
    } catch (const PlatformError& error) {
      EXPECT_TRUE(error.isTransient) << error.Description();
      EXPECT_THAT(error.Description(), HasSubstr("open it again"));
    }
    EXPECT_EQ(ado::ObjectState::Closed, dw_->State());
  }
}

TEST_F(AdoPostgres, TablesWithGeneratedColumnsAndForeignKeysAreReplacedAndEmptied) {
  Do("CREATE TABLE t (id INT GENERATED ALWAYS AS IDENTITY PRIMARY KEY, n INT, "
     "twice INT GENERATED ALWAYS AS (n * 2) STORED); INSERT INTO t (n) VALUES (1);"
     "CREATE TABLE child (t INT REFERENCES t)");
  const std::string staging = dw_->CreateStagingTable("t");
  EXPECT_TRUE(Load(staging, {"id", "n"}, {"5", "50", "6", "60"}, 0).empty());
  EXPECT_EQ(2, dw_->ReplaceRows("t", staging));
  EXPECT_EQ("5|50|100\n6|60|120", Rows("SELECT * FROM t ORDER BY id"));
  dw_->EmptyTable("t");
  EXPECT_EQ("0", Rows("SELECT COUNT(*) FROM t"));
}

TEST_F(AdoPostgres, ASharedStagingTableIsFilledByManyAndBelongsToOneLoad) {
  Do("CREATE TABLE t (id INT GENERATED ALWAYS AS IDENTITY PRIMARY KEY, n INT CHECK (n > 0), "
     "s TEXT DEFAULT 'd'); CREATE TABLE t_torvik_staging (left_over INT)");
  const auto connected = [&] {
    auto one = server_.NewConnection("dw");
    one->Open();
    return one;
  };
  auto owner = connected();
  const std::string staging = owner->CreateSharedStagingTable("t");
  const std::vector<std::string> columns = {"id", "n"};
  const auto other = connected();
  const auto fill = [&](ado::Connection& connection, const std::vector<ado::LoadValue>& values) {
    std::vector<ado::Refusal> refused;
    connection.BeginTrans();
    connection.OpenBulkLoad(staging, columns)->Load({values, 2}, 9, refused);
    return refused.size();
  };
  EXPECT_EQ(1U, fill(*owner, {"7", "70", "8", "0"})) << "checks hold";
  EXPECT_EQ(0U, fill(*other, {"7", "71", "9", "90"})) << "one key on two connections: no wait";
  dw_->ReleaseStagingTable("t", staging);
  EXPECT_FALSE(dw_->TableColumns(staging).empty()) << "another load has it";
  Do("SET lock_timeout = '50ms'");
  EXPECT_THAT(ErrorOf([&] { dw_->CreateStagingTable("t"); }), HasSubstr("lock timeout"));
  Do("RESET lock_timeout");
  owner->CommitTrans();
  other->CommitTrans();
  EXPECT_THAT(ErrorOf([&] { owner->AppendRows("t", staging, columns); }), HasSubstr("(id)=(7)"));
  Do("DELETE FROM " + staging + " WHERE n = 71");
  owner->BeginTrans();
  EXPECT_EQ(2, owner->AppendRows("t", staging, columns));
  owner->CommitTrans();
  owner->ReleaseStagingTable("t", staging);
  Do("INSERT INTO t (n) VALUES (1)");
  EXPECT_EQ("7|70|d\n9|90|d\n10|1|d", Rows("SELECT * FROM t ORDER BY id"));

  EXPECT_EQ(staging, owner->CreateSharedStagingTable("t"));
  Do("SELECT pg_terminate_backend(" + RowsOf(*owner, "SELECT pg_backend_pid()") + ", 10000)");
  other->ReleaseStagingTable("t", staging);
  EXPECT_TRUE(dw_->TableColumns(staging).empty()) << "its connection was lost";
  EXPECT_EQ(staging, dw_->CreateSharedStagingTable("t")) << "nobody has the lock any more";
}

TEST_F(AdoPostgres, AnIdentityGoesOnBehindTheNumbersThatRowsBring) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "1 7 8 9"},
      {"(START WITH 100 INCREMENT BY 5)", "7 100 105 110"},
      {"(START WITH -1 INCREMENT BY -1 MAXVALUE 9)", "-3 -2 -1 7"}};
  for (const auto& [numbers, rows] : cases) {
    Do("DROP TABLE IF EXISTS t; CREATE TABLE t (id INT GENERATED ALWAYS AS IDENTITY " +
       std::string(numbers) + " PRIMARY KEY, n INT)");
    const std::string sequence = "INSERT INTO t (n) VALUES (0)";
    Do(sequence);
    EXPECT_TRUE(Load("t", {"id", "n"}, {"7", "1"}, 0).empty());
    dw_->OpenBulkLoad("t", std::vector<std::string>{"id"})->Finish();
    Do(sequence);
    Do(sequence);
    EXPECT_EQ(rows, Rows("SELECT string_agg(id::text, ' ' ORDER BY id) FROM t")) << numbers;
  }
  const std::string staging = dw_->CreateStagingTable("t");
  Do("INSERT INTO " + staging + " (n) VALUES (1), (2), (3), (4), (5), (6)");
  EXPECT_EQ(6, dw_->ReplaceRows("t", staging));
  Do("INSERT INTO t (n) VALUES (7)");
  EXPECT_EQ("-7", Rows("SELECT min(id) FROM t"));
}

TEST_F(AdoPostgres, AMergeComparesBytesAndGoesOnBehindTheNumbersThatRowsBring) {
  Do("CREATE COLLATION loose (provider = icu, locale = 'und-u-ks-level2', deterministic = false);"
     "CREATE TABLE t (id INT GENERATED ALWAYS AS IDENTITY PRIMARY KEY, doc JSON, "
     "word TEXT COLLATE loose, at POINT); INSERT INTO t (doc, word, at) VALUES "
     "('{}', 'same', '(1,2)'), ('{}', 'case', NULL), ('{}', 'doc', NULL)");
  const std::vector<std::string> columns = {"id", "doc", "word", "at"};
  const std::string staging = dw_->CreateStagingTable("t");
  EXPECT_TRUE(Load(staging, columns,
                   {"1",
                    "{}",
                    "same",
                    "(1,2)",
                    "2",
                    "{}",
                    "CASE",
                    {},
                    "3",
                    "[]",
                    "doc",
                    {},
                    "9",
                    {},
                    "new",
                    {}},
                   0)
                  .empty());
  const ado::MergeCounts counts = dw_->MergeRows("t", staging, {columns, {"id"}, false});
  EXPECT_EQ(2, counts.updated);
  EXPECT_EQ(1, counts.inserted);
  Do("INSERT INTO t (word) VALUES ('next')");
  EXPECT_EQ("1|{}|same\n2|{}|CASE\n3|[]|doc\n9|-|new\n10|-|next",
            Rows("SELECT id, doc, word FROM t ORDER BY id"));
}

TEST_F(AdoPostgres, AConnectionThatReadsAQueryInBulkSaysThatItIsBusy) {
  const auto read = dw_->OpenBulkRead("EXPLAIN SELECT 1", false);
  EXPECT_EQ("1", Rows("SELECT 1")) << "what is no query is read as a whole";
  const auto busy = dw_->OpenBulkRead("SET DateStyle = ISO; VALUES (1), (2) -- two", false);
  EXPECT_EQ("1", Rows("SELECT 1")) << "it has not begun";
  std::vector<ado::LoadValue> row(1);
  EXPECT_TRUE(busy->Next(row));
  EXPECT_THAT(ErrorOf([&] { Rows("SELECT 1"); }), HasSubstr("busy"));
  EXPECT_EQ("2", (busy->Next(row), std::string(row[0].Text())));
  EXPECT_FALSE(busy->Next(row));
  EXPECT_EQ("1", Rows("SELECT 1"));
  EXPECT_THAT(ErrorOf([&] { dw_->OpenBulkRead("CREATE TABLE no_rows (n INT)", false); }),
              HasSubstr("no rows to read"));
}

TEST_F(AdoPostgres, RowsOfAnotherConnectionAreTakenAsTheyAreWhereTypesAndRowsAllowIt) {
  Do("CREATE TABLE source (a INT, b NUMERIC(9, 2), c VARCHAR(5), d TIMESTAMP, e JSONB, f BYTEA);"
     "INSERT INTO source SELECT g, g / 4.0, 'äö' || g, '2001-01-08 09:10:11.25', "
     "  '{\"x\": [1, null]}', '\\x00ff0a5c' FROM generate_series(1, 9) g;"
     "INSERT INTO source VALUES (10, NULL, '', NULL, NULL, ''), (11, 'NaN', '\t\\N', 'infinity', "
     "  '7', '\\x');"
     "CREATE DOMAIN low AS INT CHECK (value < 10);"
     "CREATE FUNCTION drops() RETURNS trigger LANGUAGE plpgsql AS "
     "  'BEGIN IF NEW.a > 9 THEN RETURN NULL; END IF; RETURN NEW; END'");
  const std::string all = "a INT, b NUMERIC(9, 2), c VARCHAR(5), d TIMESTAMP, e JSONB, f BYTEA";
  const std::string query = "SELECT * FROM source ORDER BY a";
  const struct {
    const char* what;
    std::string columns;  ///< Of the table.
    std::string query;
    std::vector<std::string> into;
    std::vector<std::size_t> from;
    std::int64_t read = 0, loaded = 0;  ///< Both 0: row by row.
    const char* before = "";
  } cases[] = {
      {"every column", all, query, {"a", "b", "c", "d", "e", "f"}, {0, 1, 2, 3, 4, 5}, 11, 11},
      {"some in another order", all, query + " -- all", {"c", "a"}, {2, 0}, 11, 11},
      {"one twice", "a INT, x INT", query, {"a", "x"}, {0, 0}, 11, 11},
      {"two columns of a name", "a INT", "SELECT 1 AS a, 2 AS a, 3 AS b", {"a"}, {0}, 0, 0},
      {"a wider text", "c VARCHAR(9)", query, {"c"}, {2}, 0, 0},
      {"any text", "c VARCHAR", query, {"c"}, {2}, 11, 11},
      {"another precision", "b NUMERIC(9, 1)", query, {"b"}, {1}, 0, 0},
      {"another type", "a BIGINT", query, {"a"}, {0}, 0, 0},
      {"a time zone", "d TIMESTAMPTZ", "SELECT now() AS d", {"d"}, {0}, 0, 0},
      {"a query that changes rows",
       all,
       "UPDATE source SET a = a WHERE a = 1 RETURNING a",
       {"a"},
       {0},
       0,
       0},
      {"a refused row", "a INT CHECK (a <> 9)", query, {"a"}, {0}, 0, 0},
      {"a missing value", "b NUMERIC(9, 2) NOT NULL", query, {"b"}, {1}, 0, 0},
      {"a domain", "a low", query, {"a"}, {0}, 0, 0},
      {"a trigger that drops rows",
       "a INT",
       query,
       {"a"},
       {0},
       11,
       9,
       "CREATE TRIGGER t BEFORE INSERT ON t FOR EACH ROW EXECUTE FUNCTION drops()"},
      {"no rows", "a INT", "SELECT a FROM source WHERE a > 99", {"a"}, {0}, 0, 0}};
  const auto other = server_.NewConnection("dw");
  other->Open();
  for (const bool inTransaction : {false, true}) {
    for (const auto& one : cases) {
      SCOPED_TRACE(testing::Message() << one.what << inTransaction);
      Do("DROP TABLE IF EXISTS t; CREATE TABLE t (" + one.columns + "); " + one.before);
      if (inTransaction) dw_->BeginTrans();
      Do("SELECT 1");
      const auto read = other->OpenBulkRead(one.query, false);
      const auto load = dw_->OpenBulkLoad("t", one.into);
      const auto count = load->LoadAll(*read, one.from, [](std::int64_t) {});
      const bool isMoved = one.read > 0 || std::string(one.what) == "no rows";
      EXPECT_EQ(isMoved ? std::optional(one.read) : std::nullopt, count);
      EXPECT_EQ(one.loaded, load->Finish());
      EXPECT_EQ(std::to_string(one.loaded), Rows("SELECT COUNT(*) FROM t"));
      if (!isMoved) {
        EXPECT_NE("", RestOf(*read)) << "the read begins anew";
      }
      if (inTransaction) dw_->CommitTrans();
      if (one.into.size() == 6) {
        EXPECT_EQ(Rows("SELECT * FROM source ORDER BY a"), Rows("SELECT * FROM t ORDER BY a"));
      }
    }
  }
}

TEST_F(AdoPostgres, AMoveThatIsGivenUpLeavesNothingAndBothConnectionsAsTheyWere) {
  Do("CREATE TABLE t (a INT, s TEXT)");
  const auto other = server_.NewConnection("dw");
  other->Open();
  const std::string query = "SELECT g AS a, repeat('x', 100) AS s FROM generate_series(1, 99999) g";
  for (const bool isCancelled : {true, false}) {
    dw_->BeginTrans();
    Do("INSERT INTO t VALUES (0, 'before')");
    const auto read = other->OpenBulkRead(
        isCancelled ? query : query + " WHERE 1 / (99990 - g) IS NOT NULL", false);
    const auto load = dw_->OpenBulkLoad("t", std::vector<std::string>{"a", "s"});
    const std::vector<std::size_t> columns = {0, 1};
    EXPECT_THAT(ErrorOf([&] {
                  load->LoadAll(*read, columns, [&](std::int64_t rows) {
                    if (isCancelled && rows > 5000) throw PlatformError(0, "given up", "test");
                  });
                }),
                HasSubstr(isCancelled ? "given up" : "division by zero"));
    EXPECT_EQ("0", Rows("SELECT a FROM t")) << "the transaction goes on";
    dw_->RollbackTrans();
    EXPECT_EQ("1", RowsOf(*other, "SELECT 1"));
  }
}

}  // namespace
}  // namespace torvik
