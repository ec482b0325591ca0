#include <gmock/gmock.h>

#include "engine/EngineFixture.h"
#include "engine/tasks/FileNames.h"
#include "engine/tasks/FileWait.h"
#include "fakes/FakeFiles.h"

namespace torvik::engine {
namespace {

using testing::HasSubstr;

TEST(FileNames, MatchPatternsAndAreMadeByTemplates) {
  const std::tuple<const char*, const char*, bool> patterns[] = {
      {"*.csv", "a.csv", true},    {"*.csv", ".csv", false},  {"*.csv", "a.csv.part", false},
      {"*", ".torvik-1-2", false}, {".*", ".torvik-1", true}, {"a?c", "a\u00e9c", true},
      {"a?c", "ac", false},        {"*a*ab", "aaab", true},   {"*a*ab", "aab ", false},
      {"**", "x", true},           {"A*", "abc", false},      {"a*b*c*d", "a1b2c3", false},
      {"*.c?v", "a.b.csv", true}};
  for (const auto& [pattern, name, matches] : patterns)
    EXPECT_EQ(Matches(pattern, name), matches) << pattern << " " << name;
  const std::tuple<const char*, const char*, const char*> templates[] = {
      {"{stem}-{date:%Y%m%d}{extension}", "a.tar.gz", "a.tar-20010108.gz"},
      {"{stem}{extension}", ".profile", ".profile"},
      {"x", "a.b", "x"},
      {"{name}", "a.b", "none"},
      {"{stem", "a.b", "none"},
      {"{date:}", "a.b", "none"}};
  for (const auto& [text, name, made] : templates)
    EXPECT_EQ(NameByTemplate(text, name, FakeClock().LocalTime()).value_or("none"), made) << text;
}

class FileTaskTest : public EngineTest {
 protected:
  /// The files of the directories in/ and out/, with their texts.
  std::string Left() const {
    std::string left;
    for (const std::string directory : {"in", "out"}) {
      std::set<std::string> names;
      for (const auto& entry : std::filesystem::directory_iterator(disk_.PathOf(directory)))
        names.insert(directory + "/" + entry.path().filename().string());
      for (const std::string& name : names) left += name + "=" + disk_.Read(name) + " ";
    }
    return left;
  }
};

TEST_F(FileTaskTest, BringsAndRemovesFiles) {
  const std::string all = "in/a.csv=A in/b.csv=B in/c.txt=C out/a.csv=old ";
  const struct {
    std::string keys;   // %I and %O stand for the directories
    const char* error;  // empty: none
    std::string left;
  } cases[] = {
      {"action='copy'\npath='%Ib.csv'\nto='%O'", "",
       "in/a.csv=A in/b.csv=B in/c.txt=C out/a.csv=old out/b.csv=B "},
      {"action='copy'\npath='%Ib.csv'\nto='%Onew'", "",
       "in/a.csv=A in/b.csv=B in/c.txt=C out/a.csv=old out/new=B "},
      {"action='move'\npath='%I*.csv'\nto='%O'\noverwrite=true", "",
       "in/c.txt=C out/a.csv=A out/b.csv=B "},
      {"action='move'\npath='%I*.csv'\nto='%O'", "that file exists; write overwrite = true", all},
      {"action='move'\npath='%I*.csv'\nto='%Onew'", "several files cannot become one", all},
      {"action='move'\npath='%Ia.csv'\nto='%Ono/'", "the directory must be there", all},
      {"action='move'\npath='%Ia.csv'\nto='%O.'\noverwrite=true", "end \"to\" with a sep", all},
      {"action='archive'\npath='%Ia.csv'\nto='${ExceptionFilePath}out'", "",
       "in/b.csv=B in/c.txt=C out/a-20010108-102030.csv=A out/a.csv=old "},
      {"action='archive'\npath='%Ia.csv'\nto='%O'\nkeep=true\nnew_name='${Text}{extension}'", "",
       "in/a.csv=A in/b.csv=B in/c.txt=C out/a.csv=old out/text.csv=A "},
      {"action='archive'\npath='%I*.csv'\nto='%O'\nnew_name='{date:%Y}'", "would be called this",
       all},
      {"action='archive'\npath='%Ia.csv'\nto='%O'\nnew_name='{date:%D}'", "no name of a file", all},
      {"action='remove'\npath='%I?.csv'", "", "in/c.txt=C out/a.csv=old "},
      {"action='remove'\npath='%Inone'", "there is no such file; write missing", all},
      {"action='remove'\npath='%I*.none'", "no file is called like this", all},
      {"action='remove'\npath='%I*.none'\nmissing='ignore'", "", all},
      {"action='copy'\npath='%Inone'\nto='%O'\nmissing='ignore'", "", all},
      {"action='remove'\npath='%I'", "this is a directory; name a file", all},
      {"action='remove'\npath='${ExceptionFilePath}in'", "s a directory", all},
      {"action='wait'\npath='%I*.csv'\nnot_empty=true\nsettled_seconds=3\ntimeout_seconds=9", "",
       all},
      {"action='wait'\npath='%Inone'\ntimeout_seconds=3", "no such file yet after 3 sec", all},
  };
  for (auto c : cases) {
    for (const auto& [name, text] : std::map<std::string, std::string>{
             {"in/a.csv", "A"}, {"in/b.csv", "B"}, {"in/c.txt", "C"}, {"out/a.csv", "old"}})
      disk_.Write(name, text);
    for (const std::string directory : {"in", "out"})
      for (std::size_t at; (at = c.keys.find(directory == "in" ? "%I" : "%O")) != c.keys.npos;)
        c.keys.replace(at, 2, disk_.PathOf(directory + "/"));
    const RunResult result = Run("P", Head("P") + Step("s", "File", c.keys));
    EXPECT_EQ(result.ends, *c.error ? "F" : "S") << c.keys << result.events.errors;
    EXPECT_THAT(result.events.errors, HasSubstr(c.error)) << c.keys;
    EXPECT_EQ(Left(), c.left) << c.keys;
    std::filesystem::remove_all(disk_.PathOf("in"));
    std::filesystem::remove_all(disk_.PathOf("out"));
  }
}

/// What others do while a wait sleeps, by the second.
struct ScriptedClock final : Clock {
  std::chrono::system_clock::time_point Now() override { return {}; }
  std::tm LocalTime() override { return {}; }
  std::chrono::steady_clock::time_point Steady() override { return clock.steady; }
  void Sleep(std::chrono::milliseconds duration) override {
    clock.Sleep(duration);
    longest = std::max(longest, duration);
    const auto action = actions.begin();
    if (action == actions.end() || clock.steady.time_since_epoch() < action->first) return;
    action->second();
    actions.erase(action);
  }
  FakeClock clock;
  std::map<std::chrono::seconds, std::function<void()>> actions;
  std::chrono::milliseconds longest{0};
};

TEST(FileWait, EndsWhenTheFileIsThereAndStaysAsItIs) {
  using std::chrono::seconds;
  FakeFiles files;
  ScriptedClock clock;
  std::atomic<bool> cancelled = false;
  files.MakeDirectory("C:\\in");
  const auto append = [&](const char* text) {
    return [&files, text] { files.AppendText("C:\\in\\a.csv", text); };
  };
  clock.actions = {
      {seconds(2), append("")}, {seconds(10), append("x")}, {seconds(14), append("y")}};
  WaitForFile(files, clock, {"C:\\in\\*.csv", seconds(5), seconds(60), true}, cancelled);
  const auto took = clock.Steady().time_since_epoch();
  EXPECT_GE(took, seconds(19));
  EXPECT_LE(took, seconds(21));
  EXPECT_LE(clock.longest, std::chrono::milliseconds(200)) << "so long a cancel would wait";

  clock.actions = {{seconds(100), [&] { cancelled = true; }}};
  const auto wait = [&] {
    WaitForFile(files, clock, {"C:\\in\\none", seconds(0), seconds(1000), false}, cancelled);
  };
  EXPECT_THAT(ErrorOf(wait), HasSubstr("C:\\in\\none: the wait was cancelled: there is no such"));
  EXPECT_LE(clock.Steady().time_since_epoch(), std::chrono::milliseconds(100200));
  files.Fail("C:\\in\\none");
  EXPECT_THAT(ErrorOf(wait), HasSubstr("ermission denied"));
}

}  // namespace
}  // namespace torvik::engine
