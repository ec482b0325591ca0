// Runs that are interrupted from outside: a lock, a signal, a kill.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "platform/Ado.h"
#include "scenarios/Sandbox.h"

namespace torvik {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;

constexpr const char* kWarehouse = R"([[connections]]
name = "warehouse"
provider = "SQLOLEDB"
properties = { "Data Source" = "${DestinationServer}", "Initial Catalog" = "${DestServerDatabaseName}", "Connect Timeout" = 1 }
)";

/// Returns when the condition holds; fails the test when it does not come to hold.
template <class Condition>
void WaitUntil(Condition condition, const char* what) {
  const auto end = std::chrono::steady_clock::now() + 60s;
  while (!condition()) {
    ASSERT_LT(std::chrono::steady_clock::now(), end) << what;
    std::this_thread::sleep_for(5ms);
  }
}

/// A step program that reads this named pipe ends when the test lets it.
class Gate {
 public:
  explicit Gate(const Sandbox& sandbox, const std::string& name = "gate")
      : path_(sandbox.PathOf(name)) {
    mkfifo(path_.c_str(), 0600);
  }
  /// Returns once the program has opened the pipe.
  void WaitForReader() {
    WaitUntil([&] { return (writer_ = open(path_.c_str(), O_WRONLY | O_NONBLOCK)) >= 0; },
              "no step has opened the gate");
  }
  void Open() {
    close(writer_);
    writer_ = -1;
  }
  /// Opens; returns once the program has gone, which another one could be taken for.
  void OpenAndWaitForEnd() {
    Open();
    WaitUntil(
        [&] {
          const int another = open(path_.c_str(), O_WRONLY | O_NONBLOCK);
          if (another >= 0) close(another);
          return another < 0;
        },
        "the step does not end");
  }

 private:
  std::string path_;
  int writer_ = -1;
};

std::string GateStep(const Sandbox& sandbox, const std::string& after,
                     const std::string& name = "gate") {
  return "[[steps]]\nname = \"" + name + "\"\nafter = [{ step = \"" + after +
         "\", on = \"success\" }]\ntask = \"ExecuteProcess\"\nprogram = \"cat\"\narguments = [\"" +
         sandbox.PathOf(name) + "\"]\n";
}

const std::string kInsert = R"toml([[steps]]
name = "insert"
task = "ExecuteSQL"
connection = "warehouse"
join_transaction = true
sql = "INSERT INTO t VALUES (1)"
)toml";

const std::vector<std::string> kRun = {"torvik", "-configfile", "job.etl", "-statusfile", "s.txt"};

TEST(InterruptedRun, ALockedWarehouseFailsTheStepAfterTheTimeOut) {
  const Sandbox sandbox;
  auto other = sandbox.Connect("DW");
  other->Execute("CREATE TABLE t (a INTEGER)");
  sandbox.PutPackage("Sales_LoadDW", kWarehouse + kInsert);
  sandbox.WriteJob("job.etl", "Sales_LoadDW");
  other->BeginTrans();
  sandbox.Run(kRun);
  EXPECT_EQ(sandbox.ReadFile("s.txt"), "failure\r\n");
  EXPECT_THAT(sandbox.ReadFile("err.txt"), HasSubstr("locked"));
  EXPECT_THAT(sandbox.ReadFile("err.txt"), HasSubstr("DW.db"));
  other->RollbackTrans();
  sandbox.Run(kRun);
  EXPECT_EQ(sandbox.ReadFile("s.txt"), "ok\r\n");
  EXPECT_EQ(sandbox.Query("SELECT a FROM t"), "1\n");
}

TEST(InterruptedRun, SigtermDuringALongStepIsAnsweredInTheLogAndTheRunEndsWithItsVerdict) {
  const Sandbox sandbox;
  sandbox.Connect("DW")->Execute("CREATE TABLE t (a INTEGER)");
  sandbox.PutPackage("Sales_LoadDW", kWarehouse + kInsert + GateStep(sandbox, "insert"));
  sandbox.WriteJob("job.etl", "Sales_LoadDW");
  Gate gate(sandbox);
  const RunningProgram run = sandbox.Start(kRun);
  gate.WaitForReader();
  EXPECT_EQ(sandbox.ReadFile("s.txt"), "running\r\n");
  kill(run.pid, SIGTERM);
  WaitUntil(
      [&] {
        return sandbox.ReadFile("err.txt").find("Waiting for end of execution") !=
               std::string::npos;
      },
      "the signal was not answered");
  gate.Open();
  EXPECT_EQ(sandbox.Wait(run).exitCode, 0);
  EXPECT_EQ(sandbox.ReadFile("s.txt"), "ok\r\n");
  EXPECT_EQ(sandbox.Query("SELECT a FROM t"), "1\n");
}

/// The exact lines matter to whoever reads logs; so does how soon a wait of minutes ends.
TEST(InterruptedRun, SigtermDuringAPollEndsItAndTheRunFails) {
  const Sandbox sandbox;
  sandbox.PutPackage("Sales_LoadDW", "");
  sandbox.WriteFile("in/status", "running\r\n");
  sandbox.WriteFile("link.toml",
                    "model = \"Sales\"\nsource_name = \"files\"\nType = 3\ntransfer_data = 2\n"
                    "ds_directory = 'S:\\out'\nremote_directory = 'S:\\in'\n"
                    "poll_interval = 5\npoll_duration = 60\n");
  const ProgramResult put =
      sandbox.Run({"torvik-admin", "link", "put", "link.toml", "--database", "DW"});
  ASSERT_EQ(put.exitCode, 0) << put.err;
  sandbox.WriteJob("job.etl", "Sales_LoadDW");
  const RunningProgram run = sandbox.Start({"torvik-admin", "run", "job.etl"});
  const auto logHas = [&](const char* line) {
    return sandbox.ReadFile("err.txt").find(line) != std::string::npos;
  };
  WaitUntil([&] { return logHas("Polling for Remote Data ..."); }, "no poll has begun");
  kill(run.pid, SIGTERM);
  const ProgramResult ended = sandbox.Wait(run);
  EXPECT_EQ(ended.exitCode, 1);
  EXPECT_EQ(ended.out, "failure\ndata link files: the run was to end\n");
  EXPECT_THAT(WithoutCr(sandbox.ReadFile("err.txt")),
              testing::EndsWith("Polling for Remote Data ...\nWaiting for end of execution\n"));
  EXPECT_EQ(sandbox.ReadFile("in/status"), "running\r\n");
}

TEST(InterruptedRun, AKilledRunLeavesNoHalfOfAJoinedStepAndASecondRunSucceeds) {
  const Sandbox sandbox;
  sandbox.Connect("DW")->Execute("CREATE TABLE t (a INTEGER)");
  std::string rows = "a\n";
  for (int i = 0; i < 20000; ++i) rows += std::to_string(i) + "\n";
  sandbox.WriteFile("rows.csv", rows);
  const std::string pump = R"([[connections]]
name = "file"
provider = "DTSFlatFile"
properties = { "Data Source" = 'S:\rows.csv', "First Row Column Name" = true }
[[steps]]
name = "pump"
task = "DataPump"
source = "file"
destination = "warehouse"
table = "t"
join_transaction = true
)";
  sandbox.PutPackage("Sales_LoadDW", kWarehouse + pump + GateStep(sandbox, "pump"));
  sandbox.WriteJob("job.etl", "Sales_LoadDW");
  Gate gate(sandbox);
  const RunningProgram run = sandbox.Start(kRun);
  gate.WaitForReader();  // the pump is done, its transaction is open
  kill(run.pid, SIGKILL);
  EXPECT_EQ(sandbox.Wait(run).exitCode, 128 + SIGKILL);
  EXPECT_EQ(sandbox.ReadFile("s.txt"), "running\r\n");
  EXPECT_EQ(sandbox.Query("SELECT COUNT(*) FROM t"), "0\n");
  gate.OpenAndWaitForEnd();

  const RunningProgram second = sandbox.Start(kRun);
  gate.WaitForReader();
  gate.Open();
  sandbox.Wait(second);
  EXPECT_EQ(sandbox.ReadFile("s.txt"), "ok\r\n");
  EXPECT_EQ(sandbox.Query("SELECT COUNT(*) FROM t"), "20000\n");
}

TEST(InterruptedRun, AKillBetweenTwoStepsLosesNothingAndASecondRunDoublesNothing) {
  const Sandbox sandbox;
  const auto warehouse = sandbox.Connect("DW");
  warehouse->Execute("CREATE TABLE t (a INTEGER)");
  const struct {
    const char *sql, *keys, *rows;  // what a kill behind the step leaves
  } steps[] = {{"DELETE FROM t", "", "9\n"},
               {"INSERT INTO t VALUES (1)", "", "9\n"},
               {"INSERT INTO t VALUES (2)", "commit_success = true", "1\n2\n"},
               {"INSERT INTO t VALUES (3)", "", "1\n2\n"}};
  std::vector<Gate> gates;
  std::string body = kWarehouse, after;
  for (const auto& step : steps) {
    const std::string number = std::to_string(gates.size()), gate = "gate" + number;
    body += "[[steps]]\nname = \"" + number + "\"\n" + after +
            "task = \"ExecuteSQL\"\nconnection = \"warehouse\"\njoin_transaction = true\nsql = \"" +
            step.sql + "\"\n" + step.keys + "\n" + GateStep(sandbox, number, gate);
    after = "after = [{ step = \"" + gate + "\" }]\n";
    gates.emplace_back(sandbox, gate);
  }
  sandbox.PutPackage("Sales_LoadDW", body);
  sandbox.WriteJob("job.etl", "Sales_LoadDW");
  for (std::size_t killed = 0; killed < gates.size(); ++killed) {
    warehouse->Execute("DELETE FROM t; INSERT INTO t VALUES (9)");
    for (const bool toTheEnd : {false, true}) {
      const RunningProgram run = sandbox.Start(kRun);
      for (std::size_t i = 0; i < (toTheEnd ? gates.size() : killed); ++i) {
        gates[i].WaitForReader();
        gates[i].OpenAndWaitForEnd();
      }
      if (!toTheEnd) {
        gates[killed].WaitForReader();
        kill(run.pid, SIGKILL);
      }
      sandbox.Wait(run);
      if (!toTheEnd) gates[killed].OpenAndWaitForEnd();
      EXPECT_EQ(sandbox.Query("SELECT a FROM t ORDER BY a"),
                toTheEnd ? "1\n2\n3\n" : steps[killed].rows)
          << "killed behind step " << killed;
    }
    EXPECT_EQ(sandbox.ReadFile("s.txt"), "ok\r\n");
  }
}

/// Each of two programs waits for the other to open the pipe: one alone is ended by its time.
TEST(ParallelRun, StepsWithoutConstraintsOverlap) {
  const Sandbox sandbox;
  mkfifo(sandbox.PathOf("pipe").c_str(), 0600);
  const auto step = [&](const char* name, const char* program, const char* from, const char* to) {
    return "[[steps]]\nname = \"" + std::string(name) + "\"\ntask = \"ExecuteProcess\"\n" +
           "program = \"timeout\"\narguments = [\"30\", \"" + program + "\", \"" +
           sandbox.PathOf(from) + "\", \"" + sandbox.PathOf(to) + "\"]\n";
  };
  sandbox.PutPackage("Sales_LoadDW",
                     step("read", "cp", "pipe", "copy") + step("write", "cp", "job.etl", "pipe"));
  sandbox.WriteJob("job.etl", "Sales_LoadDW");
  sandbox.Run(kRun);
  EXPECT_EQ(sandbox.ReadFile("s.txt"), "ok\r\n");
}

}  // namespace
}  // namespace torvik
