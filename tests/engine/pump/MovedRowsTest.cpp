#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

#include "engine/pump/Conversion.h"
#include "engine/pump/Pump.h"
#include "engine/pump/RejectedRows.h"
#include "engine/pump/RowBatch.h"
#include "engine/pump/RowSource.h"
#include "engine/pump/RowTarget.h"
#include "platform/linux/sqlite/EmbeddedFixture.h"

namespace torvik::engine {
namespace {

/// A query whose rows are counted when somebody fetches them.
struct WatchedSource : RowSource {
  explicit WatchedSource(std::unique_ptr<RowSource> rows) : rows_(std::move(rows)) {}

  const std::vector<std::string>& Columns() const override { return rows_->Columns(); }
  bool Fetch(RowBatch& batch) override { return isSeen = true, rows_->Fetch(batch); }
  std::string PlaceOf(const RowBatch& batch, std::size_t row) const override {
    return rows_->PlaceOf(batch, row);
  }
  ado::BulkRead* Query() override { return rows_->Query(); }
  bool CanReadAhead() const override { return false; }

  bool isSeen = false;

 private:
  const std::unique_ptr<RowSource> rows_;
};

/// What a pump tells of its rows.
struct Told : RejectedRows {
  void Add(const BadRow& row, const RowSource&) override {
    text += "[" + row.error.Description() + "]";
  }
  void AddSent(std::span<const ado::LoadValue>, std::span<const std::string>) override {}
  void Flush() override {}
  void End(const PumpCounts& counts, const std::string& failure) override {
    text += " " + std::to_string(counts.read) + " read, " + std::to_string(counts.loaded) +
            " loaded, " + std::to_string(counts.rejected) + " rejected " + failure;
  }

  std::string text;
};

/// Tables of one embedded database that are pumped into another one.
class MovedRows : public EmbeddedFixture, public testing::Test {
 protected:
  MovedRows() {
    CreateWarehouse(Directory(), "origin");
    origin_ = Open("origin");
  }

  /// What a pump of the query tells, and what is in the table `t` then; nothing stays there.
  std::string Pump(const std::string& query, unsigned flags) {
    Told told;
    WatchedSource source(OpenQuerySource(*origin_, query, false));
    const auto target = NewTableTarget(*dw_, "t", "dw");
    dw_->BeginTrans();
    const std::string error = ErrorOf([&] {
      RunPump(
          {.source = source,
           .target = *target,
           .flags = flags,
           .maximumErrorCount = 1,
           .exceptions = &told},
          [](std::int64_t) {}, false);
    });
    const std::string rows = RowsOf(*dw_, "SELECT typeof(c), quote(c) FROM t");
    dw_->RollbackTrans();
    moved_ += source.isSeen ? 0 : 1;
    return told.text + "\n" + error + "\n" + rows;
  }

  std::unique_ptr<ado::Connection> dw_ = Open(), origin_;
  int moved_ = 0;
};

/// SQLite has in any column whatever it was given. Rows that it moves by itself must be those that
/// the pump would have stored, and the others get the same words.
TEST_F(MovedRows, AreStoredAsIfEachValueHadBeenLookedAt) {
  const char* const types[] = {"INT",           "SMALLINT",         "TINYINT",
                               "BIGINT",        "INT NOT NULL",     "BIT",
                               "DECIMAL(12,2)", "DECIMAL(19, 4)",   "DECIMAL",
                               "DECIMAL(2,2)",  "NUMERIC(20,18)",   "REAL",
                               "FLOAT",         "DOUBLE POINT",     "FLOATING POINT",
                               "DATE",          "DATETIME",         "DATE TEXT",
                               "VARCHAR(8)",    "NVARCHAR(3)",      "TEXT NOT NULL",
                               "NCHAR(3)",      "UNIQUEIDENTIFIER", "TIME(3)",
                               "BLOB",          "VARBINARY(2)",     ""};
  const char* const values[] = {"NULL",
                                "0",
                                "1",
                                "-1",
                                "2",
                                "127",
                                "128",
                                "-129",
                                "256",
                                "32768",
                                "2147483648",
                                "9999999999",
                                "123456789012345",
                                "999999999999999",
                                "1000000000000000",
                                "9223372036854775807",
                                "-9223372036854775808",
                                "0.5",
                                "-0.25",
                                "0.1",
                                "0.99",
                                "0.125",
                                "12.34",
                                "12.345",
                                "99999999.99",
                                "1e-5",
                                "1e-6",
                                "1e15 + 0.5",
                                "123456789012.3456",
                                "1e300",
                                "9e999",
                                "''",
                                "' '",
                                "'abc'",
                                "'abcdefgh'",
                                "'abcdefghi'",
                                "'\xC3\x98re\xC3\xB8re\xC3\xB8r'",
                                "'\xC3\x98re\xC3\xB8re\xC3\xB8re'",
                                "'\xF0\x9F\x98\x80z'",
                                "'\xF0\x9F\x98\x80\xF0\x9F\x98\x80'",
                                "'12'",
                                "' 12'",
                                "'1e3'",
                                "'true'",
                                "'NaN'",
                                "'2024-02-29'",
                                "'2023-02-29'",
                                "'2024-02-29 '",
                                "'2024-02-29 23:59:59'",
                                "'2024-02-29 23:59:59.125'",
                                "'2024-02-29 23:59'",
                                "'2024-02-29T23:59:59'",
                                "'2024-02-29 24:00:00'",
                                "'23:59:59'",
                                "'a' || char(0) || 'b'",
                                "CAST(x'41FF' AS TEXT)",
                                "CAST(x'F09F98' AS TEXT)",
                                "x''",
                                "x'6162'",
                                "x'FF00FF'"};
  // Types of one kind by their first word, and of another one by SQLite's rules.
  const std::string_view odd[] = {"DOUBLE POINT", "DATE TEXT"};
  for (const char* type : types) {
    moved_ = 0;
    dw_->Execute(std::string("DROP TABLE IF EXISTS t; CREATE TABLE t (c ") + type + ")");
    std::string fill = "BEGIN;";
    int number = 0;
    for (const char* value : values) {
      const std::string table = "t" + std::to_string(++number);
      fill += "DROP TABLE IF EXISTS " + table + "; CREATE TABLE " + table + " (c " + type +
              "); INSERT OR IGNORE INTO " + table + " VALUES (" + value + ");";
    }
    origin_->Execute(fill + "COMMIT");
    number = 0;
    for (const char* value : values) {
      const std::string query = "SELECT * FROM t" + std::to_string(++number);
      for (const unsigned flags : {0U, unsigned{kForceConvert}})
        EXPECT_EQ(Pump(query + " WHERE 1", flags), Pump(query, flags))
            << type << ": " << value << ", flags " << flags;
    }
    EXPECT_EQ(Pump("SELECT * FROM t2 WHERE 1", kRequireExactType),
              Pump("SELECT * FROM t2", kRequireExactType))
        << type;
    const bool isOdd = std::ranges::find(odd, std::string_view(type)) != std::end(odd);
    EXPECT_EQ(isOdd, moved_ == 0) << type;
  }
}

}  // namespace
}  // namespace torvik::engine
