// Whole runs whose pump loads one file over several connections: what one connection leaves, they
// leave.

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <sstream>
#include <thread>

#include "platform/Ado.h"
#include "scenarios/Sandbox.h"
#include "servers/PostgreSqlServer.h"

namespace torvik {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr int kLoadedRows = 60'000;
/// On its row a load waits until the test lets it go on.
constexpr const char* kGate =
    "CREATE FUNCTION gate(id INTEGER) RETURNS BOOLEAN LANGUAGE plpgsql AS $$ BEGIN "
    "IF id = 40000 THEN PERFORM pg_advisory_xact_lock_shared(42); END IF; RETURN true; END $$;";
/// The connection that made the table beside.
constexpr const char* kOwner =
    "SELECT MIN(pid) FROM pg_locks WHERE locktype = 'advisory' AND classid = 1953460854";
/// The one that waits at the gate.
constexpr const char* kWaiting =
    "SELECT MIN(pid) FROM pg_locks WHERE locktype = 'advisory' AND objid = 42 AND NOT granted";

/// 100 bytes a row, so that there are several parts; quoted line ends; some rows are broken.
std::string LoadedFile(const std::function<std::string(int id)>& broken) {
  const std::string words(80, 'w');
  std::string text = "\xEF\xBB\xBFid,words\r\n";
  for (int id = 1; id <= kLoadedRows; ++id) {
    const std::string instead = broken(id);
    text += !instead.empty()
                ? instead
                : std::to_string(id) + ",\"" + words + (id % 7 == 0 ? "\n\"\"" : "") + "\"\r\n";
  }
  return text;
}

/// Without times. The server's words name the table that it is given.
std::string SortedLines(std::string text) {
  const std::string beside = "_torvik_staging";
  for (std::size_t at = text.find(beside); at != text.npos; at = text.find(beside))
    text.erase(at, beside.size());
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);)
    if (!line.starts_with("ended ") && !line.starts_with("Package ")) lines.push_back(line + "\n");
  std::ranges::sort(lines);
  std::string all;
  for (const std::string& line : lines) all += line;
  return all;
}

/// A warehouse with table t of two old rows, and a job that pumps rows.csv into it.
class LoadConnections : public testing::Test {
 protected:
  LoadConnections() {
    server_.MakeDatabase("DW");
    const auto made = sandbox_.Run({"torvik-admin", "server", "init", "--warehouse", "DW"});
    EXPECT_EQ(0, made.exitCode) << made.err;
    sandbox_.WriteJob("job.etl", "Sales_LoadDW");
    MakeTable();
  }

  void MakeTable(const std::string& more = "") {
    sandbox_.Connect("DW")->Execute(
        "DROP TABLE IF EXISTS t; DROP FUNCTION IF EXISTS gate CASCADE; " + std::string(kGate) +
        "CREATE TABLE t (id INTEGER NOT NULL CHECK (id > -1 AND gate(id)), words TEXT, "
        "note TEXT DEFAULT 'none'" +
        more + "); INSERT INTO t VALUES (0, 'old'), (5, 'older')");
  }

  void PutPump(const std::string& keys, const std::string& file = "") {
    sandbox_.PutPackage("Sales_LoadDW", R"toml([[connections]]
name = "warehouse"
provider = "SQLOLEDB"
properties = { "Data Source" = "(local)", "Initial Catalog" = "DW", "Integrated Security" = "SSPI" }
[[connections]]
name = "file"
provider = "DTSFlatFile"
properties = { "Data Source" = 'S:\rows.csv', "First Row Column Name" = true)toml" +
                                            file +
                                            R"toml( }
[[steps]]
name = "pump"
task = "DataPump"
source = "file"
destination = "warehouse"
table = "t"
exception_file = 'S:\bad'
exception_file_overwrite = true
)toml" + keys);
  }

  RunningProgram Start() {
    sandbox_.WriteFile("err.txt", "");
    return sandbox_.Start({"torvik", "-configfile", "job.etl", "-statusfile", "s.txt"});
  }
  std::string Run() {
    sandbox_.Wait(Start());
    return Log();
  }
  std::string Log() { return WithoutCr(sandbox_.ReadFile("err.txt")); }
  std::string Status() { return WithoutCr(sandbox_.ReadFile("s.txt")); }
  /// Count and a sum over all that stands in the table, and whether one stands beside it.
  std::string Figures() {
    return sandbox_.Query(
        "SELECT COUNT(*), md5(string_agg(t::text, '/' ORDER BY id, words)), "
        "to_regclass('t_torvik_staging') IS NULL FROM t");
  }

  /// The value of a query once it has one; empty when it has none for too long.
  std::string Await(const std::string& query) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (std::chrono::steady_clock::now() < end) {
      if (const std::string value = sandbox_.Query(query); value != "NULL\n") return value;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return "";
  }

  PostgreSqlServer& server_ = PostgreSqlServer::Instance();
  Sandbox sandbox_{server_.Section("(local)")};
};

std::string ConnectionsKey(int count) {
  return "load_connections = " + std::to_string(count) + "\n";
}

TEST_F(LoadConnections, LeaveTheRowsAndRejectsOfOneConnection) {
  const std::string broken = LoadedFile([](int id) -> std::string {
    if (id % 9'000 == 0) return "x" + std::to_string(id) + ",not a number\r\n";
    if (id % 11'000 == 0) return std::to_string(id) + ",\"text\" behind\r\n";
    if (id % 25'000 == 0) return "-" + std::to_string(id) + ",refused\r\n";
    return id == 51'000 ? "51000,too,many\r\n" : "";
  });
  const std::string twice = LoadedFile(
      [](int id) -> std::string { return id % 20'000 == 0 ? "5,a known key\r\n\r\n" : ""; });
  const struct {
    const char* what;
    std::string keys;
    const char* table;
    const std::string& file;
    const char* log;  ///< A part of the log, with several connections.
  } cases[] = {
      {"append", "", "", broken, " 59986 rows, 14 rejected"},
      {"replace", "load = 'replace'\n", "", broken, " 59986 rows, 14 rejected"},
      {"truncate", "load = 'truncate'\n", "", broken, " 59986 rows, 14 rejected"},
      {"merge", "load = 'merge'\nkeys = ['id']\n", "", broken,
       " 59986 rows, 59985 inserted, 1 updated, 0 deleted, 14 rejected"},
      {"missing values get defaults", "columns = { id = 'id', words = 'note' }\n",
       ", seen TIMESTAMP DEFAULT '2024-05-01'", broken, " 59986 rows, 14 rejected"},
      {"a key of the table", "", ", UNIQUE (id)", twice,
       "rows.csv: table t does not take all its rows together: duplicate key"},
      {"a key twice in the file", "load = 'replace'\n", ", UNIQUE (id)", twice,
       "it is loaded over one connection"},
  };
  for (const auto& c : cases) {
    sandbox_.WriteFile("rows.csv", c.file);
    std::string expected, rejects, sources;
    for (const int connections : {1, 2, 4}) {
      if (connections == 2 && &c > cases) continue;  // once is enough
      SCOPED_TRACE(std::string(c.what) + ", connections: " + std::to_string(connections));
      if (connections == 2) {  // packed, the file is the same
        sandbox_.Run({"/usr/bin/gzip", "rows.csv"});
        std::filesystem::rename(sandbox_.PathOf("rows.csv.gz"), sandbox_.PathOf("rows.csv"));
      }
      MakeTable(c.table);
      PutPump(c.keys + "maximum_error_count = 14\n" + ConnectionsKey(connections));
      const std::string log = Run();
      EXPECT_EQ("ok\n", Status()) << log;
      const std::string bad = WithoutCr(sandbox_.ReadFile("bad"));
      if (connections == 1) {
        expected = Figures();
        rejects = bad;
        sources = sandbox_.ReadFile("bad.Source");
        EXPECT_THAT(expected, HasSubstr("|1\n"));
        continue;
      }
      EXPECT_THAT(log, HasSubstr(c.log));
      EXPECT_EQ(expected, Figures());
      EXPECT_EQ(SortedLines(rejects), SortedLines(bad));
      EXPECT_EQ(SortedLines(WithoutCr(sources)),
                SortedLines(WithoutCr(sandbox_.ReadFile("bad.Source"))));
      EXPECT_EQ(rejects.substr(rejects.find("\nended ") + 27),
                bad.substr(bad.find("\nended ") + 27));
      // One connection says what it has read of some rows before what the server has refused of
      // them.
      if (log.find("over one connection") != log.npos) continue;
      int before = 0;
      for (std::size_t at = bad.find(", line "); at != std::string::npos;
           at = bad.find(", line ", at + 1)) {
        const int line = std::stoi(bad.substr(at + 7));
        EXPECT_LT(before, line) << bad;
        before = line;
      }
    }
  }
}

TEST_F(LoadConnections, FailAtTheRowAtWhichOneConnectionFails) {
  const std::string file = LoadedFile([](int id) -> std::string {
    return id % 6'000 == 0 ? std::to_string(id) + "x,not a number\r\n" : "";
  });
  for (const std::string allowed : {"", "maximum_error_count = 3\n"}) {
    std::string reason, rejects, sources;
    const std::string before = Figures();
    for (const int connections : {1, 2, 4}) {
      sandbox_.WriteFile("rows.csv", file);
      PutPump(allowed + ConnectionsKey(connections));
      const std::string log = Run();
      EXPECT_EQ("failure\n", Status()) << log;
      EXPECT_EQ(before, Figures());
      const std::size_t at = log.find("rows.csv, line ");
      const std::string said = log.substr(at, log.find('\n', at) - at);
      const std::string bad = SortedLines(WithoutCr(sandbox_.ReadFile("bad")));
      if (connections == 1) {
        reason = said;
        rejects = bad;
        sources = sandbox_.ReadFile("bad.Source");
        EXPECT_THAT(reason, HasSubstr(allowed.empty() ? "\"6000x\" is not" : "\"24000x\" is not"));
      }
      EXPECT_EQ(reason, said) << connections;
      EXPECT_EQ(rejects, bad) << connections;
      EXPECT_EQ(sources, sandbox_.ReadFile("bad.Source")) << connections;
    }
  }
}

TEST_F(LoadConnections, FailWithTheWordsOfOneConnectionWhenTheTableTakesNotAllRows) {
  const std::string known =
      "DROP TABLE IF EXISTS known; CREATE TABLE known (id INT PRIMARY KEY); INSERT INTO known "
      "SELECT g FROM generate_series(0, 60000) g WHERE g <> 30009; ALTER TABLE t ADD CONSTRAINT f "
      "FOREIGN KEY (id) REFERENCES known";
  const std::pair<std::string, const char*> cases[] = {
      {"CREATE OR REPLACE FUNCTION skip() RETURNS trigger LANGUAGE plpgsql AS $$ BEGIN "
       "IF NEW.id = 30009 THEN RETURN NULL; END IF; RETURN NEW; END $$; "
       "CREATE TRIGGER s BEFORE INSERT ON t FOR EACH ROW EXECUTE FUNCTION skip()",
       "60000 rows were read but the server took 59999; nothing of them may be kept"},
      {known, "rows.csv, line 34296: insert or update on table \"t\" violates foreign key"},
      {known + " DEFERRABLE INITIALLY DEFERRED", "Key (id)=(30009) is not present"}};
  sandbox_.WriteFile("rows.csv", LoadedFile([](int) { return ""; }));
  for (const auto& [more, reason] : cases) {
    MakeTable();
    sandbox_.Connect("DW")->Execute(more);
    const std::string before = Figures();
    for (const int connections : {1, 4}) {
      PutPump(ConnectionsKey(connections));
      const std::string log = Run();
      EXPECT_EQ("failure\n", Status()) << connections;
      EXPECT_THAT(log, HasSubstr(reason)) << connections;
      EXPECT_EQ(before, Figures()) << connections;
    }
  }
}

TEST_F(LoadConnections, LeaveTheOldRowsWhateverHappensToOneOfThem) {
  const auto terminate = [this](const std::string& backend) {
    return
        [this, backend](pid_t) { Await("SELECT pg_terminate_backend((" + backend + "), 10000)"); };
  };
  const auto signal = [](int number) { return [number](pid_t run) { kill(run, number); }; };
  const struct {
    const char* what;
    std::function<void(pid_t run)> happens;
    bool opensGate;
    const char* status;
    const char* log;
    const char* keys = "";
  } cases[] = {
      {"the waiting connection is lost", terminate(kWaiting), false, "failure\n", "open it again"},
      {"the one that made the table is lost", terminate(kOwner), true, "failure\n",
       "open it again"},
      {"its time has passed", [](pid_t) {}, false, "failure\n", "took longer than its 4 seconds",
       "timeout_seconds = 4\n"},
      {"the run is to end", signal(SIGTERM), true, "ok\n", "Waiting for end of execution"},
      {"the run is killed", signal(SIGKILL), true, "running\n", ""},
  };
  sandbox_.WriteFile("rows.csv", LoadedFile([](int) { return ""; }));
  for (const std::string load : {"", "load = 'replace'\n"}) {
    for (const auto& c : cases) {
      SCOPED_TRACE(load + c.what);
      MakeTable();
      const std::string before = Figures();
      PutPump(load + ConnectionsKey(3) + c.keys);
      const auto gate = sandbox_.Connect("DW");
      gate->Execute("SELECT pg_advisory_lock(42)");
      const RunningProgram run = Start();
      EXPECT_NE("", Await(kWaiting)) << Log();
      EXPECT_EQ("2", Figures().substr(0, 1)) << "readers see the old rows";
      c.happens(run.pid);
      if (c.opensGate) gate->Execute("SELECT pg_advisory_unlock(42)");
      sandbox_.Wait(run);
      EXPECT_EQ(c.status, Status());
      EXPECT_THAT(Log(), AllOf(HasSubstr(c.log), Not(HasSubstr("over one connection"))));
      const std::string all =
          (load.empty() ? "60002" : "60000") + std::string("\\|[0-9a-f]+\\|1\n");
      if (c.status == std::string("ok\n")) {
        EXPECT_THAT(Figures(), testing::MatchesRegex(all));
        continue;
      }
      const bool leavesTable = c.status == std::string("running\n");  // nobody is left to drop it
      EXPECT_EQ(before.substr(0, before.size() - 2) + (leavesTable ? "0\n" : "1\n"), Figures());

      gate->Execute("SELECT pg_advisory_unlock_all()");
      PutPump(load + ConnectionsKey(3));
      EXPECT_THAT(Run(), HasSubstr("60000 rows")) << "the next run";
      EXPECT_EQ("ok\n", Status());
      EXPECT_THAT(Figures(), testing::MatchesRegex(all));
    }
  }
}

TEST_F(LoadConnections, AreOneWhereTheFileHasNoParts) {
  sandbox_.WriteFile("rows.csv", std::string("\xFF\xFE"
                                             "i\0d\0\n\0"
                                             "7\0\n\0",
                                             12));
  PutPump(ConnectionsKey(2), ", \"Encoding\" = \"auto\"");
  EXPECT_THAT(Run(), AllOf(HasSubstr("rows.csv cannot be read in parts: its encoding is utf-16le; "
                                     "it is loaded over one connection"),
                           HasSubstr("\"pump\" succeeded: 1 rows")));
  std::filesystem::remove(sandbox_.PathOf("rows.csv"));
  ASSERT_EQ(0, mkfifo(sandbox_.PathOf("rows.csv").c_str(), 0600));
  const RunningProgram run = Start();
  sandbox_.WriteFile("rows.csv", "id,words\n8,eight\n");
  sandbox_.Wait(run);
  EXPECT_THAT(Log(), AllOf(HasSubstr("it is loaded over one connection"),
                           HasSubstr("\"pump\" succeeded: 1 rows")));
  EXPECT_EQ("7\n8\n", sandbox_.Query("SELECT id FROM t WHERE id > 5 ORDER BY id"));
}

TEST_F(LoadConnections, AreRefusedByTheCheckWhereTheServerIsAnotherOne) {
  PutPump(ConnectionsKey(2));
  const std::string known = sandbox_.ReadFile("Sales_LoadDW.toml");
  std::string variable = known;
  variable.replace(variable.find("(local)\", \"Initial"), 7, "${DestinationServer}");
  const Sandbox embedded;
  const struct {
    const Sandbox& sandbox;
    const std::string& package;
    const char* problem;
  } cases[] = {
      {sandbox_, known, ""},
      {embedded, variable, ""},
      {embedded, known,
       "p.toml: the step \"pump\" will not run: \"load_connections\" is for PostgreSQL, and the "
       "connection \"warehouse\" leads elsewhere; remove the key\n"},
  };
  for (const auto& c : cases) {
    c.sandbox.WriteFile("p.toml", c.package);
    EXPECT_EQ(c.problem, c.sandbox.Run({"torvik-admin", "package", "check", "p.toml"}).err);
  }
}

}  // namespace
}  // namespace torvik
