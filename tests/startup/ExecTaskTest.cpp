#include "startup/ExecTask.h"

#include <gmock/gmock.h>

#include "fakes/FakeClock.h"
#include "fakes/FakeFiles.h"
#include "fakes/FakeLogForm.h"
#include "fakes/FakeMessages.h"
#include "fakes/FakeProcesses.h"

namespace torvik {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

struct RunLogTest : ::testing::Test {
  FakeFiles files;
  FakeMessages messages;
  FakeLogForm form;
  RunLog log{files, messages};
  RunLogTest() { log.SetForm(form); }
};

TEST_F(RunLogTest, EachTextIsOneLineAndData) {
  for (const char* text :
       {"plain", "100 % \"quoted\" > other.txt & rm -rf $HOME | `ls`", "", "two\r\nlines"}) {
    log.EchoToLog(text);
  }
  EXPECT_EQ(files.Text("err.txt"),
            "plain\r\n100 % \"quoted\" > other.txt & rm -rf $HOME | `ls`\r\n\r\ntwo  lines\r\n");
  EXPECT_THAT(form.statuses, ElementsAre("plain", HasSubstr("100 %"), "", "two  lines"));
  EXPECT_TRUE(files.Exists("err.txt"));
  EXPECT_EQ(files.calls.size(), 4u);  // one write a line
}

TEST_F(RunLogTest, WithoutAnErrorFileOnlyTheStatusBarShowsTheLine) {
  form.file = "";
  log.EchoToLog("hello");
  EXPECT_TRUE(files.calls.empty());
  EXPECT_THAT(form.statuses, ElementsAre("hello"));
}

TEST_F(RunLogTest, ALogThatCannotBeWrittenIsReportedOnce) {
  files.Fail("err.txt", std::errc::no_space_on_device);
  log.EchoToLog("one");
  log.EchoToLog("two");
  EXPECT_THAT(messages.reports, ElementsAre(HasSubstr("err.txt: No space left")));
  EXPECT_THAT(form.statuses, ElementsAre("one", "two"));
}

TEST(ExecTask, WaitsInSlicesForTheCommandLineThatItBuilds) {
  const struct {
    const char* program;
    const char* arguments;
    const char* commandLine;
  } cases[] = {
      {"P", "", "P"},
      {"P", "   ", "P"},
      {"P", " /x y ", "P \" /x y \""},
      {"C:\\my programs\\p.exe", "a \"b\" c", "C:\\my programs\\p.exe \"a \"b\" c\""},
  };
  for (const auto& c : cases) {
    FakeProcesses processes;
    processes.polls = 3;
    FakeClock clock;
    FakeMessages messages;
    int pumps = 0;
    messages.onPump = [&] { ++pumps; };
    ExecTask(processes, clock, messages).RunAndWait(c.program, c.arguments);
    EXPECT_THAT(processes.commandLines, ElementsAre(c.commandLine)) << c.arguments;
    EXPECT_EQ(clock.steady.time_since_epoch(), std::chrono::milliseconds(300));
    EXPECT_EQ(pumps, 3);
    EXPECT_EQ(processes.polls, -1);  // the handle was released
  }
}

}  // namespace
}  // namespace torvik
