#include "engine/pump/Pump.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "PumpTools.h"
#include "platform/PlatformError.h"
#include "platform/linux/IconvCodePages.h"

namespace torvik::engine {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

ado::Column ColumnOf(const char* name, const char* type, ado::ColumnKind kind, int size,
                     bool nullable) {
  ado::Column column;
  column.name = name;
  column.declaredType = type;
  column.kind = kind;
  column.size = size;
  column.nullable = nullable;
  return column;
}

/// A server with one table. Refuses a row whose first value is `refused`, and can lose rows.
struct FakeDestination : ado::Connection {
  std::vector<ado::Column> columns = {
      ColumnOf("id", "INTEGER", ado::ColumnKind::Integer, 4, false),
      ColumnOf("Name", "VARCHAR(3)", ado::ColumnKind::Text, 3, true),
      ColumnOf("name", "", ado::ColumnKind::Text, 0, true),
      ColumnOf("flag", "BIT", ado::ColumnKind::Boolean, 0, true)};
  std::string refused;
  std::int64_t lostRows = 0;
  std::string loaded;  ///< As Shown() writes it, behind the names of the columns.
  std::int64_t rows = 0;
  std::function<void()> onAppend = [] {};

  struct Load : ado::BulkLoad {
    explicit Load(FakeDestination& owner) : server(owner) {}
    void Append(std::span<const ado::LoadValue> row) override {
      server.onAppend();
      if (!server.refused.empty() && row[0] == server.refused)
        throw PlatformError(19, "UNIQUE constraint failed", "server");
      ++server.rows;
      RowBatch shown;
      std::ranges::copy(row, shown.AddRow(0, row.size()).begin());
      server.loaded += Shown(shown);
    }
    std::int64_t Finish() override { return server.rows - server.lostRows; }
    FakeDestination& server;
  };

  std::vector<ado::Column> TableColumns(const std::string& table) override {
    return table == "t" ? columns : std::vector<ado::Column>{};
  }
  std::unique_ptr<ado::BulkLoad> OpenBulkLoad(const std::string&,
                                              std::span<const std::string> names) override {
    for (const std::string& name : names) loaded += name + " ";
    return std::make_unique<Load>(*this);
  }

  void SetProvider(const std::string&) override {}
  void SetConnectionTimeout(int) override {}
  void SetProperty(const std::string&, const std::string&) override {}
  void Open() override {}
  void Close() override {}
  ado::ObjectState State() const override { return ado::ObjectState::Open; }
  std::vector<ado::ProviderError> Errors() const override { return {}; }
  std::int64_t Execute(const std::string&) override { return 0; }
  std::unique_ptr<ado::Recordset> OpenRecordset(const std::string&,
                                                const ado::CursorOptions&) override {
    return nullptr;
  }
  std::unique_ptr<ado::Recordset> OpenSchema(ado::SchemaQuery,
                                             std::span<const std::string>) override {
    return nullptr;
  }
  void BeginTrans() override {}
  void CommitTrans() override {}
  void RollbackTrans() override {}
  void SetSavepoint() override {}
  void RollbackToSavepoint() override {}
  void Cancel() override {}
};

/// Batches of one row, numbered from 1, until `rows` have been fetched; then the end or an error.
struct FakeSource : RowSource {
  std::int64_t rows = 0;
  bool readsAhead = true;
  bool fails = false;
  std::atomic<std::int64_t> fetched = 0;
  std::atomic<bool> fetchedElsewhere = false;
  std::thread::id caller = std::this_thread::get_id();
  std::vector<std::string> columns = {"id"};

  const std::vector<std::string>& Columns() const override { return columns; }
  bool Fetch(RowBatch& batch) override {
    if (std::this_thread::get_id() != caller) fetchedElsewhere = true;
    batch.Clear();
    if (fetched == rows) {
      if (fails) throw PlatformError(0, "the tape broke", "source");
      return false;
    }
    batch.AddRow(++fetched, 1)[0] = batch.Store(std::to_string(fetched));
    return true;
  }
  std::string PlaceOf(const RowBatch& batch, std::size_t row) const override {
    return "row " + std::to_string(batch.Position(row));
  }
  bool CanReadAhead() const override { return readsAhead; }
};

/// What the server has got, or the words of the error.
std::string Pumped(const PumpRequest& request, FakeDestination& server) {
  try {
    const PumpCounts counts = RunPump(
        request, [](std::int64_t) {}, false);
    EXPECT_EQ(counts.read, counts.loaded);
    return server.loaded;
  } catch (const PlatformError& error) {
    return error.Description();
  }
}

TEST(Pump, MapsAndChecksValues) {
  const struct {
    const char* text;
    std::vector<ColumnMapping> columns;
    const char* outcome;
  } cases[] = {
      {"Name,ID\nabc,1\n,2\n", {}, "Name id abc|1/NULL|2/"},
      {"a,b\n 7 ,yes\n8,\"\"\n",
       {{"a", "id"}, {"B", "flag"}, {"a", "Name"}, {"b", "name"}},
       "id flag Name name 7|1| 7 |yes/8|NULL|8|/"},
      {"a,b\n1,2\n", {{"b", "id"}}, "id 2/"},
      {"id\n", {}, "id "},
      {"", {}, ""},
      {"id\n1\n\"2\n\"\nx\n",
       {},
       "in.csv, line 5, column 1 (id): \"x\" is not a whole number; it goes into column id "
       "(INTEGER)"},
      {"a,b\n1,wxyz\n",
       {{"b", "Name"}},
       "in.csv, line 2, column 2 (b): \"wxyz\" has 4 characters, 3 fit; it goes into column Name "
       "(VARCHAR(3))"},
      {"a\n\u00e9123456789012345678901234567890123456789012345678901234567890\n",
       {{"a", "flag"}},
       "in.csv, line 2, column 1 (a): "
       "\"\u00e912345678901234567890123456789012345678901234567890123456789...\" is neither true "
       "nor false; it goes into column flag (BIT)"},
      {"id,flag\n,1\n",
       {},
       "in.csv, line 2, column 1 (id): the value is missing; column id (INTEGER) must have one"},
      {"a\n1\n", {}, "the table t has no column a; its columns are: id, Name, name, flag"},
      {"NAME\n1\n",
       {},
       "the table t has several columns NAME; its columns are: id, Name, name, flag"},
      {"a,b\n1,2\n", {{"c", "id"}}, "the source has no column c; its columns are: a, b"},
      {"a,b\n1,2\n", {{"a", "id"}, {"b", "ID"}}, "column id is filled twice; map one column to it"},
      {"id\n1\n666\n", {}, "in.csv, line 3: UNIQUE constraint failed"},
  };
  const auto codePages = NewIconvCodePages("windows-1252");
  for (const auto& c : cases) {
    SlowFiles files;
    files.texts["in.csv"] = c.text;
    DelimitedFormat format;
    format.firstRowColumnName = *c.text != '\0';
    const auto source = OpenDelimitedText(files, *codePages, "in.csv", format);
    FakeDestination server;
    server.refused = "666";
    EXPECT_EQ(c.outcome, Pumped({*source, server, "t", c.columns}, server)) << c.text;
  }
}

TEST(Pump, EndsWithTheSourcesErrorBehindTheRowsBeforeIt) {
  for (const bool readsAhead : {true, false}) {
    FakeSource source;
    source.rows = 20;
    source.fails = true;
    source.readsAhead = readsAhead;
    FakeDestination server;
    EXPECT_EQ("the tape broke", Pumped({source, server, "t", {}}, server)) << readsAhead;
    EXPECT_EQ(20, server.rows);
    EXPECT_EQ(readsAhead, source.fetchedElsewhere);
  }
}

TEST(Pump, RefusesAMissingTableAndALostRow) {
  FakeSource source;
  source.rows = 3;
  FakeDestination server;
  EXPECT_EQ("there is no table u", Pumped({source, server, "u", {}}, server));
  server.lostRows = 1;
  EXPECT_THAT(Pumped({source, server, "t", {}}, server),
              StartsWith("3 rows were read but the server took 2;"));
}

/// The source has no end: only a bounded queue and a stop that reaches the reader let this return.
TEST(Pump, StopsWhenCancelledAndNeverReadsFarAhead) {
  FakeSource source;
  source.rows = -1;
  FakeDestination server;
  std::atomic<bool> cancelled = false;
  std::int64_t farthest = 0;
  server.onAppend = [&] {
    farthest = std::max(farthest, source.fetched - server.rows);
    if (server.rows == 5000) cancelled = true;
  };
  const PumpRequest request{source, server, "t", {}};
  try {
    RunPump(
        request, [](std::int64_t) {}, cancelled);
    FAIL() << "ended by itself";
  } catch (const PlatformError& error) {
    EXPECT_EQ("the data pump was cancelled", error.Description());
  }
  EXPECT_LE(farthest, 8);
}

TEST(Pump, ReportsProgressOnTheCallingThread) {
  FakeSource source;
  source.rows = -1;
  FakeDestination server;
  std::atomic<bool> cancelled = false;
  std::int64_t reported = 0;
  const auto progress = [&](std::int64_t rows) {
    EXPECT_EQ(source.caller, std::this_thread::get_id());
    EXPECT_EQ(server.rows, rows);
    reported = rows;
    cancelled = true;
  };
  EXPECT_THROW(RunPump({source, server, "t", {}}, progress, cancelled), PlatformError);
  EXPECT_GT(reported, 0);
}

}  // namespace
}  // namespace torvik::engine
