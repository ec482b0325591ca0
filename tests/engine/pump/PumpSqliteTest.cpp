#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "PumpTools.h"
#include "engine/pump/Pump.h"
#include "fakes/TemporaryDirectory.h"
#include "platform/PlatformError.h"
#include "platform/linux/AdoServers.h"
#include "platform/linux/EmbeddedServer.h"
#include "platform/linux/IconvCodePages.h"

namespace torvik::engine {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

/// Pumps into a database of its own.
class PumpSqlite : public testing::Test {
 protected:
  PumpSqlite() {
    CreateEmbeddedServer(directory_.Path());
    CreateWarehouse(directory_.Path(), "dw");
    warehouse_ = Open();
    warehouse_->Execute(
        "CREATE TABLE t (id INTEGER NOT NULL PRIMARY KEY, price DECIMAL(6,2), rate DOUBLE "
        "PRECISION,"
        " seen DATE, word VARCHAR(5));"
        "CREATE TABLE copy (id INTEGER, price DECIMAL(6,2), rate DOUBLE PRECISION, seen DATE,"
        " word VARCHAR(5))");
  }

  std::unique_ptr<ado::Connection> Open() {
    auto connection = databases_->NewConnection();
    connection->SetProperty("Data Source", "(local)");
    connection->SetProperty("Initial Catalog", "dw");
    connection->Open();
    return connection;
  }

  /// Pumps in one transaction, as a step does; answers the error that undid it.
  std::string Pump(RowSource& source, const std::string& table) {
    warehouse_->BeginTrans();
    try {
      RunPump(
          {source, *warehouse_, table, {}}, [](std::int64_t) {}, false);
      warehouse_->CommitTrans();
      return "";
    } catch (const PlatformError& error) {
      warehouse_->RollbackTrans();
      return error.Description();
    }
  }

  std::string PumpText(const std::string& text) {
    files_.texts["t.csv"] = text;
    return Pump(*OpenDelimitedText(files_, *codePages_, "t.csv", {.firstRowColumnName = true}),
                "t");
  }

  /// Each value of a table with the type in which it is stored.
  std::string Stored(const std::string& table) {
    return ReadAll(*OpenQuerySource(
        *warehouse_,
        "SELECT typeof(id), id, typeof(price), price, typeof(rate), rate, typeof(seen), seen,"
        " typeof(word), word FROM " +
            table + " ORDER BY id"));
  }

  TemporaryDirectory directory_;
  std::unique_ptr<CodePages> codePages_ = NewIconvCodePages("windows-1252");
  SlowFiles files_;
  std::unique_ptr<ado::Provider> databases_ = NewAdoProvider([this](const std::string&) {
    return std::optional(ServerPlace{"embedded", directory_.Path()});
  });
  std::unique_ptr<ado::Connection> warehouse_;
};

TEST_F(PumpSqlite, StoresValuesInTheirColumnsTypesAndCopiesThemUnchanged) {
  EXPECT_EQ("", PumpText("word,id,price,rate,seen\n"
                         "007, 7 ,+1.50,1e3,2024-02-29\n"
                         "\"\",8,\"\",,\n"));
  const std::string stored =
      "integer|7|real|1.5|real|1000|text|2024-02-29|text|007/"
      "integer|8|null|NULL|null|NULL|null|NULL|text|/";
  EXPECT_EQ(stored, Stored("t"));

  const auto other = Open();
  for (ado::Connection* from : {warehouse_.get(), other.get()}) {
    warehouse_->Execute("DELETE FROM copy");
    EXPECT_EQ("", Pump(*OpenQuerySource(*from, "SELECT * FROM t"), "copy"));
    EXPECT_EQ(stored, Stored("copy"));
  }
}

TEST_F(PumpSqlite, AFailureLeavesNothingBehind) {
  std::string rows = "id,word\n";
  for (int id = 1; id <= 40'000; ++id) rows += std::to_string(id) + ",w\n";
  const struct {
    const char* lastRow;
    const char* error;
  } cases[] = {
      {"40001,sixsix\n", "t.csv, line 40002, column 2 (word): \"sixsix\" has 6 characters"},
      {"40001,\"six\n", "t.csv, line 40002, column 2 (word): the text qualifier opened"},
      {"5,x\n", "t.csv, line 40002: "}};
  for (const auto& c : cases) {
    EXPECT_THAT(PumpText(rows + c.lastRow), StartsWith(c.error));
    EXPECT_EQ("", Stored("t")) << c.lastRow;
  }
  EXPECT_THAT(PumpText("id\n1\n1\n"), HasSubstr("UNIQUE"));
}

}  // namespace
}  // namespace torvik::engine
