#include "engine/PackageStore.h"

#include <gmock/gmock.h>

#include "engine/EngineFixture.h"

namespace torvik::engine {
namespace {

class PackageStoreTest : public EngineTest {
 protected:
  PackageStore store_{server_.Databases(), {"(local)"}};
};

TEST_F(PackageStoreTest, TheLatestVersionIsLoadedUnlessOneIsNamed) {
  clock_.now = std::chrono::system_clock::time_point(std::chrono::milliseconds(951782399995));
  const std::string first = store_.Save("P", "one", "first", clock_);
  const std::string second = store_.Save("P", "two", "second", clock_);
  clock_.now -= std::chrono::hours(24);  // a clock that was set back
  const std::string third = store_.Save("P", "three", "third", clock_);
  EXPECT_EQ(store_.Load("P").text, "third");
  EXPECT_EQ(store_.Load("P").versionId, third);
  EXPECT_EQ(store_.Load("P", first).text, "first");
  EXPECT_EQ(store_.Load("P", "{" + second + "}").text, "second");
  EXPECT_EQ(Query("SELECT COUNT(DISTINCT id) FROM msdb.dbo.sysdtspackages"), "1");

  const auto list = store_.List();
  ASSERT_EQ(list.size(), 1u);
  EXPECT_EQ(list[0].description, "three");
  EXPECT_EQ(list[0].versions, 3);
  EXPECT_EQ(list[0].createDate, "2000-02-29 00:00:00.015") << "the end of February, carried over";
}

TEST_F(PackageStoreTest, VersionsOfOneInstantAreOnePackage) {
  const std::string older = store_.Save("P", "older", "older", clock_);
  std::vector<std::string> same;
  for (const char* text : {"b", "c", "d"}) same.push_back(store_.Save("P", text, text, clock_));
  server_.Open("msdb")->Execute(
      "UPDATE sysdtspackages SET createdate = '2030-01-01 00:00:00.000' WHERE versionid <> '" +
      older + "'");
  const std::string latest = store_.Load("P").versionId;
  EXPECT_THAT(same, testing::Contains(latest));
  const auto list = store_.List();
  ASSERT_EQ(list.size(), 1u);
  EXPECT_EQ(list[0].versions, 4);
  EXPECT_EQ(list[0].description, store_.Load("P").text);
  EXPECT_EQ(store_.Versions("P").front().versionId, latest);
  EXPECT_EQ(store_.Versions("P").back().versionId, older);
  EXPECT_EQ(store_.Prune("P", 2), 2);
  EXPECT_EQ(store_.Load("P").versionId, latest);
}

TEST_F(PackageStoreTest, APackageThatATriggerKeepsOutIsNotSaidToBeStored) {
  server_.Open("msdb")->Execute(
      "CREATE TRIGGER keeps_out BEFORE INSERT ON sysdtspackages WHEN NEW.name = 'P' BEGIN SELECT "
      "RAISE(IGNORE); END");
  try {
    store_.Save("P", "", "text", clock_);
    ADD_FAILURE() << "nothing is stored";
  } catch (const PlatformError& error) {
    EXPECT_THAT(error.Description(), testing::HasSubstr("took 0 rows"));
  }
  store_.Save("Q", "", "text", clock_);
  EXPECT_EQ("Q", Query("SELECT name FROM msdb.dbo.sysdtspackages"));
}

TEST_F(PackageStoreTest, OlderVersionsArePruned) {
  std::string latest;
  for (int version = 0; version < 203; ++version)
    latest = store_.Save("P", std::to_string(version), "text", clock_);
  store_.Save("Q", "", "text", clock_);
  EXPECT_EQ(store_.Prune("P", 2000), 0);
  EXPECT_EQ(store_.Prune("P", 2), 201);
  ASSERT_EQ(store_.Versions("P").size(), 2u);
  EXPECT_EQ(store_.Versions("P")[0].versionId, latest);
  EXPECT_EQ(store_.Versions("P")[1].description, "201");
  EXPECT_EQ(store_.Versions("Q").size(), 1u);
  EXPECT_THAT(ErrorOf([&] { store_.Prune("R", 1); }), testing::HasSubstr("no package \"R\""));
}

/// A search through all versions would read every document.
TEST_F(PackageStoreTest, TheLatestVersionIsFoundByAnIndex) {
  const auto plan = server_.Open("msdb")->OpenRecordset(
      "EXPLAIN QUERY PLAN SELECT packagedata FROM sysdtspackages WHERE name = 'P' AND createdate = "
      "(SELECT MAX(createdate) FROM sysdtspackages WHERE name = 'P')",
      {});
  for (; !plan->Eof(); plan->MoveNext())
    EXPECT_THAT(std::get<std::string>(plan->Field("detail")),
                testing::Not(testing::StartsWith("SCAN sysdtspackages")));
}

TEST_F(PackageStoreTest, KeepsTextsAsTheyAre) {
  for (const std::string& text : {std::string(), std::string("it''s 'q' \"d\" ; -- \r\n\t"),
                                  std::string("å – 漢"), std::string(200'000, 'x')}) {
    store_.Save("it's", "d'", text, clock_);
    EXPECT_EQ(store_.Load("it's").text, text) << text.substr(0, 40);
  }
}

TEST_F(PackageStoreTest, RemovesEveryVersionOfOneName) {
  for (const char* name : {"A", "A", "B"}) store_.Save(name, "", "text", clock_);
  EXPECT_EQ(store_.Remove("A"), 2);
  EXPECT_EQ(store_.Remove("A"), 0);
  EXPECT_THAT(ErrorOf([&] { store_.Load("A"); }),
              testing::HasSubstr("the server \"(local)\" has no package \"A\""));
  EXPECT_EQ(store_.Load("B").text, "text");
}

}  // namespace
}  // namespace torvik::engine
