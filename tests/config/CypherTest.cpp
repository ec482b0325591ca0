#include <gtest/gtest.h>

#include <set>

#include "config/modCypher.h"
#include "fakes/FakeClock.h"
#include "platform/linux/text/IconvCodePages.h"

namespace torvik {
namespace {

class Cypher : public testing::Test {
 protected:
  std::string Scrambled(const std::string& text, int second) {
    clock_.now = std::chrono::system_clock::from_time_t(978949200 + second);
    return ScramblePassword(text, codePages_->Ansi(), clock_);
  }
  std::string Clear(const std::string& stored) {
    return UnscramblePassword(stored, codePages_->Ansi());
  }

  FakeClock clock_;
  std::unique_ptr<CodePages> codePages_ = NewIconvCodePages("windows-1252");
};

TEST(RuntimeGenerator, HasTheValuesThatItsMakerPublished) {
  RuntimeGenerator generator;
  for (const float value : {0.7055475f, 0.533424f, 0.5795186f}) {
    EXPECT_FLOAT_EQ(generator.Draw(), value);
  }
  EXPECT_FLOAT_EQ(generator.Reset(-1), 0.224007f);
  generator.Seed(1);
  EXPECT_FLOAT_EQ(generator.Draw(), 0.3335753f);
}

TEST_F(Cypher, ScramblesAsJobFilesHaveItAndUnscramblesWhateverIsStored) {
  const std::tuple<const char*, int, const char*> cases[] = {{"", 30, "6m"},
                                                             {"", 59, "8v"},
                                                             {"x", 30, "6ml"},
                                                             {",", 30, "6m "},
                                                             {"secret", 30, "6mgc+-UU"},
                                                             {"secret", 59, "8vgc+-UU"}};
  for (const auto& [text, second, stored] : cases) {
    EXPECT_EQ(Scrambled(text, second), stored) << text;
    EXPECT_EQ(Clear(stored), text) << stored;
  }
  EXPECT_EQ(Scrambled("s\u00e9cr\te t", 30), "6mga: oU");  // what is not printable is left out
  EXPECT_EQ(Clear("6mga: oU"), "scre t");
  EXPECT_EQ(Clear("6\u00e9m\tl"), "x");
  EXPECT_EQ(Clear("6").size(), 1u);  // too short for a salt: nothing is dropped
  EXPECT_EQ(Clear(""), "");
}

TEST_F(Cypher, EveryPrintableTextComesBackInEverySecond) {
  std::string all;
  for (char c = ' '; c <= '~'; ++c) all += c;
  std::set<std::string> stored;
  for (int second = 0; second < 60; ++second) {
    const std::string scrambled = Scrambled(all + all, second);
    stored.insert(scrambled);
    EXPECT_EQ(Clear(scrambled), all + all) << second;
    EXPECT_EQ(scrambled.find_first_not_of(all), std::string::npos) << scrambled;
  }
  EXPECT_EQ(stored.size(), 60u);
}

}  // namespace
}  // namespace torvik
