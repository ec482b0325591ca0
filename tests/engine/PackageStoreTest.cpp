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
