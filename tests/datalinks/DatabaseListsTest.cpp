#include "datalinks/DatabaseLists.h"

#include <gmock/gmock.h>

#include "fakes/FakeAdo.h"
#include "ui/Controls.h"

namespace torvik {
namespace {

using ::testing::ElementsAre;

const std::string kDatabases = "SELECT DISTINCT name FROM master.dbo.sysdatabases ORDER BY name";

FakeRows Names(const std::vector<std::string>& names) {
  FakeRows rows{{"SCHEMA_NAME"}, {}};
  for (const std::string& name : names) rows.rows.push_back({name});
  return rows;
}

struct DatabaseLists : ::testing::Test {
  FakeAdo ado;
  std::unique_ptr<ado::Connection> connection = ado.NewConnection();
  ComboBox list;

  DatabaseLists() { connection->Open(); }
};

TEST_F(DatabaseLists, AnEntryIsSelectedByItsWholeTextInAnyLetterCase) {
  list.Refill({"sales", "Sales", "Sales2", "\u00C5rhus", "\u0416", "\xC5rhus", "STRASSE"}, -1);
  const struct {
    const char* text;
    int position;
  } cases[] = {{"SALES", 0},    {"Sales", 0},     {"sales2", 2},      {"sale", -1},
               {"", -1},        {"sales ", -1},   {"\u00E5RHUS", 3},  {"\u0436", 4},
               {"\xC5RHUS", 5}, {"\xE5rhus", -1}, {"stra\u00DFe", -1}};
  for (const auto& c : cases) EXPECT_EQ(SelectComboEntry(list, c.text), c.position) << c.text;
}

TEST_F(DatabaseLists, ARefillShowsTheFormerEntryAgainIfItIsStillThere) {
  ado.state.rows[kDatabases] = Names({"DW", "master"});
  ado.state.schemata = Names({"DW", "master"});
  const struct {
    const char* before;
    const char* after;
    int position;
  } cases[] = {{"dw", "DW", 0}, {"master", "master", 1}, {"gone", "", -1}, {"", "", -1}};
  for (const auto refill : {ListSQLDatabases, ListOracleSchemas}) {
    for (const auto& c : cases) {
      list.Refill({"master", "gone"}, -1);
      list.Text.Set(c.before);
      refill(*connection, list);
      EXPECT_THAT(list.Entries(), ElementsAre("DW", "master"));
      EXPECT_EQ(list.ShownText(), c.after) << c.before;
      EXPECT_EQ(list.Chosen(), c.position) << c.before;
    }
  }
}

TEST_F(DatabaseLists, WatchersAreToldOnce) {
  ado.state.rows[kDatabases] = Names({"DW", "master"});
  list.Text.Set("dw");
  std::vector<std::string> told;
  list.Text.Observe([&](const std::string& text) { told.push_back("text " + text); });
  list.List.Observe([&](const auto& all) { told.push_back(std::to_string(all.size())); });
  ListSQLDatabases(*connection, list);
  EXPECT_THAT(told, ElementsAre("2", "text DW"));
}

TEST_F(DatabaseLists, AFailureLeavesTheListAsFarAsItWasFilled) {
  list.Refill({"old"}, 0);
  EXPECT_THROW(ListSQLDatabases(*connection, list), PlatformError);  // the query itself
  EXPECT_THAT(list.Entries(), ElementsAre("old"));
  EXPECT_EQ(list.ShownText(), "old");
  ado.state.rows[kDatabases] = Names({"DW", "master", "old"});
  ado.state.rows[kDatabases].failAt = 2;
  EXPECT_THROW(ListSQLDatabases(*connection, list), PlatformError);
  EXPECT_THAT(list.Entries(), ElementsAre("DW", "master"));
  EXPECT_EQ(list.Chosen(), -1);
}

TEST(ComboBox, ATypedTextTakesBackTheChoice) {
  ComboBox box;
  box.Refill({"a", "b"}, 1);
  EXPECT_EQ(box.Text.Get(), "b");
  box.Text.Set("c");
  EXPECT_EQ(box.Chosen(), -1);
  EXPECT_EQ(box.Text.Get(), "c");
  box.Choose(0);
  EXPECT_EQ(box.Text.Get(), "a");
  box.Choose(-1);
  EXPECT_EQ(box.Text.Get(), "");
}

}  // namespace
}  // namespace torvik
