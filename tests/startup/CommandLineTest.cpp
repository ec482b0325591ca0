#include "startup/CommandLine.h"

#include <gmock/gmock.h>

namespace torvik {
namespace {

using ::testing::ElementsAreArray;

TEST(CommandLine, SplitsTheArgumentTextByItsOwnQuoteRules) {
  const struct {
    const char* text;
    std::vector<std::string> tokens;
  } cases[] = {
      {"", {}},
      {" \t ", {}},
      {"a  b\tc", {"a", "b", "c"}},
      {R"(-configfile "C:\My jobs\a.etl" -statusfile s.txt)",
       {"-configfile", R"(C:\My jobs\a.etl)", "-statusfile", "s.txt"}},
      {R"(ab"c d"e)", {"abc de"}},
      {R"(a "" b)", {"a", "b"}},
      {R"(a"" b)", {"a", "b"}},
      {R"(a "b c)", {"a", "b c"}},
      {"a \" \" b", {"a", " ", "b"}},
  };
  for (const auto& c : cases) EXPECT_THAT(Tokens(c.text), ElementsAreArray(c.tokens)) << c.text;
}

TEST(CommandLine, TheFiftyFirstTokenIsIgnoredAndSoIsAllAfterIt) {
  std::string text;
  for (int i = 1; i <= 51; ++i) text += "t" + std::to_string(i) + " ";
  EXPECT_EQ(Tokens(text).size(), 50u);
  EXPECT_EQ(Tokens(text).back(), "t50");
  EXPECT_THAT(Tokens("ab c", 1), ElementsAreArray({"ab"}));
}

TEST(CommandLine, ArgumentsThatThePlatformHasSplitAreJoinedSoThatTheyComeOutAgain) {
  const struct {
    std::vector<std::string> arguments;
    const char* text;
  } cases[] = {
      {{}, ""},
      {{"-configfile", "a.etl"}, "-configfile a.etl"},
      {{"-configfile", "my job.etl", ""}, R"(-configfile "my job.etl" "")"},
      {{"a\tb"}, "\"a\tb\""},
      // A hand-off line that a shell has split at its blanks.
      {{"-configfile", "\"my", "job.etl\"\r"}, R"(-configfile "my job.etl")"},
      {{"-statusfile", "s.txt\r\n"}, "-statusfile s.txt"},
  };
  for (const auto& c : cases) EXPECT_EQ(JoinArguments(c.arguments), c.text);
}

TEST(CommandLine, OptionsAreApplied) {
  const struct {
    const char* text;
    CommandLineSettings expected;
  } cases[] = {
      {"", {.StartInConfigMode = true}},
      {"job.etl", {}},
      {"-configfile a.etl -statusfile s -logfile l",
       {.ConfigFile = "a.etl", .StatusFile = "s", .LogFile = "l", .OptionSeen = true}},
      {"-CONFIGFILE a.etl", {.ConfigFile = "a.etl", .OptionSeen = true}},
      {"/configfile a.etl", {}},
      {"-config", {.StartInConfigMode = true, .StartInQXJobConfigMode = true, .OptionSeen = true}},
      {"-configfil a.etl --help", {}},
      {"-configfile", {.OptionSeen = true}},
      {"-configfile a -configfile b", {.ConfigFile = "b", .OptionSeen = true}},
      {"-config Q -configfile J",
       {.ConfigFile = "J",
        .QXJobConfigFile = "Q",
        .StartInConfigMode = true,
        .StartInQXJobConfigMode = true,
        .OptionSeen = true}},
      // A value is looked at again: one that begins with "-" is an option too.
      {"-configfile -logfile L", {.ConfigFile = "-logfile", .LogFile = "L", .OptionSeen = true}},
      {"-configfile J -?", {.ConfigFile = "J", .HelpRequested = true, .OptionSeen = true}},
      {"-statusfile -help", {.StatusFile = "-help", .HelpRequested = true, .OptionSeen = true}},
  };
  for (const auto& c : cases) {
    CommandLineSettings settings;
    SplitCommandLine(c.text, settings);
    const auto tie = [](const CommandLineSettings& s) {
      return std::tie(s.ConfigFile, s.QXJobConfigFile, s.StatusFile, s.LogFile, s.StartInConfigMode,
                      s.StartInQXJobConfigMode, s.HelpRequested, s.OptionSeen);
    };
    EXPECT_EQ(tie(settings), tie(c.expected)) << c.text;
  }
}

TEST(CommandLine, AnOptionsNameIsLowerCasedInPlace) {
  CommandLineSettings settings;
  std::string name = "StatusFile";
  ApplyOption(name, "S", settings);
  EXPECT_EQ(name, "statusfile");
  EXPECT_EQ(settings.StatusFile, "S");
}

}  // namespace
}  // namespace torvik
