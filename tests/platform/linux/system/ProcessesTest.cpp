#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "fakes/TemporaryDirectory.h"
#include "platform/CommandText.h"
#include "platform/linux/system/ConsoleMessages.h"
#include "platform/linux/system/PosixProcesses.h"
#include "platform/linux/system/SystemClock.h"
#include "platform/linux/text/LineSplitter.h"

namespace torvik {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using Lines = std::vector<std::string>;

class ProcessesTest : public testing::Test {
 protected:
  ~ProcessesTest() override {
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left over";
  }

  ProcessExit Run(const ProcessRequest& request) {
    lines_.clear();
    return processes_->Run(request, [this](std::string_view line) { lines_.emplace_back(line); });
  }
  ProcessExit Shell(const std::string& script) { return Run({"sh", {"-c", script}, ""}); }

  TemporaryDirectory disk_;
  std::unique_ptr<Processes> processes_ = NewPosixProcesses(PathMap({{"c", disk_.Path()}}, {}, ""));
  Lines lines_;
};

TEST_F(ProcessesTest, AProgramOfTheOtherPlatformIsReplaced) {
  const auto processes =
      NewPosixProcesses(PathMap({{"c", disk_.Path()}}, {}, ""), {{"notepad.exe", "touch -a"}});
  const ProcessHandle process = processes->CreateProcessA("NOTEPAD.EXE \"C:\\a file\"");
  ASSERT_NE(0, process);
  waitpid(static_cast<pid_t>(process), nullptr, 0);
  EXPECT_EQ(0, access(disk_.PathOf("a file").c_str(), F_OK));
}

TEST_F(ProcessesTest, RunHandsOutLinesAndTheExitCode) {
  const std::tuple<const char*, int, Lines> cases[] = {
      {"", 0, {}},
      {"echo a; echo b >&2; printf 'c\\r\\n\\nd'; exit 3", 3, {"a", "b", "c", "", "d"}},
      {"kill -TERM $$", 128 + SIGTERM, {}},
      {"cat; echo end", 0, {"end"}},                           // standard input is empty
      {"kill -INT $$; echo survived", 128 + SIGINT, {}},       // though the caller ignores it
      {"ps -o pgid= -p $$ | tr -d ' ' | grep -qx $$", 0, {}},  // a group of its own
  };
  signal(SIGINT, SIG_IGN);
  for (const auto& [script, exitCode, lines] : cases) {
    EXPECT_EQ(Shell(script).exitCode, exitCode) << script;
    EXPECT_EQ(lines_, lines) << script;
  }
  signal(SIGINT, SIG_DFL);
}

TEST_F(ProcessesTest, RunHandsInputIn) {
  ProcessRequest request{"sh", {"-c", "sleep 0.05; wc -c"}, ""};
  request.input.assign(300000, 'x');  // more than a pipe takes
  EXPECT_EQ(Run(request).exitCode, 0);
  EXPECT_EQ(lines_, Lines{"300000"});
  request.arguments[1] = "exec <&-";
  EXPECT_EQ(Run(request).exitCode, 0) << "nobody has to read it";
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
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"no-such-program", "", "no program of that name is in PATH"},
      {"", "", "no program of that name is in PATH"},
      {"/no/such", "", "No such file or directory"},
      {"C:\\no-program", "", "Permission denied"},
      {"true", "/no/such", "its working directory /no/such: No such file or directory"},
      {"true", "X:\\a", "its working directory X:\\a: no directory is mapped"}};
  for (const auto& [program, directory, error] : cases) {
    const ProcessExit exit = Run({program, {}, directory});
    EXPECT_FALSE(exit.started) << program;
    EXPECT_THAT(exit.error, HasSubstr(error)) << program;
  }
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
}

TEST_F(ProcessesTest, ACancelledProgramEndsWithAllThatItHasStarted) {
  const std::tuple<const char*, int, Lines> cases[] = {
      {"trap 'echo bye; exit 7' TERM; ", 7, {"bye"}},
      {"", 128 + SIGTERM, {}},
      {"trap '' TERM; ", 128 + SIGKILL, {}},
      {"exec >/dev/null 2>&1; ", 128 + SIGTERM, {}},  // its output ends before it does
  };
  const auto processes = NewPosixProcesses({}, {}, std::chrono::milliseconds(300));
  for (const auto& [trap, exitCode, lines] : cases) {
    const std::string gate = disk_.PathOf("gate");
    ASSERT_EQ(mkfifo(gate.c_str(), 0600), 0);
    std::atomic<bool> cancelled = false;
    std::thread canceller([&] {
      std::ifstream stream(gate);
      std::string word;
      stream >> word;
      cancelled = true;
      EXPECT_FALSE(stream >> word) << "the end comes when nobody holds it open any more";
    });
    const std::string script =
        trap + std::string("exec 3>") + gate +
        "; sleep 1000 & echo ready >&3; while true; do wait; sleep 1000; done";
    Lines heard;
    const ProcessExit exit =
        processes->Run({.program = "sh", .arguments = {"-c", script}, .cancelled = &cancelled},
                       [&](std::string_view line) { heard.emplace_back(line); });
    canceller.join();
    EXPECT_TRUE(exit.cancelled) << trap;
    EXPECT_EQ(exit.exitCode, exitCode) << trap;
    EXPECT_EQ(heard, lines) << trap;
    std::filesystem::remove(gate);
  }
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
  while (processes_->IsRunning(process)) NewSystemClock()->Sleep(std::chrono::milliseconds(1));
  EXPECT_TRUE(std::filesystem::exists(done));
  EXPECT_FALSE(processes_->IsRunning(process));
  processes_->CloseHandle(process);
  for (const char* line : {"", " ", "\"\"", "no-such-program x", "/no/such"})
    EXPECT_EQ(processes_->CreateProcessA(line), 0) << line;
}

TEST(CommandText, IsSplitAtBlanksOutsideOfQuotes) {
  const std::pair<const char*, Lines> cases[] = {
      {" a\tb  c ", {"a", "b", "c"}}, {"a \"b c\" d", {"a", "b c", "d"}}, {"a\"b c\"d", {"ab cd"}},
      {"a \"\" b", {"a", "", "b"}},   {"a \"b c", {"a", "b c"}},          {"", {}}};
  for (const auto& [text, words] : cases) EXPECT_EQ(SplitCommandText(text), words) << text;
}

TEST(LineSplitter, GivesTheSameLinesHoweverTheyArrive) {
  const std::string wide(8191, 'w'), three = wide + wide + wide;
  const std::string text = "a\r\n\nb\n" + wide + "\u00e9\n" + three + "\nend";
  const Lines expected = {
      "a", "", "b", wide, "\u00e9", wide + "w", wide + "w", three.substr(16384), "end"};
  for (const std::size_t piece : {1, 7, 8192, 100000}) {
    Lines lines;
    const std::function<void(std::string_view)> keep = [&](auto line) { lines.emplace_back(line); };
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
  for (int pump = 0; pump < 2; ++pump) {
    messages->PumpEvents();
    EXPECT_EQ(closes, 2);
  }
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
