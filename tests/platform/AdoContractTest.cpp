#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "EmbeddedFixture.h"
#include "fakes/FakeAdo.h"

namespace torvik {
namespace {

using testing::HasSubstr;

constexpr const char* kAllLinks = "SELECT name, kind FROM link ORDER BY name";
constexpr const char* kNoLinks = "SELECT name, kind FROM link WHERE 0";
constexpr ado::CursorOptions kLocked{ado::CursorLocation::UseClient, ado::CursorType::Dynamic,
                                     ado::LockType::Pessimistic};

/// A server with the table link(name, kind) and the rows (a, 1) and (b, NULL).
struct Server {
  virtual ~Server() = default;
  virtual ado::Provider& Databases() = 0;
};

struct FakeServer final : Server {
  FakeServer() {
    const std::vector<std::string> fields = {"name", "kind"};
    ado.state.rows[kAllLinks] = {
        fields, {{std::string("a"), std::int64_t{1}}, {std::string("b"), ado::Null{}}}};
    ado.state.rows[kNoLinks] = {fields, {}};
    ado.state.tables["link"].resize(2);
    ado.state.tables["link"][0].name = "name";
    ado.state.tables["link"][1].name = "kind";
  }
  ado::Provider& Databases() override { return ado; }
  FakeAdo ado;
};

struct SqliteServer final : Server {
  SqliteServer() {
    embedded.Open()->Execute(
        "CREATE TABLE link (name TEXT PRIMARY KEY, kind INT);"
        "INSERT INTO link VALUES ('b', NULL), ('a', 1)");
  }
  ado::Provider& Databases() override { return embedded.Databases(); }
  EmbeddedFixture embedded;
};

struct Kind {
  const char* name;
  std::unique_ptr<Server> (*make)();
};

class AdoContract : public testing::TestWithParam<Kind> {
 protected:
  AdoContract() {
    connection_->SetProvider("SQLOLEDB");
    connection_->SetProperty("Data Source", "(local)");
    connection_->SetProperty("Initial Catalog", "dw");
    connection_->Open();
  }
  std::unique_ptr<Server> server_ = GetParam().make();
  std::unique_ptr<ado::Connection> connection_ = server_->Databases().NewConnection();
};

INSTANTIATE_TEST_SUITE_P(
    , AdoContract,
    testing::Values(Kind{"Fake", [] { return std::unique_ptr<Server>(new FakeServer); }},
                    Kind{"Sqlite", [] { return std::unique_ptr<Server>(new SqliteServer); }}),
    [](const auto& kind) { return kind.param.name; });

TEST_P(AdoContract, IsOpenBetweenOpenAndCloseAlone) {
  EXPECT_EQ(ado::ObjectState::Open, connection_->State());
  connection_->Close();
  EXPECT_EQ(ado::ObjectState::Closed, connection_->State());
  EXPECT_THAT(ErrorOf([&] { connection_->Execute("DELETE FROM link"); }), HasSubstr("not open"));
  EXPECT_THAT(connection_->Errors().at(0).description, HasSubstr("not open"));
}

TEST_P(AdoContract, EveryCursorWalksTheRowsToTheEnd) {
  for (const ado::CursorOptions& options : {ado::CursorOptions{}, kLocked}) {
    const auto rows = connection_->OpenRecordset(kAllLinks, options);
    ASSERT_EQ(2, rows->FieldCount());
    EXPECT_EQ("kind", rows->FieldName(1));
    EXPECT_EQ(ado::Value("a"), rows->Field("NAME"));
    EXPECT_EQ(ado::Value(std::int64_t{1}), rows->Field(1));
    rows->MoveNext();
    ASSERT_FALSE(rows->Eof());
    EXPECT_EQ(ado::Value("b"), rows->Field(0));
    EXPECT_EQ(ado::Value(ado::Null{}), rows->Field("kind"));
    rows->MoveNext();
    EXPECT_TRUE(rows->Eof());
    rows->MoveNext();
    EXPECT_TRUE(rows->Eof());
    EXPECT_THROW(rows->Field("name"), PlatformError);
  }
}

TEST_P(AdoContract, AnUnknownFieldIsNamed) {
  const auto rows = connection_->OpenRecordset(kAllLinks, kLocked);
  EXPECT_THAT(ErrorOf([&] { rows->Field("colour"); }), HasSubstr("colour"));
  EXPECT_THAT(ErrorOf([&] { rows->SetField("colour", 1); }), HasSubstr("colour"));
}

TEST_P(AdoContract, NothingCanBeSetWithoutARowOrALock) {
  const auto none = connection_->OpenRecordset(kNoLinks, kLocked);
  EXPECT_TRUE(none->Eof());
  EXPECT_THAT(ErrorOf([&] { none->SetField("kind", 2); }), HasSubstr("no current row"));
  EXPECT_THAT(connection_->Errors().at(0).description, HasSubstr("no current row"));
  const auto unlocked = connection_->OpenRecordset(kAllLinks, {});
  EXPECT_THAT(ErrorOf([&] { unlocked->SetField("kind", 2); }), HasSubstr("cannot be changed"));
}

TEST_P(AdoContract, AnUpdatedRowIsReadAgainChangedAndTheOthersAreNot) {
  const auto rows = connection_->OpenRecordset(kAllLinks, kLocked);
  rows->SetField("kind", std::int64_t{5});
  rows->Update();
  rows->SetField("Kind", std::int64_t{6});
  rows->MoveNext();  // stores it as Update does
  EXPECT_EQ("a|6\nb|-", RowsOf(*connection_, kAllLinks));
}

TEST_P(AdoContract, AFailedStatementLeavesTheServersWords) {
  EXPECT_THROW(connection_->OpenRecordset("SELECT * FROM no_such_table", {}), PlatformError);
  ASSERT_EQ(1u, connection_->Errors().size());
  EXPECT_THAT(connection_->Errors()[0].description, HasSubstr("no_such_table"));
}

TEST_P(AdoContract, TheSchemaHasAKnownTablesColumnsAndNoneOfAnAbsentOne) {
  const auto of = [&](const std::string& table) {
    return connection_->OpenSchema(ado::SchemaQuery::Columns,
                                   std::array{std::string(), std::string(), table, std::string()});
  };
  EXPECT_TRUE(of("dwm_absent")->Eof());
  const auto columns = of("LINK");
  ASSERT_FALSE(columns->Eof());
  EXPECT_EQ(ado::Value("link"), columns->Field("TABLE_NAME"));
  EXPECT_EQ(ado::Value("name"), columns->Field("COLUMN_NAME"));
  EXPECT_EQ(2u, connection_->TableColumns("link").size());
  EXPECT_TRUE(connection_->TableColumns("dwm_absent").empty());
}

}  // namespace
}  // namespace torvik
