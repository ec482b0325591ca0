#include <gmock/gmock.h>

#include <atomic>
#include <string>
#include <thread>

#include "script/ScriptTools.h"

namespace torvik::script {
namespace {

std::string Repeated(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

constexpr Limits small = {.steps = 100'000, .memoryBytes = 1 << 20, .callDepth = 50};

/// The number of the error that ends the script.
std::string Ended(const std::string& statements) {
  const std::string result =
      Ran("Function Main()\nOn Error Resume Next\n" + statements + "\nEnd Function", small);
  return result.substr(0, result.find(' ', 2));
}

TEST(Limits, EndAScriptThatHandlesAllErrors) {
  const struct {
    const char* number;
    const char* statements;
  } cases[] = {
      {"! 18", "Do : Loop"},
      {"! 18", "While True : x = 1 / 0 : Wend"},
      {"! 18", "For i = 1 To 10 Step 0 : Next"},
      {"! 28", "Main"},
      {"! 28", "x = Main()"},
      {"! 7", "s = Space(2000000)"},
      {"! 7", "s = String(2000000000, \"\u20ac\")"},
      {"! 7", "s = \"x\" : Do : s = s & s : Loop"},
      {"! 7", "s = \"x\" : Do : s = s + s : Loop"},
      {"! 7", "s = Replace(Space(1000), \" \", Space(1000))"},
      {"! 7", "s = Join(Split(Space(1000)), Space(2000))"},
      {"! 7", "s = Split(Space(100000))"},
      {"! 7", "ReDim a(1000000)"},
      {"! 7", "ReDim a(2000000000, 2000000000)"},
      {"! 7", "Set d = CreateObject(\"Scripting.Dictionary\") : Do : n = n + 1 : d(n) = n : Loop"},
      {"! 7",
       "ReDim a(20000) : For i = 0 To 20000 : Set a(i) = CreateObject("
       "\"Scripting.Dictionary\") : Next"},
      {"! 7", "Do : a = Array(a, a, 1, 2, 3, 4) : Loop"},
      {"! 7",
       "Do : Set n = CreateObject(\"Scripting.Dictionary\") : Set n(1) = d : Set d = n : Loop"},
      {"! 7", "Do : Set n = CreateObject(\"Scripting.Dictionary\") : Set n(1) = n : Loop"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.number, Ended(c.statements)) << c.statements;
}

TEST(Limits, CountWhatIsHeldAndNotWhatWas) {
  EXPECT_EQ("Long 900000", Ran("Function Main()\nFor i = 1 To 1000\ns = Space(900000)\n"
                               "s = Empty\nNext\nMain = Len(Space(900000))\nEnd Function",
                               {.steps = 100'000'000, .memoryBytes = 1 << 20}));
}

TEST(Limits, HoldAgainAfterAnError) {
  FakeClock clock;
  Script script("Function Main(x)\nFor i = 1 To x\nNext\nMain = i\nEnd Function", {.clock = clock},
                small);
  const Value many = Value::OfLong(1'000'000), few = Value::OfLong(40'000);
  const int main = script.FindProcedure("Main");
  EXPECT_THROW(script.Call(main, {&many, 1}), ScriptError);
  for (int i = 0; i < 3; ++i) EXPECT_EQ("Long 40001", Shown(script.Call(main, {&few, 1})));
}

TEST(Limits, ACancelledScriptEnds) {
  struct TellingClock final : FakeClock {
    std::atomic<bool> isAsked = false;
    std::tm LocalTime() override {
      isAsked = true;
      return FakeClock::LocalTime();
    }
  } clock;
  Script script("Sub Main\nOn Error Resume Next\nDo : x = Now : Loop\nEnd Sub", {.clock = clock},
                {.steps = ~std::uint64_t{0}});
  std::thread other([&] {
    while (!clock.isAsked) std::this_thread::yield();
    script.Cancel();
  });
  try {
    script.Call(script.FindProcedure("Main"));
    ADD_FAILURE();
  } catch (const ScriptError& error) {
    EXPECT_THAT(error.Text(),
                testing::StartsWith("The script was cancelled (error 18) in line 3, "));
    EXPECT_THAT(error.Text(), testing::EndsWith(": Do : x = Now : Loop"));
  }
  other.join();
}

TEST(Limits, DeepSourcesAreRefused) {
  const struct {
    const char* number;
    std::string source;
  } cases[] = {
      {"! 1001", "x = " + Repeated("(", 100'000)},
      {"! 1001", "x = " + Repeated("not ", 100'000)},
      {"! 1001", "x = " + Repeated("-", 100'000) + "1"},
      {"! 1001", "x = 1" + Repeated(" + 1", 100'000)},
      {"! 1001", "x = 1" + Repeated(" ^ (1", 100'000)},
      {"! 1001", "x = a" + Repeated("(1)", 100'000)},
      {"! 1001", "x = a" + Repeated(".b", 100'000)},
      {"! 1001", Repeated("If 1 Then\n", 100'000)},
      {"! 1001", Repeated("If 1 Then ", 100'000)},
      {"! 1001", Repeated("Do\n", 100'000)},
      {"! 1001", "f " + Repeated("1,", 2'000) + "1"},
      {"! 1001", "x = 1" + std::string(2 << 20, ' ')},
  };
  for (const auto& c : cases)
    EXPECT_EQ(c.number, Ran(c.source).substr(0, 6)) << c.source.substr(0, 40);
}

TEST(Limits, LongTextsAreSearchedInLinearTime) {
  EXPECT_EQ("Long 0", Ran("Function Main()\ns = String(4000000, \"a\")\n"
                          "Main = InStr(s, String(2000000, \"a\") & \"b\") + "
                          "InStrRev(s, \"b\" & String(2000000, \"a\"))\nEnd Function"));
}

}  // namespace
}  // namespace torvik::script
