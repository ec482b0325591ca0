// A table whose rows lie in several databases: partitions by way of postgres_fdw.

#include <gmock/gmock.h>

#include "fakes/ReadRows.h"
#include "platform/linux/sqlite/EmbeddedFixture.h"
#include "servers/PostgreSqlServer.h"

namespace torvik {
namespace {

using testing::HasSubstr;

/// Table sale (id, n, word) of "dw": ids below 100 lie in "east", the others in "west", which alone
/// check that n is below 1000.
class DistributedTable : public testing::Test {
 protected:
  DistributedTable() {
    server_.MakeDatabase("dw");
    dw_ = Open("dw");
    dw_->Execute(
        "CREATE EXTENSION postgres_fdw;"
        "CREATE TABLE sale (id INT NOT NULL, n INT, word VARCHAR(9)) PARTITION BY RANGE (id)");
    AddPart("east", "0", "100");
    AddPart("west", "100", "MAXVALUE");
  }

  std::unique_ptr<ado::Connection> Open(const std::string& database) {
    auto connection = server_.NewConnection(database);
    connection->Open();
    return connection;
  }

  void AddPart(const std::string& name, const std::string& from, const std::string& to) {
    server_.MakeDatabase(name);
    Open(name)->Execute(
        "CREATE TABLE part (id INT PRIMARY KEY, n INT CHECK (n < 1000), word VARCHAR(9))");
    dw_->Execute("CREATE SERVER " + name +
                 " FOREIGN DATA WRAPPER postgres_fdw OPTIONS (host "
                 "'127.0.0.1', port '" +
                 std::to_string(server_.Port()) + "', dbname '" + name +
                 "'); CREATE USER MAPPING FOR torvik SERVER " + name +
                 " OPTIONS (user 'torvik', password '" + server_.Password() +
                 "');"
                 "CREATE FOREIGN TABLE " +
                 name + " PARTITION OF sale FOR VALUES FROM (" + from + ") TO (" + to +
                 ") SERVER " + name + " OPTIONS (table_name 'part')");
  }

  std::int64_t Load(const std::string& table, const std::vector<ado::LoadValue>& values,
                    std::size_t tolerated, std::vector<ado::Refusal>& refused) {
    const auto load = dw_->OpenBulkLoad(table, columns_);
    load->Load({values, columns_.size()}, tolerated, refused);
    return load->Finish();
  }

  /// What each database has.
  std::string Parts() {
    const std::string sql = "SELECT id, n, word FROM part ORDER BY id";
    return RowsOf(*Open("east"), sql) + " / " + RowsOf(*Open("west"), sql);
  }

  const std::vector<std::string> columns_ = {"id", "n", "word"};
  PostgreSqlServer& server_ = PostgreSqlServer::Instance();
  std::unique_ptr<ado::Connection> dw_;
};

TEST_F(DistributedTable, TakesReplacesMergesAndRejectsRowsAsAnyOther) {
  const std::vector<ado::LoadValue> rows = {"1",   "5", "a", "2",   "5000", "b",
                                            "100", "6", "c", "101", "7",    "d"};
  std::vector<ado::Refusal> refused;
  dw_->BeginTrans();
  EXPECT_EQ(3, Load("sale", rows, 1, refused));
  dw_->CommitTrans();
  ASSERT_EQ(1u, refused.size());
  EXPECT_EQ(1u, refused[0].row);
  EXPECT_THAT(refused[0].description, HasSubstr("part_n_check"));
  const std::string loaded = "1|5|a / 100|6|c\n101|7|d";
  EXPECT_EQ(loaded, Parts());

  for (const bool commit : {false, true}) {
    dw_->BeginTrans();
    const std::string staging = dw_->CreateStagingTable("sale");
    EXPECT_EQ(3, Load(staging, {"1", "5", "a", "100", "8", "C", "102", "9", "e"}, 0, refused));
    const ado::MergeCounts counts = dw_->MergeRows("sale", staging, {columns_, {"id"}, true});
    EXPECT_EQ(std::tuple(1, 1, 1), std::tuple(counts.inserted, counts.updated, counts.deleted));
    commit ? dw_->CommitTrans() : dw_->RollbackTrans();
    EXPECT_EQ(commit ? "1|5|a / 100|8|C\n102|9|e" : loaded, Parts());
  }
  for (const char* n : {"5000", "1"}) {
    dw_->BeginTrans();
    const std::string staging = dw_->CreateStagingTable("sale");
    EXPECT_EQ(2, Load(staging, {"3", "3", "f", "300", n, "g"}, 0, refused));
    const std::string error = ErrorOf([&] { EXPECT_EQ(2, dw_->ReplaceRows("sale", staging)); });
    error.empty() ? dw_->CommitTrans() : dw_->RollbackTrans();
    EXPECT_EQ(error.empty() ? "3|3|f / 300|1|g" : "1|5|a / 100|8|C\n102|9|e", Parts()) << error;
    EXPECT_EQ(std::string(n) == "1", error.empty()) << error;
  }
}

}  // namespace
}  // namespace torvik
