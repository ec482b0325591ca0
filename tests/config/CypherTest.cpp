#include <gtest/gtest.h>

#include <set>

#include "config/modCypher.h"
#include "fakes/FakeClock.h"
#include "platform/linux/IconvCodePages.h"

namespace torvik {
namespace {

constexpr const char* kKey = "KettleIsWarmed";

class Cypher : public testing::Test {
 protected:
  std::string Scrambled(const std::string& text, int second) {
    clock_.now = std::chrono::system_clock::from_time_t(978949200 + second);
    return ScramblePassword(text, Ansi(), clock_);
  }
  std::string Clear(const std::string& stored) { return UnscramblePassword(stored, Ansi()); }
  const CodePage& Ansi() { return codePages_->Ansi(); }

  FakeClock clock_;
  std::unique_ptr<CodePages> codePages_ = NewIconvCodePages("windows-1252");
};

TEST(RuntimeGenerator, GivesThePublishedValues) {
  RuntimeGenerator generator;
  for (const float value : {0.7055475f, 0.533424f, 0.5795186f}) {
    EXPECT_NEAR(generator.Draw(), value, 5e-8);
  }
  EXPECT_NEAR(generator.Reset(-1), 0.224007f, 5e-7);
  generator.Seed(1);
  EXPECT_NEAR(generator.Draw(), 0.3335753f, 5e-8);
}

TEST(KeySeed, EveryCharacterButTheFirstCounts) {
  EXPECT_EQ(KeySeed(kKey), 522418398);
  EXPECT_EQ(KeySeed("abc"), 1356312);
  EXPECT_EQ(KeySeed("xbc"), 1356312);
  EXPECT_EQ(KeySeed("abd"), 1405472);
  EXPECT_EQ(KeySeed("a"), 0);
}

TEST_F(Cypher, ScramblesAsJobFilesHaveIt) {
  const struct {
    const char* text;
    int second;
    const char* stored;
    const char* clear;
  } cases[] = {
      {"", 30, "6m", ""},
      {"", 59, "8v", ""},
      {"x", 30, "6ml", "x"},
      {",", 30, "6m ", ","},
      {"secret", 30, "6mgc+-UU", "secret"},
      {"secret", 59, "8vgc+-UU", "secret"},
      {"s\u00e9cr\te t", 30, "6mga: oU", "scre t"},  // what is not printable is left out
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Scrambled(c.text, c.second), c.stored) << c.text;
    EXPECT_EQ(Clear(c.stored), c.clear) << c.stored;
  }
}

TEST_F(Cypher, UnscramblesWhateverIsStored) {
  EXPECT_EQ(Clear(""), "");
  EXPECT_EQ(Clear("6").size(), 1u);  // too short for a salt: nothing is dropped
  EXPECT_EQ(Clear("6m"), "");
  EXPECT_EQ(Clear("6\u00e9m\tl"), "x");
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
