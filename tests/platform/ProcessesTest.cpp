#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "fakes/TemporaryDirectory.h"
#include "platform/linux/CommandText.h"
#include "platform/linux/ConsoleMessages.h"
#include "platform/linux/LineSplitter.h"
#include "platform/linux/PosixProcesses.h"
#include "platform/linux/SystemClock.h"

namespace torvik {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class ProcessesTest : public testing::Test {
 protected:
  ProcessExit Run(const ProcessRequest& request) {
    lines_.clear();
    return processes_->Run(request, [this](std::string_view line) { lines_.emplace_back(line); });
  }
  ProcessExit Shell(const std::string& script) { return Run({"sh", {"-c", script}, ""}); }

  void WaitFor(ProcessHandle process) {
    while (processes_->IsRunning(process)) NewSystemClock()->Sleep(std::chrono::milliseconds(1));
  }

  TemporaryDirectory disk_;
  std::unique_ptr<Processes> processes_ = NewPosixProcesses(PathMap({{"c", disk_.Path()}}, {}, ""));
  std::vector<std::string> lines_;
};

TEST_F(ProcessesTest, RunHandsOutLinesAndTheExitCode) {
  const struct {
    const char* script;
    int exitCode;
    std::vector<std::string> lines;
  } cases[] = {
      {"", 0, {}},
      {"echo a; echo b >&2; printf 'c\\r\\n\\nd'; exit 3", 3, {"a", "b", "c", "", "d"}},
      {"kill -TERM $$", 128 + SIGTERM, {}},
      {"cat; echo end", 0, {"end"}},                           // standard input is empty
      {"kill -INT $$; echo survived", 128 + SIGINT, {}},       // though the caller ignores it
      {"ps -o pgid= -p $$ | tr -d ' ' | grep -qx $$", 0, {}},  // a group of its own
  };
  signal(SIGINT, SIG_IGN);
  for (const auto& c : cases) {
    const ProcessExit exit = Shell(c.script);
    EXPECT_TRUE(exit.started) << c.script;
    EXPECT_EQ(exit.exitCode, c.exitCode) << c.script;
    EXPECT_EQ(lines_, c.lines) << c.script;
  }
  signal(SIGINT, SIG_DFL);
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left over";
}

TEST_F(ProcessesTest, NothingInterpretsTheArguments) {
  Run({"printf", {"%s\\n", "a b", "$HOME; *", "", "\"q\""}, ""});
  EXPECT_THAT(lines_, ElementsAre("a b", "$HOME; *", "", "\"q\""));
}

TEST_F(ProcessesTest, PathsMayBeSpelledEitherWay) {
  disk_.Write("tools/hello", "#!/bin/sh\npwd\n");
  disk_.SetMode("tools/hello", 0755);
  const std::string tools = std::filesystem::canonical(disk_.PathOf("tools"));
  EXPECT_TRUE(Run({"C:\\tools\\hello", {}, "C:\\tools"}).started);
  EXPECT_THAT(lines_, ElementsAre(tools));
  const auto relative = std::filesystem::relative(disk_.PathOf("tools/hello"));
  EXPECT_TRUE(Run({relative, {}, tools}).started) << relative;
}

TEST_F(ProcessesTest, WhatCannotStartSaysWhy) {
  disk_.Write("no-program", "");
  const struct {
    ProcessRequest request;
    const char* error;
  } cases[] = {
      {{"no-such-program", {}, ""}, "no program of that name is in PATH"},
      {{"", {}, ""}, "no program of that name is in PATH"},
      {{"/no/such", {}, ""}, "No such file or directory"},
      {{"C:\\no-program", {}, ""}, "Permission denied"},
      {{"true", {}, "/no/such"}, "its working directory /no/such: No such file or directory"},
      {{"true", {}, "X:\\a"}, "its working directory X:\\a: no directory is mapped"},
  };
  for (const auto& c : cases) {
    const ProcessExit exit = Run(c.request);
    EXPECT_FALSE(exit.started) << c.request.program;
    EXPECT_THAT(exit.error, HasSubstr(c.error)) << c.request.program;
  }
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left over";
}

TEST_F(ProcessesTest, RunEndsWithItsProgramAndNotWithWhatThatLeavesBehind) {
  // The one left behind holds the output open until the named pipe is written to.
  ASSERT_EQ(mkfifo(disk_.PathOf("gate").c_str(), 0600), 0);
  EXPECT_EQ(Shell("cat " + disk_.PathOf("gate") + " & echo started").exitCode, 0);
  EXPECT_THAT(lines_, ElementsAre("started"));
  disk_.Write("gate", "");
}

TEST_F(ProcessesTest, AnExceptionOfTheListenerKillsTheProgram) {
  EXPECT_THROW(processes_->Run({"sh", {"-c", "echo line; exec cat /dev/zero >/dev/null"}, ""},
                               [](std::string_view) { throw std::runtime_error("enough"); }),
               std::runtime_error);
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left over";
}

TEST_F(ProcessesTest, AProgramDiesWithItsCaller) {
  const std::string gate = disk_.PathOf("gate");
  ASSERT_EQ(mkfifo(gate.c_str(), 0600), 0);
  const pid_t caller = fork();
  if (caller == 0) {
    Shell("exec 3>" + gate + "; echo ready >&3; exec sleep 1000");
    _exit(0);
  }
  std::ifstream stream(gate);
  std::string word;
  stream >> word;
  EXPECT_EQ(word, "ready");
  kill(caller, SIGKILL);
  EXPECT_FALSE(stream >> word) << "the end comes when nobody holds it open any more";
  waitpid(caller, nullptr, 0);
}

TEST_F(ProcessesTest, CreatedProcessesAreWaitedForByTheirHandle) {
  const std::string done = disk_.PathOf("my file");
  const ProcessHandle process = processes_->CreateProcessA("touch \"" + done + "\"");
  ASSERT_NE(process, 0);
  WaitFor(process);
  EXPECT_TRUE(std::filesystem::exists(done));
  EXPECT_FALSE(processes_->IsRunning(process));
  processes_->CloseHandle(process);
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left over";
  for (const char* line : {"", " ", "\"\"", "no-such-program x", "/no/such"}) {
    EXPECT_EQ(processes_->CreateProcessA(line), 0) << line;
  }
}

TEST(CommandText, IsSplitAtBlanksOutsideOfQuotes) {
  const struct {
    const char* text;
    std::vector<std::string> words;
  } cases[] = {
      {" a\tb  c ", {"a", "b", "c"}}, {"a \"b c\" d", {"a", "b c", "d"}}, {"a\"b c\"d", {"ab cd"}},
      {"a \"\" b", {"a", "", "b"}},   {"a \"b c", {"a", "b c"}},          {"", {}},
  };
  for (const auto& c : cases) EXPECT_EQ(SplitCommandText(c.text), c.words) << c.text;
}

TEST(LineSplitter, GivesTheSameLinesHoweverTheyArrive) {
  const std::string wide(8191, 'w');
  const std::string text = "a\r\n\nb\n" + wide + "\u00e9\n" + wide + wide + wide + "\nend";
  std::vector<std::string> expected = {"a", "", "b", wide, "\u00e9"};
  const std::string three = wide + wide + wide;
  for (std::size_t at = 0; at < three.size(); at += 8192)
    expected.push_back(three.substr(at, 8192));
  expected.push_back("end");
  for (const std::size_t piece : {1, 7, 8192, 100000}) {
    std::vector<std::string> lines;
    const std::function<void(std::string_view)> keep = [&](std::string_view line) {
      lines.emplace_back(line);
    };
    LineSplitter splitter(keep);
    for (std::size_t at = 0; at < text.size(); at += piece) splitter.Add(text.substr(at, piece));
    splitter.Finish();
    EXPECT_TRUE(lines == expected) << "pieces of " << piece;
  }
}

TEST(ConsoleMessages, ASignalIsACloseAtTheNextPump) {
  int closes = 0;
  const auto messages = NewConsoleMessages([&] { ++closes; });
  InstallCloseSignals();
  raise(SIGTERM);
  raise(SIGINT);
  EXPECT_EQ(closes, 0);
  messages->PumpEvents();
  EXPECT_EQ(closes, 2);
  messages->PumpEvents();
  EXPECT_EQ(closes, 2);
  signal(SIGTERM, SIG_DFL);
  signal(SIGINT, SIG_DFL);
}

TEST(ConsoleMessages, ABoxIsOneLineOnStandardError) {
  const auto messages = NewConsoleMessages([] {});
  testing::internal::CaptureStderr();
  messages->Box("one\r\ntwo\nthree\r", "Title", BoxIcon::Critical);
  messages->Report("\nreport");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "torvik: Title: one two three \ntorvik:  report\n");
}

}  // namespace
}  // namespace torvik
