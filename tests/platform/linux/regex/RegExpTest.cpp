#include <gmock/gmock.h>

#include "fakes/FakeClock.h"
#include "platform/linux/regex/PcreExpressions.h"
#include "script/ScriptTools.h"

namespace torvik::script {
namespace {

/// What Main returns of a script that has `re`, a new expression.
std::string WithExpression(const std::string& pattern, const std::string& statements) {
  FakeClock clock;
  const auto expressions = NewPcreExpressions();
  return Ran("Function Main()\nSet re = New RegExp\nre.Pattern = \"" + pattern + "\"\n" +
                 statements + "\nEnd Function",
             {.clock = clock, .expressions = expressions.get()});
}

struct RegExpCase {
  const char* pattern;
  const char* statements;
  const char* outcome;
};

void CheckAll(std::span<const RegExpCase> cases) {
  for (const RegExpCase& c : cases)
    EXPECT_EQ(c.outcome, WithExpression(c.pattern, c.statements)) << c.pattern << c.statements;
}

TEST(RegExp, PatternsMeanWhatTheLanguageSays) {
  static constexpr RegExpCase kCases[] = {
      {"^\\d{4}-\\d\\d$", "Main = re.Test(\"2026-11\")", "Boolean True"},
      {"^a.c$", "Main = re.Test(\"a\" & vbLf & \"c\")", "Boolean False"},
      {"^a.c$", "Main = re.Test(\"a\" & vbCr & \"c\")", "Boolean True"},
      {"b$", "Main = re.Test(\"ab\" & vbLf)", "Boolean False"},
      {"^b", "re.MultiLine = True\nMain = re.Test(\"a\" & vbLf & \"b\")", "Boolean True"},
      {"grün", "re.IgnoreCase = True\nMain = re.Test(\"GRÜN\")", "Boolean True"},
      {"grün", "Main = re.Test(\"GRÜN\")", "Boolean False"},
      {"\\u00fc\\x2e", "Main = re.Test(\"ü.\")", "Boolean True"},
      {"(a)|b\\1c", "Main = re.Test(\"bc\")", "Boolean True"},
      {"[^]x", "Main = re.Test(vbLf & \"x\")", "Boolean True"},
      {"", "Main = re.Test(\"\")", "Boolean True"},
      {"a",
       "re.IgnoreCase = True\nx = re.Test(\"A\")\nre.IgnoreCase = False\nMain = re.Test(\"A\")",
       "Boolean False"},
  };
  CheckAll(kCases);
}

TEST(RegExp, MatchesHaveTheirPlacesInCharacters) {
  static constexpr RegExpCase kCases[] = {
      {"(\\w)(\\d)?", "Set m = re.Execute(\"äö a1 b2\")\nMain = m.Count & m(0).FirstIndex & m(0)",
       "String 13a1"},
      {"(\\w)(\\d)?",
       "re.Global = True\nFor Each m In re.Execute(\"a1 b\")\nMain = Main & m.Value & m.Length & "
       "m.SubMatches(0) & \"<\" & m.SubMatches(1) & \">\"\nNext",
       "String a12a<1>b1b<>"},
      {"x*", "re.Global = True\nMain = re.Execute(\"äxö\").Count", "Long 4"},
      {"q", "Main = re.Execute(\"abc\").Count", "Long 0"},
      {"q", "Set m = re.Execute(\"abc\")(0)", "! 5 Invalid procedure call or argument in line 4"},
      {"(a)", "Main = re.Execute(\"a\")(0).SubMatches.Count", "Long 1"},
  };
  CheckAll(kCases);
}

TEST(RegExp, ReplacementsNameGroups) {
  static constexpr RegExpCase kCases[] = {
      {"(\\d+)/(\\d+)", "Main = re.Replace(\"1/2 3/4\", \"$2-$1\")", "String 2-1 3/4"},
      {"(\\d+)/(\\d+)", "re.Global = True\nMain = re.Replace(\"1/2 3/4\", \"$2-$1\")",
       "String 2-1 4-3"},
      {"b", "Main = re.Replace(\"abc\", \"[$`|$&|$'|$$|$1|$]\")", "String a[a|b|c|$|$1|$]c"},
      {"(a)", "Main = re.Replace(\"a\", \"$10\")", "String a0"},
      {"", "re.Global = True\nMain = re.Replace(\"äb\", \"-\")", "String -ä-b-"},
      {"\\s+$", "Main = re.Replace(\"x  \", \"\")", "String x"},
  };
  CheckAll(kCases);
}

TEST(RegExp, WrongPatternsAndEndlessSearchesAreErrors) {
  EXPECT_EQ(
      "! 5017 Syntax error in regular expression at byte 2 of its pattern: missing closing "
      "parenthesis in line 4",
      WithExpression("(a", "Main = re.Test(\"a\")"));
  EXPECT_THAT(WithExpression("^(a+)+$", "Main = re.Test(String(40, \"a\") & \"!\")"),
              testing::StartsWith("! 5016 the search takes too much (match limit exceeded)"));
  EXPECT_EQ("Long 5017", WithExpression("*",
                                        "On Error Resume Next\nx = re.Test(\"a\")\nMain = "
                                        "Err.Number"));
}

TEST(RegExp, IsMadeByItsClassNameToo) {
  EXPECT_EQ("String RegExp",
            WithExpression("", "Main = TypeName(CreateObject(\"vbscript.regexp\"))"));
  EXPECT_THAT(WithExpression("", "Set x = New Widget"), testing::StartsWith("! 1010 "));
  EXPECT_EQ("! 429 ActiveX component can't create object: 'VBScript.RegExp' in line 2",
            Ran("Function Main()\nSet re = New RegExp\nEnd Function"));
}

TEST(RegExp, ALongTextIsReplacedInTimeThatGrowsWithIt) {
  EXPECT_EQ("Long 1600000",
            WithExpression("a",
                           "re.Global = True\nMain = Len(re.Replace(String(800000, \"a\"), "
                           "\"bb\"))"));
}

}  // namespace
}  // namespace torvik::script
