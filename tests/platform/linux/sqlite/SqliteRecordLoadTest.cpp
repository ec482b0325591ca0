#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "platform/linux/sqlite/EmbeddedFixture.h"

namespace torvik {
namespace {

/// Rows of a plain table go as records that are made here; whatever is in them, the table must be
/// as if SQLite had been given each value.
class SqliteRecordLoad : public EmbeddedFixture, public testing::Test {
 protected:
  std::string Rows(const std::string& sql) { return RowsOf(*dw_, sql); }
  std::string Files() {
    return Rows("SELECT count(*) FROM pragma_database_list WHERE name LIKE 'torvik_batch_%'");
  }

  /// Loads them into `table`, `atOnce` at a time; answers how many rows of 12 values were taken and
  /// which were not.
  std::string Load(const std::string& table, const std::vector<std::string>& columns,
                   std::span<const ado::LoadValue> values, std::size_t atOnce) {
    const auto load = dw_->OpenBulkLoad(table, columns, {.keepsNulls = true});
    std::string text;
    for (const std::size_t step = atOnce * columns.size(); !values.empty();
         values = values.subspan(std::min(step, values.size()))) {
      std::vector<ado::Refusal> refused;
      load->Load({values.first(std::min(step, values.size())), columns.size()}, 99, refused);
      for (const ado::Refusal& one : refused)
        text += std::to_string(one.row) + ": " + one.description + "\n";
      mostFiles_ = std::max(mostFiles_, Files());
    }
    return text + std::to_string(load->Finish());
  }

  std::unique_ptr<ado::Connection> dw_ = Open();
  std::string mostFiles_;
};

TEST_F(SqliteRecordLoad, KeepsWhatSqliteWouldKeepOfEachValue) {
  const std::string table =
      "(a INT, b INTEGER NOT NULL, c VARCHAR(8), d DATE, e DECIMAL(12, 2), f REAL, g DOUBLE "
      "PRECISION DEFAULT 7, h BLOB, i VARBINARY(9) NOT NULL, j, k BIT, l FLOATING POINT)";
  std::vector<std::string> columns;
  for (char name = 'l'; name >= 'a'; --name) columns.emplace_back(1, name);
  std::vector<ado::LoadValue> pool = {{},
                                      "",
                                      "0",
                                      "1",
                                      "01",
                                      "-1",
                                      "+5",
                                      "1.0",
                                      "2.50",
                                      ".5",
                                      "5.",
                                      " 1 ",
                                      "1e3",
                                      "1e",
                                      "--5",
                                      "-",
                                      "1-2",
                                      "2017-07-28",
                                      "2017-07-28 13:21:58",
                                      "abc",
                                      "0x10",
                                      "inf",
                                      "\xC3\x98re",
                                      std::string_view("1\0002", 3),
                                      "9223372036854775807",
                                      "9223372036854775808",
                                      "123456789012345",
                                      "99999999.995"};
  for (int bits = 0; bits < 64; ++bits)
    for (const std::int64_t by : {-1, 0, 1}) {
      const auto number = static_cast<std::int64_t>((std::uint64_t{1} << bits) + by);
      pool.insert(pool.end(), {number, ~number, static_cast<double>(number)});
    }
  for (const double real :
       {-0.0, 0.1, -2.5, 1e15, 1e300, -9223372036854775808.0, 9223372036854775808.0,
        std::numeric_limits<double>::infinity(), std::nan("")})
    pool.emplace_back(real);
  const std::string long1(900, 'x'), long2(65'400, 'y'), long3(70'000, 'z');
  pool.insert(pool.end(), {long1, long2, long3});
  std::mt19937 random(7);
  std::vector<ado::LoadValue> values;
  for (int row = 0; row < 1500; ++row) {
    // Most rows are such as can go as records.
    const bool isWild = random() % 4 == 0;
    for (const std::string& column : columns) {
      const bool isText = column == "c" || column == "j" || column == "d";
      values.push_back(isWild ? pool[random() % pool.size()]
                       : isText
                           ? ado::LoadValue(row % 90 == 0 ? long2 : long1)
                           : ado::LoadValue(static_cast<std::int64_t>(random()) >> (row % 33)));
    }
  }
  std::string told[2], kept[2];
  for (const bool together : {false, true}) {
    dw_->Execute("DROP TABLE IF EXISTS t; CREATE TABLE t " + table);
    if (together) dw_->BeginTrans();
    told[together] = Load("t", columns, values, 50);
    EXPECT_EQ(together ? "1" : "0", mostFiles_);
    if (together) dw_->CommitTrans();
    std::string shown;
    for (const std::string& column : columns)
      shown += ", typeof(" + column + "), quote(" + column + ")";
    kept[together] = Rows("SELECT rowid" + shown + " FROM t") + "\n" +
                     Rows("SELECT sum(payload) FROM dbstat WHERE name = 't'");
  }
  EXPECT_EQ(told[false], told[true]);
  EXPECT_TRUE(kept[false] == kept[true]);
  EXPECT_EQ("ok", Rows("PRAGMA integrity_check"));
}

TEST_F(SqliteRecordLoad, LoadsOfATransactionDoNotMixAndLeaveNothingBehind) {
  const std::vector<ado::LoadValue> one = {"1", "a", "2", "b"}, two = {"3", "c", "4", "d"};
  const std::vector<std::string> columns = {"n", "s"};
  dw_->Execute(
      "CREATE TABLE t (n INT, s TEXT); CREATE TABLE v (n INT, s TEXT);"
      "CREATE TABLE w (s TEXT, n INT)");
  dw_->BeginTrans();
  EXPECT_EQ("2", Load("t", columns, one, 2));
  EXPECT_EQ("2", Load("t", columns, two, 2));
  EXPECT_EQ("2", Load("v", columns, two, 1));
  EXPECT_EQ("2", Load("w", columns, one, 2));
  EXPECT_EQ("1", Files());
  dw_->CommitTrans();
  EXPECT_EQ("0", Files());
  EXPECT_EQ("1|a\n2|b\n3|c\n4|d", Rows("SELECT * FROM t"));
  EXPECT_EQ("3|c\n4|d", Rows("SELECT * FROM v"));
  EXPECT_EQ("a|1\nb|2", Rows("SELECT * FROM w"));
  // A step's rows that are undone, after those of another.
  dw_->BeginTrans();
  EXPECT_EQ("2", Load("v", columns, one, 2));
  dw_->SetSavepoint();
  EXPECT_EQ("2", Load("v", columns, two, 2));
  dw_->RollbackToSavepoint();
  EXPECT_EQ("2", Load("v", columns, two, 2));
  dw_->CommitTrans();
  EXPECT_EQ("3|c\n4|d\n1|a\n2|b\n3|c\n4|d", Rows("SELECT * FROM v"));
  // Rows that are committed between loads, of which one has not ended.
  dw_->BeginTrans();
  auto load = dw_->OpenBulkLoad("t", columns);
  for (int part = 0; part < 3; ++part) {
    std::vector<ado::Refusal> refused;
    load->Load({one, 2}, 0, refused);
    EXPECT_EQ(2, load->Finish());
    dw_->CommitTrans();
    dw_->BeginTrans();
    load = dw_->OpenBulkLoad("t", columns);
  }
  dw_->RollbackTrans();
  EXPECT_EQ("10", Rows("SELECT count(*) FROM t"));
}

/// The connection may have as many databases beside as SQLite allows, whatever a load needs.
TEST_F(SqliteRecordLoad, TakesNoDatabasesPlace) {
  dw_->Execute("CREATE TABLE t (n INT)");
  const std::vector<ado::LoadValue> row = {"1"};
  for (int number = 0; number < 10; ++number) {
    CreateWarehouse(Directory(), "beside" + std::to_string(number));
    if (number == 9) {
      dw_->BeginTrans();
      EXPECT_EQ("1", Load("t", {"n"}, row, 1));
      EXPECT_EQ("1", Files());
      dw_->CommitTrans();
    }
    dw_->Execute("CREATE TABLE beside" + std::to_string(number) + ".dbo.t (n INT)");
  }
  dw_->BeginTrans();
  EXPECT_EQ("1", Load("t", {"n"}, row, 1));
  EXPECT_EQ("0", Files());
  dw_->CommitTrans();
  EXPECT_EQ("2", Rows("SELECT count(*) FROM t"));
}

}  // namespace
}  // namespace torvik
