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
  files.failing.clear();
  log.EchoToLog("three");
  EXPECT_EQ(files.Text("err.txt"),
            "\r\nError: 2 lines of this log could not be written\r\nthree\r\n");
  EXPECT_THAT(log.Losses(), ElementsAre(HasSubstr("err.txt: No space left")));
}

TEST_F(RunLogTest, WhatElseIsMissingIsToldOnceAndForgottenWithTheRun) {
  log.Missing("gone");
  log.Missing("gone");
  EXPECT_THAT(messages.reports, ElementsAre("gone"));
  EXPECT_EQ(files.Text("err.txt"), "Error: the log is incomplete: gone\r\n");
  log.BeginRun();
  EXPECT_TRUE(log.Losses().empty());
  log.ShowOnly(true);
  log.EchoToLog("not in another run's log");
  EXPECT_THAT(files.Text("err.txt"), testing::Not(HasSubstr("another")));
  EXPECT_EQ(form.statuses.back(), "not in another run's log");
}

}  // namespace
}  // namespace torvik
