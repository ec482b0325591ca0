// What runs leave in the history, and how an operator asks for it.

#include <gmock/gmock.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "fakes/SmallDisk.h"
#include "scenarios/Sandbox.h"

namespace torvik {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kSteps = R"toml([[connections]]
name = "warehouse"
provider = "SQLOLEDB"
properties = { "Data Source" = "${DestinationServer}", "Initial Catalog" = "${DestServerDatabaseName}" }
[[connections]]
name = "file"
provider = "DTSFlatFile"
properties = { "Data Source" = 'S:\rows.csv', "Column Delimiter" = ",", "First Row Column Name" = true }
[[steps]]
name = "make"
task = "ExecuteSQL"
connection = "warehouse"
sql = "CREATE TABLE IF NOT EXISTS t (a INTEGER)"
[[steps]]
name = "load"
after = [ { step = "make", on = "success" } ]
task = "DataPump"
source = "file"
destination = "warehouse"
table = "t"
maximum_error_count = 10
)toml";

constexpr const char* kWait = R"toml([[steps]]
name = "wait"
task = "ExecuteProcess"
program = "sleep"
arguments = ['60']
)toml";

class History : public testing::Test {
 protected:
  History() {
    sandbox_.PutPackage("Sales", kSteps);
    sandbox_.PutPackage("Slow", kWait);
    sandbox_.WriteFile("rows.csv", "a\n1\nx\n3\n");
    sandbox_.WriteJob("sales.etl", "Sales");
    sandbox_.WriteJob("slow.etl", "Slow");
  }

  ProgramResult Admin(std::vector<std::string> words) const {
    words.insert(words.begin(), "torvik-admin");
    return sandbox_.Run(words);
  }
  std::string Word() const { return WithoutCr(sandbox_.ReadFile("s.txt")); }
  ProgramResult RunSales() const {
    return sandbox_.Run({"torvik", "-configfile", "sales.etl", "-statusfile", "s.txt"});
  }

  Sandbox sandbox_;
};

TEST_F(History, TellsARunWithItsStepsRowsAndReason) {
  const ProgramResult run = Admin({"run", "sales.etl", "--json"});
  EXPECT_THAT(run.out, AllOf(HasSubstr("\"outcome\": \"ok\""), HasSubstr("\"rows\": 2"),
                             HasSubstr("\"rejected_rows\": 1"), HasSubstr("\"step\": \"load\"")));
  std::filesystem::remove(sandbox_.PathOf("rows.csv"));
  EXPECT_EQ(Admin({"run", "sales.etl"}).exitCode, 1);
  EXPECT_THAT(
      Admin({"history"}).out,
      AllOf(HasSubstr("sales  failure"), HasSubstr("load: S:\\rows.csv"), HasSubstr("sales  ok")));
  EXPECT_THAT(Admin({"history", "sales", "--failed", "--since", "1h"}).out,
              Not(HasSubstr("sales  ok")));
  EXPECT_THAT(Admin({"history", "--since", "soon"}).err, HasSubstr("\"soon\" is no time"));
  EXPECT_THAT(Admin({"history", "show", "1"}).out,
              AllOf(HasSubstr("package     Sales, version "), HasSubstr("torvik-admin run"),
                    HasSubstr("err.txt"), HasSubstr("2 rows, ")));
  EXPECT_THAT(Admin({"history", "show", "7"}).err, HasSubstr("the history has no run 7"));
  EXPECT_THAT(Admin({"history", "trend", "sales", "--svg", "t.svg"}).out,
              AllOf(HasSubstr("2 runs, x: not ok"), HasSubstr("2 rows |█ \n"),
                    HasSubstr("failure after "), HasSubstr("; its median is ")));
  sandbox_.WriteFile("rows.csv", "a\n1\n");
  RunSales();
  EXPECT_THAT(Admin({"history", "trend", "./sales.etl"}).out, HasSubstr(" times its median of "));
  EXPECT_THAT(sandbox_.ReadFile("t.svg"), AllOf(HasSubstr("<svg "), HasSubstr("</svg>")));
  EXPECT_EQ(sandbox_.Run({"/usr/bin/xmllint", "--noout", "t.svg"}).exitCode, 0);
  EXPECT_THAT(Admin({"history", "trend", "none"}).err, HasSubstr("no run of the job none"));
}

TEST_F(History, WatchTellsWhatRunsAndARunThatIsKilledIsLost) {
  const RunningProgram run =
      sandbox_.Start({"torvik", "-configfile", "slow.etl", "-statusfile", "s.txt"});
  std::string seen;
  for (int i = 0; i < 500 && seen.find("  wait: ") == seen.npos; ++i) {
    std::this_thread::sleep_for(20ms);
    seen = Admin({"watch"}).out;
  }
  EXPECT_THAT(seen, AllOf(HasSubstr("1 run, "), HasSubstr("slow, run 1: Slow, ")));
  // At a terminal it goes on until q is pressed, and gives the screen back.
  const ProgramResult screen =
      sandbox_.Run({"/bin/sh", "-c",
                    "(sleep 1.3; printf q) | script -qec '" + std::string(TORVIK_ADMIN_PROGRAM) +
                        " watch' /dev/null"});
  EXPECT_EQ(screen.exitCode, 0);
  EXPECT_THAT(screen.out, AllOf(HasSubstr("\x1b[?1049h"), HasSubstr("slow, run 1"),
                                HasSubstr("\x1b[?25h\x1b[?1049l")));
  const ProgramResult ended = sandbox_.Run(
      {"/usr/bin/script", "-qec",
       "timeout --foreground 0.5 " + std::string(TORVIK_ADMIN_PROGRAM) + " watch", "/dev/null"});
  EXPECT_THAT(ended.out, HasSubstr("\x1b[?25h\x1b[?1049l"));
  kill(run.pid, SIGKILL);
  sandbox_.Wait(run);
  EXPECT_EQ(Word(), "running\n");
  EXPECT_THAT(Admin({"watch"}).out, HasSubstr("0 runs, "));
  EXPECT_THAT(Admin({"history", "--failed"}).out,
              AllOf(HasSubstr("slow  lost"), HasSubstr("its process is gone")));
}

TEST_F(History, NoProblemWithItIsARunsOwn) {
  const struct {
    const char* what;
    const char* make;
    const char* said;
  } cases[] = {
      {"damaged", "rm state/history.db-wal; head -c 9000 /dev/urandom > state/history.db",
       "was damaged; it is kept as"},
      {"a directory", "rm -rf state/history.db*; mkdir state/history.db", "the history: "},
  };
  EXPECT_EQ(RunSales().exitCode, 0);
  for (const auto& c : cases) {
    sandbox_.Run({"/bin/sh", "-c", c.make});
    const ProgramResult run = RunSales();
    EXPECT_EQ(Word(), "ok\n") << c.what;
    EXPECT_THAT(run.err, HasSubstr(c.said)) << c.what;
  }
  sandbox_.Run({"/bin/sh", "-c", "rmdir state/history.db"});
  sandbox_.AddSettings("[history]\nenabled = no\n");
  EXPECT_EQ(RunSales().err, "");
  EXPECT_FALSE(std::filesystem::exists(sandbox_.PathOf("state/history.db")));
}

TEST_F(History, AFullDiskAndOneThatIsOnlyReadAreNoRunsProblem) {
  SmallDisk::Prepare();
  const SmallDisk disk(1);
  sandbox_.SetVariable("TORVIK_STATE", disk.Path());
  EXPECT_EQ(RunSales().err.find("the history: "), std::string::npos);
  sandbox_.Run({"/bin/sh", "-c", "cat /dev/zero > " + disk.Path() + "/filled"});
  const auto told = [](const std::string& err) {
    int lines = 0;
    for (std::size_t at = 0; (at = err.find("the history: ", at)) != err.npos; ++at) ++lines;
    return lines;
  };
  const ProgramResult full = RunSales();
  EXPECT_EQ(Word(), "ok\n");
  EXPECT_EQ(told(full.err), 1) << full.err;
  EXPECT_THAT(Admin({"history"}).out, HasSubstr("sales  ok"));
  disk.ForbidWriting(1);
  const ProgramResult onlyRead = RunSales();
  EXPECT_EQ(Word(), "ok\n");
  EXPECT_EQ(told(onlyRead.err), 1) << onlyRead.err;
  EXPECT_THAT(Admin({"history"}).out, HasSubstr("sales  ok"));
  EXPECT_THAT(Admin({"history", "show", "1"}).out, HasSubstr("2 rows, "));
}

TEST_F(History, TheFrontEndOfARunThatWasKilledTellsItAsLost) {
  const RunningProgram run = sandbox_.Start({"torvik-admin", "run", "slow.etl", "--json"});
  std::string seen;
  for (int i = 0; i < 500 && seen.find("\"process\": ") == seen.npos; ++i) {
    std::this_thread::sleep_for(20ms);
    seen = Admin({"watch", "--json"}).out;
  }
  ASSERT_THAT(seen, HasSubstr("\"process\": "));
  kill(std::stoi(seen.substr(seen.find("\"process\": ") + 11)), SIGKILL);
  const ProgramResult ended = sandbox_.Wait(run);
  EXPECT_EQ(ended.exitCode, 3);
  EXPECT_THAT(ended.out, AllOf(HasSubstr("\"status\": \"running\""),
                               HasSubstr("\"outcome\": \"lost\""), HasSubstr("\"id\": 1,")));
}

TEST_F(History, ARunWhoseEndCouldNotBeWrittenIsToldByItsWord) {
  sandbox_.PutPackage("Locks", R"toml([[steps]]
name = "lock"
task = "ExecuteProcess"
program = "sh"
arguments = ['-c', """
(echo 'BEGIN IMMEDIATE;'; touch locked; sleep 4) | sqlite3 "$TORVIK_STATE/history.db" >&- 2>&- &
while [ ! -e locked ]; do sleep 0.1; done; sleep 0.3
"""]
)toml");
  sandbox_.WriteJob("locks.etl", "Locks");
  const ProgramResult run = Admin({"run", "locks.etl", "--quiet"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.err, HasSubstr("the history: "));
  EXPECT_EQ(run.out, "ok\n");
}

TEST_F(History, RunsAtOnceHaveARecordEachAndSoHasOneThatIsRefused) {
  std::string together;
  for (const std::string name : {"a", "b", "c", "d"}) {
    std::string job = sandbox_.ReadFile("sales.etl");
    for (const std::string place : {"err.txt", "logs"})
      job.replace(job.find(place), place.size(), name + place);
    sandbox_.WriteFile(name + ".etl", job);
    together += std::string(TORVIK_PROGRAM) + " -configfile " + name + ".etl & ";
  }
  const ProgramResult runs = sandbox_.Run({"/bin/sh", "-c", together + "wait"});
  EXPECT_THAT(runs.err, Not(HasSubstr("the history: ")));
  EXPECT_EQ(sandbox_.Query("SELECT COUNT(*) FROM t"), "8\n");
  const RunningProgram slow = sandbox_.Start({"torvik", "-configfile", "slow.etl"});
  for (int i = 0; i < 500 && Admin({"watch"}).out.find("slow, run 5") == std::string::npos; ++i)
    std::this_thread::sleep_for(20ms);
  EXPECT_EQ(Admin({"run", "slow.etl"}).exitCode, 1);
  kill(slow.pid, SIGKILL);
  sandbox_.Wait(slow);
  const std::string listed = Admin({"history"}).out;
  EXPECT_THAT(listed, AllOf(HasSubstr("slow  failure"), HasSubstr("nothing was run: "),
                            HasSubstr("slow  lost")));
  for (const std::string name : {"a", "b", "c", "d"})
    EXPECT_THAT(listed, HasSubstr("  " + name + "     ok"));
}

}  // namespace
}  // namespace torvik
