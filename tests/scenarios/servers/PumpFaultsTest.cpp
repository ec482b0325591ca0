// Whole runs whose data pump is hit by a fault: no row may be lost, none doubled.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <string_view>
#include <thread>

#include "fakes/SmallDisk.h"
#include "scenarios/Sandbox.h"
#include "servers/PostgreSqlServer.h"

namespace torvik {
namespace {

using testing::HasSubstr;

const bool kHasItsOwnDisks = SmallDisk::Prepare();

constexpr int kRows = 50'000;  // more than a pipe holds

std::string Rows(int from, int to) {
  std::string text;
  for (int id = from; id <= to; ++id) text += std::to_string(id) + ",some words in row\n";
  return text;
}

/// The writing end of a named pipe that a run reads as its text file.
class Pipe {
 public:
  explicit Pipe(const std::string& path) {
    unlink(path.c_str());
    mkfifo(path.c_str(), 0600);
    path_ = path;
  }
  ~Pipe() { Close(); }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  /// Returns when all but what a pipe holds has been read, or when the reader has gone.
  void Write(const std::string& text) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (writer_ < 0 && std::chrono::steady_clock::now() < end) {
      writer_ = open(path_.c_str(), O_WRONLY | O_NONBLOCK);
      if (writer_ < 0) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    ASSERT_GE(writer_, 0) << "nobody reads the pipe";
    fcntl(writer_, F_SETFL, 0);
    signal(SIGPIPE, SIG_IGN);
    for (std::size_t at = 0; at < text.size();) {
      const ssize_t written = write(writer_, text.data() + at, text.size() - at);
      if (written <= 0) return;
      at += static_cast<std::size_t>(written);
    }
  }
  void Close() {
    if (writer_ >= 0) close(writer_);
    writer_ = -1;
  }

 private:
  std::string path_;
  int writer_ = -1;
};

/// A warehouse with table t of one old row, and a job that pumps rows.csv into it.
class PumpFaults : public testing::TestWithParam<std::string> {
 protected:
  PumpFaults() { MakeWarehouse(); }

  void MakeWarehouse() {
    if (OnPostgreSql()) {
      PostgreSqlServer::Instance().MakeDatabase("DW");
      sandbox_ = std::make_unique<Sandbox>(PostgreSqlServer::Instance().Section("(local)"));
      const auto made = sandbox_->Run({"torvik-admin", "server", "init", "--warehouse", "DW"});
      EXPECT_EQ(0, made.exitCode) << made.err;
    } else {
      sandbox_ = std::make_unique<Sandbox>();
    }
    sandbox_->Connect("DW")->Execute(
        "CREATE TABLE t (id INTEGER NOT NULL PRIMARY KEY, words VARCHAR(60));"
        "INSERT INTO t VALUES (0, 'old')");
    sandbox_->WriteJob("job.etl", "Sales_LoadDW");
  }

  static bool OnPostgreSql() { return GetParam() == "PostgreSql"; }

  void PutPump(const std::string& keys) {
    sandbox_->PutPackage("Sales_LoadDW", R"toml(Last = "0"
[[connections]]
name = "warehouse"
provider = "SQLOLEDB"
properties = { "Data Source" = "(local)", "Initial Catalog" = "DW", "Integrated Security" = "SSPI" }
[[connections]]
name = "file"
provider = "DTSFlatFile"
properties = { "Data Source" = 'S:\rows.csv', "Column Names" = "id, words" }
[[steps]]
name = "pump"
task = "DataPump"
source = "file"
destination = "warehouse"
table = "t"
)toml" + keys);
  }

  RunningProgram Start() {
    return sandbox_->Start({"torvik", "-configfile", "job.etl", "-statusfile", "s.txt"});
  }
  std::string Status() { return WithoutCr(sandbox_->ReadFile("s.txt")); }
  std::string Figures() { return sandbox_->Query("SELECT COUNT(*), MIN(id), MAX(id) FROM t"); }

  std::unique_ptr<Sandbox> sandbox_;
};

TEST_P(PumpFaults, AKilledPumpLeavesNothingAndASecondRunLoadsEveryRowOnce) {
  const struct {
    const char* keys;
    const char* after;  ///< Count, lowest and highest id once the second run has ended.
  } cases[] = {
      {"", "50001|0|50000\n"},
      {"join_transaction = true", "50001|0|50000\n"},
      {"load = \"replace\"", "50000|1|50000\n"},
      {"load = \"replace\"\ninsert_commit_size = 1000", "50000|1|50000\n"},
      {"load = \"truncate\"", "50000|1|50000\n"},
  };
  for (const auto& c : cases) {
    sandbox_->Connect("DW")->Execute("DELETE FROM t; INSERT INTO t VALUES (0, 'old')");
    PutPump(c.keys);
    {
      Pipe pipe(sandbox_->PathOf("rows.csv"));
      const RunningProgram run = Start();
      pipe.Write(Rows(1, kRows));
      if (!OnPostgreSql() || std::string_view(c.keys).find("truncate") == std::string::npos) {
        EXPECT_EQ("1|0|0\n", Figures()) << "readers see the old rows: " << c.keys;
      }
      kill(run.pid, SIGKILL);
      EXPECT_EQ(128 + SIGKILL, sandbox_->Wait(run).exitCode);
      EXPECT_EQ("running\n", Status());
    }
    EXPECT_EQ("1|0|0\n", Figures()) << c.keys;
    unlink(sandbox_->PathOf("rows.csv").c_str());
    sandbox_->WriteFile("rows.csv", Rows(1, kRows));
    sandbox_->Wait(Start());
    EXPECT_EQ("ok\n", Status()) << c.keys << sandbox_->ReadFile("err.txt");
    EXPECT_EQ(c.after, Figures()) << c.keys;
  }
}

TEST_P(PumpFaults, APumpWhoseServerGoesAwaySaysSoAndLeavesNothing) {
  if (!OnPostgreSql()) return;  // an embedded server is part of the run
  PutPump("");
  Pipe pipe(sandbox_->PathOf("rows.csv"));
  const RunningProgram run = Start();
  pipe.Write(Rows(1, kRows));
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  // Once it has waited for more for a while: its last words are lost when rows are on their way to
  // it.
  std::string ended = "0\n";
  while (ended == "0\n" && std::chrono::steady_clock::now() < end)
    ended = sandbox_->Query(
        "SELECT COUNT(pg_terminate_backend(pid)) FROM pg_stat_activity"
        " WHERE application_name = 'torvik' AND state = 'idle in transaction'"
        " AND clock_timestamp() - state_change > INTERVAL '500 ms' AND pid <> pg_backend_pid()");
  pipe.Close();
  sandbox_->Wait(run);
  EXPECT_THAT(sandbox_->ReadFile("err.txt"), HasSubstr("terminating connection"));
  EXPECT_EQ("failure\n", Status());
  EXPECT_EQ("1|0|0\n", Figures());
}

TEST_P(PumpFaults, APumpThatFillsTheDiskSaysSoAndLeavesNothing) {
  const SmallDisk disk(3);
  if (OnPostgreSql()) {
    std::string data = sandbox_->Query("SHOW data_directory");
    data.pop_back();
    disk.GiveToOwnerOf(data);
    sandbox_->Connect("DW")->Execute("CREATE TABLESPACE small LOCATION '" + disk.Path() + "'");
    sandbox_->Connect("DW")->Execute("ALTER TABLE t SET TABLESPACE small");
  } else {
    setenv("TMPDIR", disk.Path().c_str(), 1);  // the log and the status word are on it as well
    MakeWarehouse();
    unsetenv("TMPDIR");
  }
  // A mark that stayed would leave out all that comes afterwards.
  PutPump(R"(watermark = { column = "id", variable = "Last" })");
  {
    Pipe pipe(sandbox_->PathOf("rows.csv"));
    const RunningProgram run = Start();
    std::thread writer([&] { pipe.Write(Rows(1, 4 * kRows)); });
    writer.join();
    pipe.Close();
    sandbox_->Wait(run);
  }
  EXPECT_EQ("failure\n", Status());
  EXPECT_THAT(sandbox_->ReadFile("err.txt"), HasSubstr(OnPostgreSql() ? "No space left" : "DW.db"));
  EXPECT_EQ("1|0|0\n", Figures());

  disk.GrowTo(32);
  unlink(sandbox_->PathOf("rows.csv").c_str());
  sandbox_->WriteFile("rows.csv", Rows(1, 100));
  sandbox_->Wait(Start());
  EXPECT_EQ("ok\n", Status());
  EXPECT_EQ("101|0|100\n", Figures());
  if (!OnPostgreSql()) return sandbox_.reset();
  sandbox_->Connect("DW")->Execute("DROP TABLE t");
  sandbox_->Connect("DW")->Execute("DROP TABLESPACE small");
}

TEST_P(PumpFaults, RefusedRowsAmongManyThatGoTogetherAreNamedEachInItsPlace) {
  constexpr int kMany = 150'000;  // some sixteen blocks
  std::string text = Rows(1, 60'000) + "none,it has no number\n" + Rows(60'001, 110'000);
  text += "7,it is there already\n" + Rows(110'001, kMany) + "8,so is this\n";
  sandbox_->WriteFile("rows.csv", text);
  const std::pair<const char*, bool> cases[] = {{"maximum_error_count = 2", false},
                                                {"maximum_error_count = 3", true}};
  for (const auto& [keys, isLoaded] : cases) {
    PutPump(std::string(keys) + "\nexception_file = 'S:\\refused.txt'");
    sandbox_->Wait(Start());
    EXPECT_EQ(isLoaded ? "ok\n" : "failure\n", Status());
    EXPECT_EQ(isLoaded ? "150001|0|150000\n" : "1|0|0\n", Figures());
    EXPECT_THAT(WithoutCr(sandbox_->ReadFile("refused.txt")),
                testing::ContainsRegex("line 60001,.*line 110002,.*line 150003,"));
  }
}

INSTANTIATE_TEST_SUITE_P(Servers, PumpFaults, testing::Values("Embedded", "PostgreSql"),
                         [](const auto& tested) { return tested.param; });

}  // namespace
}  // namespace torvik
