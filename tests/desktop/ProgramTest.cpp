// The built program on a display.

#include <gmock/gmock.h>
#include <signal.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "scenarios/Sandbox.h"

namespace torvik {
namespace {

using testing::HasSubstr;

class ProgramOnADisplay : public testing::Test {
 protected:
  ProgramOnADisplay() {
    for (const char* name : {"DISPLAY", "HOME", "XDG_RUNTIME_DIR"})
      sandbox_.SetVariable(name, std::getenv(name));
    sandbox_.PutPackage("Sales_Init", "");
    sandbox_.WriteJob("job.etl", "Sales_Init");
  }

  /// Waits until the program has begun to take SIGTERM for the Close button.
  static bool KeepsSignals(pid_t process) {
    const std::string path = "/proc/" + std::to_string(process) + "/status";
    for (int tries = 0; tries < 1000; ++tries) {
      std::ifstream status(path);
      for (std::string line; std::getline(status, line);)
        if (line.starts_with("SigCgt:") &&
            (std::stoull(line.substr(8), nullptr, 16) >> (SIGTERM - 1) & 1) != 0)
          return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
  }

  Sandbox sandbox_;
};

TEST_F(ProgramOnADisplay, AnUnattendedRunShowsItsFormAndCloses) {
  const ProgramResult run =
      sandbox_.Run({"torvik", "-configfile", "job.etl", "-statusfile", "s.txt"});
  EXPECT_EQ(0, run.exitCode);
  EXPECT_EQ("ok\r\n", sandbox_.ReadFile("s.txt")) << run.err;
}

TEST_F(ProgramOnADisplay, TheFormStaysOpenUntilItIsClosed) {
  const RunningProgram program = sandbox_.Start({"torvik", "-config", "hand.txt"});
  ASSERT_TRUE(KeepsSignals(program.pid));
  EXPECT_EQ("", sandbox_.ReadFile("hand.txt"));
  kill(program.pid, SIGTERM);  // is the Close button
  const ProgramResult ended = sandbox_.Wait(program);
  EXPECT_EQ(0, ended.exitCode) << ended.err;
  EXPECT_EQ("canceled\r\n", sandbox_.ReadFile("hand.txt"));
}

TEST_F(ProgramOnADisplay, ABoxDoesNotKeepAProgramThatIsToEnd) {
  std::ofstream(sandbox_.PathOf("noise.etl")) << "no job";
  sandbox_.SetVariable("TORVIK_JOB", "noise.etl");  // which a box refuses
  const RunningProgram program = sandbox_.Start({"torvik"});
  ASSERT_TRUE(KeepsSignals(program.pid));
  kill(program.pid, SIGTERM);
  EXPECT_EQ(0, sandbox_.Wait(program).exitCode);
}

TEST_F(ProgramOnADisplay, ADisplayThatDoesNotAnswerIsNone) {
  sandbox_.SetVariable("DISPLAY", ":4711");
  EXPECT_THAT(sandbox_.Run({"torvik"}).err,
              HasSubstr("the form cannot be shown: there is no display"));
  sandbox_.Run({"torvik", "-configfile", "job.etl", "-statusfile", "s.txt"});
  EXPECT_EQ("ok\r\n", sandbox_.ReadFile("s.txt"));
}

TEST_F(ProgramOnADisplay, WithoutTheWindowsModuleJobsRun) {
  std::filesystem::copy(TORVIK_PROGRAM, sandbox_.PathOf("torvik"));
  EXPECT_THAT(sandbox_.Run({sandbox_.PathOf("torvik")}).err,
              HasSubstr("libtorvik-desktop.so is not installed"));
  sandbox_.Run({sandbox_.PathOf("torvik"), "-configfile", "job.etl", "-statusfile", "s.txt"});
  EXPECT_EQ("ok\r\n", sandbox_.ReadFile("s.txt"));
}

}  // namespace
}  // namespace torvik
