#include "startup/StatusLine.h"

#include <gtest/gtest.h>

#include "platform/FetchProgress.h"
#include "platform/linux/system/FetchCounter.h"
#include "startup/RunProgress.h"

namespace torvik {
namespace {

TEST(StatusLine, OnATerminalATextTakesThePlaceOfTheOneAboutTheSame) {
  const std::pair<bool, const char*> cases[] = {
      {true, "Loading\nload ...\nload : 5 rows\r\x1b[Kload : 9 rows\nscan : done\n"},
      {false, "Loading\nload ...\nload : 5 rows\nload : 9 rows\nscan : done\n"}};
  for (const auto& [isTerminal, expected] : cases) {
    std::string shown;
    {
      StatusLine line([&](std::string_view text) { shown += text; }, isTerminal);
      for (const char* text :
           {"Loading", "load ...", "load : 5 rows", "load : 9 rows", "scan : done"})
        line.Show(text);
    }
    EXPECT_EQ(expected, shown);
  }
}

TEST(FetchCounter, TellsTheWholeAtTheEndOfADirectoryAndSeldomBefore) {
  std::vector<std::string> told;
  FetchCounter counter([&](const FetchProgress& p) { told.push_back(FetchText(p)); });
  counter.BeginDirectory();
  counter.EndDirectory();
  EXPECT_TRUE(told.empty());
  for (const char* name : {"a", "b"}) {
    counter.BeginFile(name);
    for (int i = 0; i < 1000; ++i) counter.Add(1250);
    counter.EndFile();
  }
  EXPECT_LE(told.size(), 20U);
  counter.EndDirectory();
  EXPECT_EQ("Remote data : 2 files complete, 2.5 MB, b", told.back());
  counter.BeginDirectory();
  counter.EndFile();
  counter.EndDirectory();
  EXPECT_EQ("Remote data : 1 file complete, 0 bytes, b", told.back());
}

}  // namespace
}  // namespace torvik
