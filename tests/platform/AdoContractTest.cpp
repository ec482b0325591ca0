#include <gmock/gmock.h>

#include <functional>

#include "fakes/FakeAdo.h"
#include "platform/linux/sqlite/EmbeddedFixture.h"
#include "servers/PostgreSqlServer.h"

namespace torvik {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* kAllLinks = "SELECT name, kind FROM link ORDER BY name";
constexpr const char* kNoLinks = "SELECT name, kind FROM link WHERE name = ''";

/// A connection to a database with the table link(name, kind) and the rows (a, 1) and (b, NULL).
class AdoContract : public testing::TestWithParam<const char*> {
 protected:
  AdoContract() {
    fake_.state.rows[kAllLinks] = {{"name", "kind"}, {{"a", std::int64_t{1}}, {"b", ado::Null{}}}};
    fake_.state.rows[kNoLinks] = {{"name", "kind"}, {}};
    fake_.state.tables["link"] = {};
    connection_ = NewConnection(GetParam());
    connection_->Open();
    if (GetParam() != std::string("Fake"))
      connection_->Execute(
          "CREATE TABLE link (name VARCHAR(20) PRIMARY KEY, kind INT);"
          "INSERT INTO link VALUES ('b', NULL), ('a', 1)");
  }

  std::unique_ptr<ado::Connection> NewConnection(const std::string& kind) {
    if (kind == "PostgreSql" || kind == "PsqlOdbc") {
      PostgreSqlServer::Instance().MakeDatabase("dw");
      return PostgreSqlServer::Instance().NewConnection("dw",
                                                        kind == "PsqlOdbc" ? "by ODBC" : "pg");
    }
    auto connection = (kind == "Fake" ? fake_ : embedded_.Databases()).NewConnection();
    connection->SetProvider("SQLOLEDB");
    connection->SetProperty("Data Source", "(local)");
    connection->SetProperty("Initial Catalog", "dw");
    return connection;
  }

  FakeAdo fake_;
  EmbeddedFixture embedded_;
  std::unique_ptr<ado::Connection> connection_;
};

INSTANTIATE_TEST_SUITE_P(, AdoContract, testing::Values("Fake", "Sqlite", "PostgreSql", "PsqlOdbc"),
                         [](const auto& tested) { return std::string(tested.param); });

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
    for (int beyond = 0; beyond < 2; ++beyond) {
      rows->MoveNext();
      EXPECT_TRUE(rows->Eof());
    }
  }
}

TEST_P(AdoContract, AFailureSaysWhyAndIsKept) {
  const auto locked = connection_->OpenRecordset(kAllLinks, kLocked);
  const auto unlocked = connection_->OpenRecordset(kAllLinks, {});
  const auto none = connection_->OpenRecordset(kNoLinks, kLocked);
  const std::pair<const char*, std::function<void()>> cases[] = {
      {"colour", [&] { locked->Field("colour"); }},
      {"colour", [&] { locked->SetField("colour", 1); }},
      {"no current row", [&] { none->Field("kind"); }},
      {"no current row", [&] { none->SetField("kind", 2); }},
      {"cannot be changed", [&] { unlocked->SetField("kind", 2); }},
      {"no_such_table", [&] { connection_->OpenRecordset("SELECT * FROM no_such_table", {}); }},
      {"not open", [&] {
         EXPECT_EQ(ado::ObjectState::Open, connection_->State());
         connection_->Close();
         EXPECT_EQ(ado::ObjectState::Closed, connection_->State());
         connection_->OpenRecordset(kNoLinks, {});
       }}};
  for (const auto& [reason, action] : cases) {
    EXPECT_THAT(ErrorOf(action), HasSubstr(reason));
    EXPECT_THAT(connection_->Errors(),
                ElementsAre(testing::Field(&ado::ProviderError::description, HasSubstr(reason))));
  }
}

TEST_P(AdoContract, AnUpdatedRowIsReadAgainChangedAndTheOthersAreNot) {
  const auto rows = connection_->OpenRecordset(kAllLinks, kLocked);
  rows->SetField("kind", std::int64_t{5});
  rows->Update();
  rows->SetField("Kind", std::int64_t{6});
  rows->MoveNext();  // stores it as Update does
  EXPECT_EQ("a|6\nb|-", RowsOf(*connection_, kAllLinks));
}

TEST_P(AdoContract, TheSchemaHasATableThatIsThere) {
  const auto isThere = [&](const char* table) {
    const std::string restrictions[] = {"", "", table, ""};
    return !connection_->OpenSchema(ado::SchemaQuery::Columns, restrictions)->Eof();
  };
  EXPECT_TRUE(isThere("link"));
  EXPECT_FALSE(isThere("dwm_absent"));
}

}  // namespace
}  // namespace torvik
