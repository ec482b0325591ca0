#include "log/RunLog.h"

#include <gmock/gmock.h>

#include "fakes/FakeFiles.h"
#include "fakes/FakeLogForm.h"
#include "fakes/FakeMessages.h"

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

}  // namespace
}  // namespace torvik
