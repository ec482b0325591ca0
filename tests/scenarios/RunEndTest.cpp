// Runs that lack something or get in each other's way: each ends with its verdict, and says why.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "platform/Ado.h"
#include "scenarios/Sandbox.h"

namespace torvik {
namespace {

using namespace std::chrono_literals;
using ::testing::AnyOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;

constexpr const char* kInsertOne = R"toml([[connections]]
name = "warehouse"
provider = "SQLOLEDB"
properties = { "Data Source" = "${DestinationServer}", "Initial Catalog" = "${DestServerDatabaseName}" }
[[connections]]
name = "file"
provider = "DTSFlatFile"
properties = { "Data Source" = 'S:\rows.csv', "First Row Column Name" = true }
[[steps]]
name = "pump"
task = "DataPump"
source = "file"
destination = "warehouse"
table = "t"
timeout_seconds = 1
[[steps]]
name = "after a failure"
after = [{ step = "pump", on = "failure" }]
task = "ExecuteSQL"
connection = "warehouse"
sql = "INSERT INTO t VALUES (-1)"
)toml";

const std::vector<std::string> kRunCommand = {"torvik", "-configfile", "job.etl", "-statusfile",
                                              "s.txt"};

/// A job "job.etl" that pumps the rows 1 and 2 into the table t.
struct RunEnd : ::testing::Test {
  RunEnd() {
    sandbox.Connect("DW")->Execute("CREATE TABLE t (a INTEGER)");
    sandbox.WriteFile("rows.csv", "a\n1\n2\n");
    sandbox.PutPackage("Sales_LoadDW", kInsertOne);
    sandbox.WriteJob("job.etl", "Sales_LoadDW");
  }
  ProgramResult Shell(const std::string& script) const {
    return sandbox.Run({"/bin/sh", "-c", script});
  }
  std::string Rows() const { return sandbox.Query("SELECT a FROM t ORDER BY a"); }

  const Sandbox sandbox;
  const std::string torvik = TORVIK_PROGRAM, admin = TORVIK_ADMIN_PROGRAM;
};

/// The job's package becomes one step that ends when the test lets it.
class PipeGate {
 public:
  explicit PipeGate(const Sandbox& sandbox) : path_(sandbox.PathOf("gate")) {
    mkfifo(path_.c_str(), 0600);
    sandbox.PutPackage("Sales_LoadDW",
                       "[[steps]]\nname = \"wait\"\ntask = \"ExecuteProcess\"\n"
                       "program = \"cat\"\narguments = ['" +
                           path_ + "']\n");
  }
  void WaitForReader() {
    while ((writer_ = open(path_.c_str(), O_WRONLY | O_NONBLOCK)) < 0)
      std::this_thread::sleep_for(5ms);
  }
  void Open() { close(writer_); }

 private:
  const std::string path_;
  int writer_ = -1;
};

TEST_F(RunEnd, NobodyNeedsToReadWhatARunSays) {
  const std::string run = torvik + " -configfile job.etl -statusfile s.txt";
  const std::string scripts[] = {admin + " run job.etl 2>&1 | head -1",
                                 "TORVIK_PROGRESS=1 " + run + " 2>&1 | true", run + " 2>&-",
                                 run + " <&- >&- 2>&-", run + " 2>/dev/full"};
  for (const std::string& script : scripts) {
    sandbox.Connect("DW")->Execute("DELETE FROM t");
    sandbox.WriteFile("err.txt", "");
    Shell(script);
    EXPECT_THAT(sandbox.ReadFile("err.txt"), EndsWith("Executed succesfully ...\r\n")) << script;
    EXPECT_EQ(Rows(), "1\n2\n") << script;
  }
  EXPECT_EQ(sandbox.ReadFile("s.txt"), "ok\r\n");
}

TEST_F(RunEnd, AHandOffLineMayBeGivenByAShell) {
  sandbox.WriteFile("my jobs/a.etl", sandbox.ReadFile("job.etl"));
  sandbox.WriteFile("hand.txt", "-configfile \"" + sandbox.PathOf("my jobs/a.etl") + "\"\r\n");
  const ProgramResult run = Shell(torvik + " -statusfile s.txt $(cat hand.txt)");
  EXPECT_EQ(sandbox.ReadFile("s.txt"), "ok\r\n") << run.err;
}

TEST_F(RunEnd, APipeWithoutItsOtherEndIsGivenUp) {
  std::filesystem::remove(sandbox.PathOf("rows.csv"));
  ASSERT_EQ(mkfifo(sandbox.PathOf("rows.csv").c_str(), 0600), 0);
  ASSERT_EQ(mkfifo(sandbox.PathOf("word").c_str(), 0600), 0);
  const ProgramResult run =
      sandbox.Run({"torvik", "-configfile", "job.etl", "-statusfile", "word"});
  EXPECT_THAT(sandbox.ReadFile("err.txt"), HasSubstr("(timeout_seconds)"));
  EXPECT_THAT(run.err, HasSubstr("cannot write \"failure\" to the status file word"));
  EXPECT_EQ(Rows(), "-1\n");
}

/// Descriptors from those of an empty process on, threads from none on.
TEST_F(RunEnd, WithTooLittleOfSomethingItEndsWithItsVerdictAndTheReason) {
  const auto runWith = [&](const std::string& limit, std::vector<std::string> command) {
    sandbox.WriteFile("err.txt", "");
    sandbox.WriteFile("s.txt", "old");
    command.insert(command.end(), {"/usr/bin/prlimit", limit, "--"});
    command.insert(command.end(), kRunCommand.begin(), kRunCommand.end());
    command[command.size() - kRunCommand.size()] = sandbox.PathOf("torvik");
    const ProgramResult run = sandbox.Run(command);
    const std::string log = sandbox.ReadFile("err.txt");
    const std::string word = sandbox.ReadFile("s.txt");
    if (word == "ok\r\n")
      EXPECT_THAT(log, EndsWith("Executed succesfully ...\r\n")) << limit;
    else if (word == "running\r\n")
      EXPECT_THAT(log, HasSubstr("Error: the data links cannot be loaded: ")) << limit;
    else if (word == "old")  // before the program begins
      EXPECT_THAT(run.err, HasSubstr("loading shared libraries")) << limit;
    else
      EXPECT_THAT(std::pair(word, run.err), testing::Pair("failure\r\n", testing::Ne(""))) << limit;
  };
  std::filesystem::copy_file(torvik, sandbox.PathOf("torvik"));
#ifdef __SANITIZE_ADDRESS__
  constexpr int kLeastFiles = 24;  // sanitizers open files themselves to look at memory
#else
  constexpr int kLeastFiles = 4;
#endif
  for (int files = kLeastFiles; files <= 24; ++files)
    runWith("--nofile=" + std::to_string(files), {});
  std::vector<std::string> asUser;
  if (geteuid() == 0) {  // for whom there is no limit of processes
    ASSERT_EQ(Shell("chmod 755 . && chown -R 61234:61234 .").exitCode, 0);
    asUser = {"/usr/bin/setpriv", "--reuid=61234", "--regid=61234", "--clear-groups"};
  }
  for (int processes = 1; processes <= 5; ++processes) {
    runWith("--nproc=" + std::to_string(processes), asUser);
    EXPECT_EQ(sandbox.ReadFile("s.txt"), "ok\r\n") << processes << sandbox.ReadFile("err.txt");
  }
}

/// Each answered signal is a line; the second one shows that the first has been dealt with.
TEST_F(RunEnd, AHangupActsAsTheCloseButtonUnlessItIsIgnored) {
  const std::string answer = "Waiting for end of execution\r\n";
  PipeGate gate(sandbox);
  for (const bool isIgnored : {false, true}) {
    sandbox.WriteFile("err.txt", "");
    auto command = kRunCommand;
    if (isIgnored) {
      command[0] = torvik;
      command.insert(command.begin(), {"/usr/bin/env", "--ignore-signal=HUP"});
    }
    const RunningProgram run = sandbox.Start(command);
    gate.WaitForReader();
    kill(run.pid, SIGHUP);
    kill(run.pid, SIGTERM);
    while (sandbox.ReadFile("err.txt").find(answer) == std::string::npos)
      std::this_thread::sleep_for(5ms);
    gate.Open();
    EXPECT_EQ(sandbox.Wait(run).exitCode, 0);
    EXPECT_EQ(sandbox.ReadFile("s.txt"), "ok\r\n");
    EXPECT_EQ(sandbox.ReadFile("err.txt").find(answer + answer) == std::string::npos, isIgnored);
  }
}

TEST_F(RunEnd, ALogThatIsLostIsToldByTheFrontEndAndTheWordIsOk) {
  std::string job = sandbox.ReadFile("job.etl");
  job.replace(job.find("S:\\err.txt"), 10, "/dev/full");
  sandbox.WriteFile("job.etl", job);
  const ProgramResult run = sandbox.Run({"torvik-admin", "run", "job.etl"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.out, testing::StartsWith("ok\nthe log is incomplete: cannot write the exception "
                                           "log /dev/full: No space left on device\n"));
  EXPECT_THAT(run.err, HasSubstr("cannot write the exception log /dev/full"));
  EXPECT_THAT(sandbox.Run({"torvik-admin", "run", "job.etl", "--json"}).out,
              HasSubstr("\"log_losses\""));
}

/// A step that another run could meet leaves its mark when it does.
TEST_F(RunEnd, OfTwoRunsOfOneJobAtOnceOneWaitsOrGivesUp) {
  sandbox.PutPackage("Sales_LoadDW",
                     "[[steps]]\nname = \"alone\"\ntask = \"ExecuteProcess\"\nprogram = \"sh\"\n"
                     "arguments = [\"-c\", 'cd " +
                         sandbox.PathOf("") +
                         " && mkdir inside || touch met; sleep 0.02; rmdir inside; echo . >> "
                         "runs']\n");
  std::size_t refused = 0, done = 0;
  for (const bool waits : {false, true}) {
    if (waits) sandbox.AddSettings("[run]\nwait_for_other_run = 60\n");
    for (int pair = 0; pair < 10; ++pair) {
      RunningProgram runs[2];
      for (int i : {0, 1}) {
        const std::string word = "s" + std::to_string(i);
        std::filesystem::remove(sandbox.PathOf(word));
        runs[i] = sandbox.Start({"torvik", "-configfile", "job.etl", "-statusfile", word});
      }
      for (int i : {0, 1}) {
        const ProgramResult run = sandbox.Wait(runs[i]);
        const std::string word = sandbox.ReadFile("s" + std::to_string(i));
        EXPECT_THAT(word, AnyOf("ok\r\n", "failure\r\n")) << run.err;
        if (word == "ok\r\n") ++done;
        if (word == "ok\r\n") continue;
        ++refused;
        EXPECT_FALSE(waits) << run.err;
        EXPECT_THAT(run.err, testing::ContainsRegex("in use by another run: process [0-9]+ "
                                                    "\\(torvik\\), which runs since 2"));
      }
    }
  }
  EXPECT_FALSE(std::filesystem::exists(sandbox.PathOf("met")));
  EXPECT_GT(refused, 0u);
  EXPECT_EQ(std::ranges::count(sandbox.ReadFile("runs"), '.'), std::ssize(std::string(done, '.')));
}

TEST_F(RunEnd, ASecondRunLeavesTheFirstOnesStatusFileAlone) {
  PipeGate gate(sandbox);
  const RunningProgram first = sandbox.Start(kRunCommand);
  gate.WaitForReader();
  const std::string log = sandbox.ReadFile("err.txt");
  sandbox.Run(kRunCommand);
  EXPECT_EQ(sandbox.ReadFile("s.txt"), "running\r\n");
  EXPECT_EQ(sandbox.ReadFile("err.txt"), log);
  auto other = kRunCommand;
  other.back() = "other.txt";
  sandbox.Run(other);
  EXPECT_EQ(sandbox.ReadFile("other.txt"), "failure\r\n");
  gate.Open();
  sandbox.Wait(first);
  EXPECT_EQ(sandbox.ReadFile("s.txt"), "ok\r\n");
}

}  // namespace
}  // namespace torvik
