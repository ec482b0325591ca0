#include "engine/pump/Pump.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "engine/pump/PumpTools.h"
#include "engine/pump/ReadAhead.h"
#include "engine/pump/RowBatch.h"
#include "engine/pump/RowTarget.h"
#include "engine/pump/Transformation.h"
#include "fakes/NoThreads.h"
#include "platform/linux/sqlite/EmbeddedFixture.h"
#include "platform/linux/text/IconvCodePages.h"

namespace torvik::engine {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

/// Batches of one row, numbered from 1, until `rows` have been fetched; then an error.
struct FakeSource : RowSource {
  int rows = 0;
  bool readsAhead = true;
  int fetched = 0;
  std::atomic<bool> fetchedElsewhere = false;
  std::thread::id caller = std::this_thread::get_id();
  std::vector<std::string> columns = {"id"};

  const std::vector<std::string>& Columns() const override { return columns; }
  bool Fetch(RowBatch& batch) override {
    if (std::this_thread::get_id() != caller) fetchedElsewhere = true;
    batch.Clear();
    if (fetched == rows) throw PlatformError(0, "the tape broke", "source");
    ++fetched;
    batch.AddRow({fetched}, 1)[0] = batch.Store(std::to_string(fetched));
    return true;
  }
  std::string PlaceOf(const RowBatch&, std::size_t) const override { return "a row"; }
  bool CanReadAhead() const override { return readsAhead; }
};

/// Pumps into a database of its own, in a transaction that stays open.
class PumpTest : public testing::Test {
 protected:
  PumpTest() {
    for (const std::string table : {"t", "copy"})
      warehouse_->Execute("CREATE TABLE " + table +
                          " (id INTEGER NOT NULL PRIMARY KEY, price DECIMAL(6,2),"
                          " rate DOUBLE PRECISION, seen DATE, word VARCHAR(5), flag BIT)");
    warehouse_->BeginTrans();
  }

  /// The error that ended it; empty: none.
  std::string Pump(RowSource& source, const std::string& table,
                   const std::vector<ColumnMapping>& columns = {}) {
    const auto progress = [](std::int64_t) {};
    return ErrorOf([&] {
      const auto target = NewTableTarget(*warehouse_, table, "the database DW");
      const PumpCounts counts = RunPump({source, *target, columns}, progress, false);
      EXPECT_EQ(counts.read, counts.loaded);
    });
  }

  std::string PumpText(const std::string& text, const std::vector<ColumnMapping>& columns = {},
                       const std::string& table = "t") {
    files_.texts["t.csv"] = text;
    const TextFormat format{.firstRowColumnName = !text.empty()};
    return Pump(*OpenTextSource(files_, *codePages_, "t.csv", format), table, columns);
  }

  std::string Stored(const std::string& values, const std::string& table = "t") {
    return RowsOf(*warehouse_, "SELECT " + values + " FROM " + table + " ORDER BY id");
  }

  EmbeddedFixture server_;
  std::unique_ptr<ado::Connection> warehouse_ = server_.Open();
  std::unique_ptr<CodePages> codePages_ = NewIconvCodePages("windows-1252");
  SlowFiles files_;
};

TEST_F(PumpTest, MapsAndChecksValues) {
  const std::string digits(60, '7');
  const struct {
    std::string text;
    std::string outcome;  // the error, or id, word and flag of what was loaded
    std::vector<ColumnMapping> columns = {};
  } cases[] = {
      {"word,ID\nabc,1\n,2\n", "1|abc|-\n2|-|-"},
      {"a,b\n 7 ,yes\n8,\"\"\n", "7| 7 |1\n8|8|-", {{"a", "id"}, {"B", "flag"}, {"a", "Word"}}},
      {"a,A\n1,2\n", "2|-|-", {{"A", "id"}}},
      {"id\n", ""},
      {"", ""},
      {"id\n1\n\"2\n\"\nx\n",
       "t.csv, line 5, column 1 (id): \"x\" is not a whole number; it goes into column id "
       "(INTEGER)"},
      {"id,flag\n1,\u00e9" + digits,
       "t.csv, line 2, column 2 (flag): \"\u00e9" + digits.substr(0, 59) +
           "...\" is neither true nor false; it goes into column flag (BIT)"},
      {"id,flag\n,1\n",
       "t.csv, line 2, column 1 (id): the value is missing; column id (INTEGER) must have one"},
      {"a\n1\n", "the table t has no column a; its columns are: id, price, rate, seen, word, flag"},
      {"ab,AB\n1,2\n",
       "the source has several columns Ab; its columns are: ab, AB",
       {{"Ab", "id"}}},
      {"a,b\n1,2\n", "column id is filled twice; map one column to it", {{"a", "id"}, {"b", "ID"}}},
  };
  for (const auto& c : cases) {
    warehouse_->Execute("DELETE FROM t");
    const std::string error = PumpText(c.text, c.columns);
    EXPECT_EQ(c.outcome, error.empty() ? Stored("id, word, flag") : error) << c.text;
  }
  EXPECT_EQ("there is no table u in the database DW", PumpText("id\n1\n", {}, "u"));
}

/// What a transformation has made is what does not fit, not what it was made of.
TEST_F(PumpTest, NamesTheValueThatDoesNotFit) {
  const auto lookup = [&](std::vector<std::size_t> keys) {
    return std::shared_ptr(NewLookup(
        {*warehouse_, "SELECT id FROM copy WHERE word = ? OR word = ?", std::move(keys), 0, true}));
  };
  const struct {
    std::shared_ptr<Transformation> transformation;
    std::string value;
  } cases[] = {{NewConstant("none"), "\"none\" is not a whole number"},
               {lookup({0, 1}), "\"a, b\" is not found by the lookup"}};
  for (const auto& c : cases)
    EXPECT_EQ(
        PumpText("x,y\na,b\n", {{.source = "x", .destination = "id", .chain = {c.transformation}}}),
        "t.csv, line 2, column 1 (x): " + c.value + "; it goes into column id (INTEGER)");
}

/// Short rows are many in a block: what is kept of each that is rejected adds up.
TEST(TextSource, ABatchHasABoundedNumberOfRowsGoodOrBad) {
  const auto codePages = NewIconvCodePages("windows-1252");
  for (const std::string line : {"1\n", "1,2\n"}) {
    for (const char* encoding : {"utf-8", "utf-7"}) {
      SlowFiles files;
      files.texts["f"] = "a,b\n";
      for (int i = 0; i < 100'000; ++i) files.texts["f"] += line;
      const auto source = OpenTextSource(files, *codePages, "f",
                                         {.firstRowColumnName = true, .encoding = encoding});
      RowBatch batch;
      std::size_t rows = 0;
      while (source->Fetch(batch)) {
        const std::size_t count = batch.RowCount() + batch.BadRows().size();
        EXPECT_LE(count, 20'000u) << line;
        rows += count;
      }
      EXPECT_EQ(rows, 100'000u) << line << encoding;
    }
  }
}

TEST_F(PumpTest, StoresValuesInTheirColumnsTypesAndCopiesThemUnchanged) {
  EXPECT_EQ("", PumpText("word,id,price,rate,seen\n"
                         "007, 7 ,+1.50,1e3,2024-02-29\n"
                         "\"\",8,\"\",,\n"));
  const std::string values = "quote(id), quote(price), quote(rate), quote(seen), quote(word)";
  const std::string stored = "7|1.5|1000.0|'2024-02-29'|'007'\n8|NULL|NULL|NULL|''";
  EXPECT_EQ(stored, Stored(values));

  warehouse_->CommitTrans();
  const auto other = server_.Open();
  for (ado::Connection* from : {warehouse_.get(), other.get()}) {
    warehouse_->Execute("DELETE FROM copy");
    EXPECT_EQ("",
              Pump(*OpenQuerySource(*from, "SELECT * FROM t", from == warehouse_.get()), "copy"));
    EXPECT_EQ(stored, Stored(values, "copy"));
  }
}

TEST_F(PumpTest, NamesTheRowThatTheServerRefusesAndMissesTheOneItDrops) {
  std::string rows = "id\n";
  for (int id = 1; id <= 40'000; ++id) rows += std::to_string(id) + "\n";
  EXPECT_THAT(PumpText(rows + "5\n"),
              AllOf(StartsWith("t.csv, line 40002: "), HasSubstr("UNIQUE")));
  warehouse_->Execute(
      "DELETE FROM t; CREATE TRIGGER drops BEFORE INSERT ON t WHEN NEW.id = 2 "
      "BEGIN SELECT RAISE(IGNORE); END");
  EXPECT_THAT(PumpText("id\n1\n2\n3\n"), StartsWith("3 rows were read but the server took 2;"));
}

TEST_F(PumpTest, EndsWithTheSourcesErrorBehindTheRowsBeforeIt) {
  for (const bool readsAhead : {true, false}) {
    warehouse_->Execute("DELETE FROM t");
    FakeSource source;
    source.rows = 20;
    source.readsAhead = readsAhead;
    EXPECT_EQ("the tape broke", Pump(source, "t")) << readsAhead;
    EXPECT_EQ("20", RowsOf(*warehouse_, "SELECT COUNT(*) FROM t")) << readsAhead;
    EXPECT_EQ(readsAhead, source.fetchedElsewhere);
  }
}

/// The source has no end: only a stop that reaches the reader lets this return.
TEST_F(PumpTest, ReportsProgressOnTheCallingThreadAndStopsWhenCancelled) {
  FakeSource source;
  source.rows = -1;
  std::atomic<bool> cancelled = false;
  const auto progress = [&](std::int64_t rows) {
    EXPECT_EQ(source.caller, std::this_thread::get_id());
    EXPECT_EQ(std::to_string(rows), RowsOf(*warehouse_, "SELECT COUNT(*) FROM t"));
    cancelled = rows > 0;
  };
  EXPECT_EQ("the data pump was cancelled", ErrorOf([&] {
              RunPump({source, *NewTableTarget(*warehouse_, "t", "the database DW")}, progress,
                      cancelled);
            }));
}

/// Rows of a mebibyte, each a batch of its own.
struct LargeRows : FakeSource {
  bool Fetch(RowBatch& batch) override {
    if (fetched == rows) return false;
    batch.Clear();
    batch.AddRow({++fetched}, 1)[0] = batch.Store(std::string(1 << 20, 'x'));
    return true;
  }
};

/// A server that judges what is sent when it is asked, and refuses the first of that once.
struct JudgingTarget : RowTarget {
  std::size_t sent = 0, mostSent = 0, loadedAlone = 0;
  bool refuses = false;

  struct Judging : ado::BulkLoad {
    explicit Judging(JudgingTarget& ofWhom) : target(ofWhom) {}
    bool Send(const ado::LoadRows&) override {
      target.mostSent = std::max(target.mostSent, ++target.sent);
      return true;
    }
    bool Settle() override {
      const bool isTaken = !std::exchange(target.refuses, false);
      rows += isTaken ? static_cast<std::int64_t>(target.sent) : 0;
      target.sent = 0;
      return isTaken;
    }
    void Load(const ado::LoadRows&, std::size_t, std::vector<ado::Refusal>& refused) override {
      EXPECT_EQ(0u, target.sent);
      if (target.loadedAlone++ == 0)
        refused.push_back({0, 0, "refused"});
      else
        ++rows;
    }
    std::int64_t Finish() override { return rows; }

    JudgingTarget& target;
    std::int64_t rows = 0;
  };

  std::string Name() const override { return "the server"; }
  std::optional<std::vector<ado::Column>> Columns() override { return std::nullopt; }
  std::unique_ptr<ado::BulkLoad> Open(std::span<const std::string>) override {
    return std::make_unique<Judging>(*this);
  }
};

TEST(Pump, BatchesThatAreJudgedTogetherTakeLittleMemoryAndGoAloneWhenOneIsRefused) {
  for (const bool refuses : {false, true}) {
    LargeRows source;
    source.rows = 50;
    JudgingTarget target;
    target.refuses = refuses;
    PumpRequest request{source, target};
    request.maximumErrorCount = 1;
    const std::atomic<bool> cancelled = false;
    const PumpCounts counts = RunPump(
        request, [](std::int64_t) {}, cancelled);
    EXPECT_EQ(50, counts.read);
    EXPECT_EQ(refuses ? 1 : 0, counts.rejected);
    EXPECT_EQ(refuses ? 49 : 50, counts.loaded);
    EXPECT_LE(target.mostSent, 12u);
    EXPECT_EQ(refuses, target.loadedAlone > 0);
    EXPECT_LE(target.loadedAlone, 12u);
  }
}

TEST(ReadAhead, StaysAFewBatchesAheadAndStopsWhenItIsLeft) {
  std::atomic<int> filled = 0;
  ReadAhead batches([&](RowBatch&) { return ++filled > 0; });
  for (int taken = 1; taken <= 5000; ++taken) {
    ASSERT_NE(batches.Next(), nullptr);
    ASSERT_LE(filled - taken, 8);
    if (taken % 12 == 0) batches.Release();
  }
}

TEST(ReadAhead, WithoutAThreadABatchIsFilledWhenItIsTaken) {
  const NoThreads none;
  int filled = 0;
  ReadAhead batches([&](RowBatch&) {
    if (filled == 3) throw PlatformError(0, "broken", "test");
    return ++filled > 0;
  });
  for (int taken = 1; taken <= 3; ++taken) {
    ASSERT_NE(batches.Next(), nullptr);
    EXPECT_EQ(filled, taken);
  }
  EXPECT_THROW(batches.Next(), PlatformError);
}

}  // namespace
}  // namespace torvik::engine
