#include "startup/ExecTask.h"

#include <gmock/gmock.h>

#include "fakes/FakeClock.h"
#include "fakes/FakeMessages.h"
#include "fakes/FakeProcesses.h"

namespace torvik {
namespace {

using ::testing::ElementsAre;

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
