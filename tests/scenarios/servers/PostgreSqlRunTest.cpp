// Whole runs of the built program with PostgreSQL as package server and warehouse.

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>

#include "scenarios/ScenarioRun.h"
#include "servers/PostgreSqlServer.h"

namespace torvik {
namespace {

using testing::HasSubstr;
using testing::Not;

/// Texts that must stand in `whole` in this order.
void ExpectInOrder(const std::string& whole, const std::vector<std::string>& parts) {
  std::size_t from = 0;
  for (const std::string& part : parts) {
    const std::size_t found = whole.find(part, from);
    ASSERT_NE(found, std::string::npos) << "missing: " << part << "\nin:\n" << whole;
    from = found + part.size();
  }
}

TEST(PostgreSqlRun, TheExampleGivesTheSameFiguresAndACheckOfItChangesNothing) {
  const PostgreSqlServer& server = PostgreSqlServer::Instance();
  const std::string checkout = TORVIK_SOURCE_DIR;
  Sandbox sandbox(server.Section("(local)"));
  RunScenario(checkout + "/tests/scenarios/air-safety.scenario", sandbox);
  const std::string before = server.Dump();
  EXPECT_NE(before.find("LAGUARDIA NY"), std::string::npos);
  for (const char* job : {"Init", "Transformations", "LoadDW", "Overall"}) {
    const auto check = sandbox.Run({"torvik-admin", "job", "check",
                                    checkout + "/examples/air-safety/AirSafety_" + job + ".etl"});
    EXPECT_EQ(0, check.exitCode) << check.out << check.err;
  }
  EXPECT_TRUE(before == server.Dump());
}

TEST(PostgreSqlRun, ScenariosGiveTheSameRowsAsOnAnEmbeddedServer) {
  const PostgreSqlServer& server = PostgreSqlServer::Instance();
  for (const char* scenario : {"imported-texts", "watermark"}) {
    server.MakeDatabase("DW");
    Sandbox sandbox(server.Section("(local)"));
    ASSERT_EQ(0, sandbox.Run({"torvik-admin", "server", "init", "--warehouse", "DW"}).exitCode);
    RunScenario(TORVIK_SOURCE_DIR + ("/tests/scenarios/" + std::string(scenario) + ".scenario"),
                sandbox);
  }
  // Other tests list the server's databases.
  const auto admin = server.NewConnection();
  admin->Open();
  admin->Execute("DROP DATABASE \"DW\"");
}

TEST(PostgreSqlRun, AServerCheckNamesWhatIsMissing) {
  const PostgreSqlServer& server = PostgreSqlServer::Instance();
  server.MakeDatabase("postgres_guests");
  Sandbox sandbox("[server (local)]\nbackend = postgresql\nhost = 127.0.0.1\nport = " +
                  std::to_string(server.Port()) + "\ndatabase = postgres_guests\n");
  const auto check = [&](const std::string& password) {
    sandbox.WriteFile("word", password + "\n");
    std::filesystem::permissions(sandbox.PathOf("word"), std::filesystem::perms::owner_read);
    const auto result = sandbox.Run({"torvik-admin", "server", "check", "--json", "--user",
                                     "torvik_guest", "--password-file", "word"});
    std::filesystem::remove(sandbox.PathOf("word"));
    EXPECT_THAT(result.out + result.err, Not(HasSubstr("geheim")));
    return std::to_string(result.exitCode) + result.out;
  };
  const auto admin = server.NewConnection("postgres_guests");
  admin->Open();
  admin->Execute(
      "DROP ROLE IF EXISTS torvik_guest; CREATE ROLE torvik_guest LOGIN PASSWORD 'geheim'");
  EXPECT_THAT(check("geheim"), testing::AllOf(HasSubstr("torvik-admin server init"),
                                              HasSubstr("\"problems\": 1,\n  \"not_checked\": 2")));
  admin->Execute("CREATE SCHEMA msdb; CREATE TABLE msdb.sysdtspackages (id INT)");
  EXPECT_THAT(check("geheim"), HasSubstr("\"problems\": 2,\n  \"not_checked\": 0"));
  admin->Execute(
      "GRANT USAGE ON SCHEMA msdb TO torvik_guest; GRANT SELECT, INSERT ON msdb.sysdtspackages TO "
      "torvik_guest");
  EXPECT_THAT(check("geheim"), testing::StartsWith("0{"));
  sandbox.AddSettings("user = torvik_guest\npassword_file = " + sandbox.PathOf("of-settings") +
                      "\n");
  sandbox.WriteFile("of-settings", "geheim\n");
  EXPECT_THAT(check("not asked"), HasSubstr("so that others may use it; run chmod 600"));
  std::filesystem::permissions(sandbox.PathOf("of-settings"), std::filesystem::perms::owner_read);
  EXPECT_THAT(check("not asked"), testing::StartsWith("0{"));
  std::filesystem::remove(sandbox.PathOf("of-settings"));
  sandbox.WriteFile("of-settings", "geheim wrong\n");
  std::filesystem::permissions(sandbox.PathOf("of-settings"), std::filesystem::perms::owner_read);
  EXPECT_THAT(check("geheim"), HasSubstr("password authentication failed"));
  admin->Execute("DROP OWNED BY torvik_guest; DROP ROLE torvik_guest");
}

class FaultyRun : public testing::Test {
 protected:
  FaultyRun() {
    server_.MakeDatabase("FaultyDW");
    const auto made = sandbox_.Run({"torvik-admin", "server", "init", "--warehouse", "FaultyDW"});
    EXPECT_EQ(made.exitCode, 0) << made.err;
  }

  /// The log of an unattended run of `job`; `status` is the word that it leaves.
  std::string Run(const std::string& job, std::string& status) {
    sandbox_.WriteFile("err.txt", "");
    sandbox_.WriteFile("job.etl", job);
    sandbox_.Run({"torvik", "-configfile", "job.etl", "-statusfile", "status"});
    status = WithoutCr(sandbox_.ReadFile("status"));
    return WithoutCr(sandbox_.ReadFile("err.txt"));
  }

  static std::string Job(const std::string& package, const std::string& packageServer,
                         const std::string& warehouse) {
    return "[Package Info]\nPackage=" + package +
           "\nLogFile=S:\\err.txt\nLogFileDir=S:\\logs\\\n[DTS Server Info]\n" + packageServer +
           "\n[Datawarehouse Server Info]\n" + warehouse + "\n";
  }

  PostgreSqlServer& server_ = PostgreSqlServer::Instance();
  Sandbox sandbox_{server_.Section("(local)") + server_.Section("strict")};
};

TEST_F(FaultyRun, ItsServerTellsTheRunInItsOwnTables) {
  sandbox_.PutPackage("Logged_LoadDW", R"toml([[connections]]
name = "dw"
provider = "SQLOLEDB"
properties = { "Data Source" = "(local)", "Initial Catalog" = "FaultyDW", "Integrated Security" = "SSPI" }
[[steps]]
name = "two"
task = "ExecuteSQL"
connection = "dw"
sql = "CREATE TEMPORARY TABLE t AS SELECT 1 UNION ALL SELECT 2"
[[steps]]
name = "bad"
task = "ExecuteSQL"
connection = "dw"
sql = "SELECT * FROM no_such_table"
after = [ { step = "two" } ]
)toml");
  sandbox_.WriteFile("p.toml", "log_to_server = true\nfail_on_error = true\n" +
                                   sandbox_.ReadFile("Logged_LoadDW.toml"));
  ASSERT_EQ(sandbox_.Run({"torvik-admin", "package", "put", "p.toml"}).exitCode, 0);
  std::string status;
  EXPECT_THAT(Run(Job("Logged_LoadDW", "DTSServer=(local)\nDTSNTAut=TRUE",
                      "DWServer=(local)\nDWNTAut=TRUE\nDWDB=FaultyDW"),
                  status),
              Not(HasSubstr("log on the server")));
  EXPECT_EQ(status, "failure\n");
  EXPECT_THAT(sandbox_.Query("SELECT l.name, l.errorcode, l.errordescription FROM "
                             "sysdtspackagelog l JOIN sysdtspackages p ON p.versionid = "
                             "l.versionid AND p.id = l.id WHERE l.endtime >= l.starttime AND "
                             "l.logdate > LOCALTIMESTAMP - interval '1 hour' AND l.starttime > "
                             "LOCALTIMESTAMP - interval '1 hour' AND computer <> ''",
                             "msdb"),
              testing::MatchesRegex("Logged_LoadDW\\|-2147220440\\|.*no_such_table.*\n"));
  EXPECT_EQ(sandbox_.Query("SELECT stepname, stepexecstatus, stepexecresult FROM sysdtssteplog "
                           "ORDER BY stepexecutionid",
                           "msdb"),
            "two|4|0\nbad|4|1\n");
}

TEST_F(FaultyRun, MovesRowsBetweenDatabasesAndNamesTheOnesThatAreRefused) {
  server_.MakeDatabase("Origin");
  sandbox_.PutPackage("Move_LoadDW", R"toml([[connections]]
name = "origin"
provider = "SQLOLEDB"
properties = { "Data Source" = "(local)", "Initial Catalog" = "Origin", "Integrated Security" = "SSPI" }
[[connections]]
name = "dw"
provider = "SQLOLEDB"
properties = { "Data Source" = "(local)", "Initial Catalog" = "FaultyDW", "Integrated Security" = "SSPI" }
[[steps]]
name = "source"
task = "ExecuteSQL"
connection = "origin"
sql = "CREATE TABLE s AS SELECT g AS id, 'row ' || g AS name FROM generate_series(1, 20000) g"
[[steps]]
name = "target"
task = "ExecuteSQL"
connection = "dw"
sql = "DROP TABLE IF EXISTS t; CREATE TABLE t (id INT UNIQUE CHECK (id <> 15000), name TEXT)"
[[steps]]
name = "move"
task = "DataPump"
source = "origin"
source_table = "s"
destination = "dw"
table = "t"
maximum_error_count = 1
after = [ { step = "source" }, { step = "target" } ]
[[steps]]
name = "again"
task = "DataPump"
source = "origin"
source_sql = "SELECT name, id FROM s WHERE id <> 15000"
destination = "dw"
table = "t"
load = "truncate"
after = [ { step = "move" } ]
[[steps]]
name = "change"
task = "DataDrivenQuery"
source = "origin"
source_sql = "SELECT id, name FROM s WHERE id IN (2, 15000, 4) ORDER BY id"
destination = "dw"
table = "t"
maximum_error_count = 1
columns = { name = "name" }
after = [ { step = "again" } ]
[[steps.queries]]
on = "insert"
sql = "INSERT INTO t VALUES (?, ?)"
parameters = ["id", "name"]
[[steps.queries]]
on = "update"
sql = "UPDATE t SET name = ?, id = -id WHERE id = ?"
parameters = ["name", "id"]
[[steps.transformations]]
type = "script"
destinations = ["id"]
script = '''
Function Main()
  DTSDestination("id") = DTSSource("id")
  Main = DTSTransformStat_UpdateQuery
  If DTSSource("id") = 15000 Then Main = DTSTransformStat_InsertQuery
End Function
'''
)toml");
  std::string status;
  const std::string log = Run(Job("Move_LoadDW", "DTSServer=(local)\nDTSNTAut=TRUE",
                                  "DWServer=(local)\nDWNTAut=TRUE\nDWDB=FaultyDW"),
                              status);
  EXPECT_EQ(status, "ok\n") << log;
  EXPECT_EQ(sandbox_.Query("SELECT COUNT(*), MIN(name), SUM(id) FROM t", "FaultyDW"),
            "19999|row 1|199994988\n");  // two were turned negative
  EXPECT_THAT(log, HasSubstr("19999 rows, 1 rejected"));
  EXPECT_THAT(log, HasSubstr("\"again\" succeeded: 19999 rows"));
  EXPECT_THAT(log, HasSubstr("\"change\" succeeded: 2 rows, 1 rejected"));
}

TEST_F(FaultyRun, EndsWithTheDriversWordsAndTheRightStatusWord) {
  const std::string connection = R"toml([[connections]]
name = "dw"
provider = "SQLOLEDB"
properties = { "Data Source" = "(local)", "Initial Catalog" = "FaultyDW", "Integrated Security" = "SSPI" }
)toml";
  sandbox_.PutPackage("Sales_LoadDW", connection + R"toml([[steps]]
name = "look"
task = "ExecuteSQL"
connection = "dw"
sql = "SELECT * FROM no_such_table"
)toml");
  sandbox_.PutPackage("Killed_LoadDW", connection + R"toml([[steps]]
name = "lose the connection"
task = "ExecuteSQL"
connection = "dw"
sql = "SELECT pg_terminate_backend(pg_backend_pid())"
[[steps]]
name = "go on"
task = "ExecuteSQL"
connection = "dw"
sql = "SELECT 1"
after = [ { step = "lose the connection", on = "success" } ]
)toml");
  const std::string good = "DTSServer=(local)\nDTSNTAut=TRUE";
  const std::string goodWarehouse = "DWServer=(local)\nDWNTAut=TRUE\nDWDB=FaultyDW";
  const struct {
    const char* what;
    std::string job, status;
    std::vector<std::string> log;
  } cases[] = {
      {"unknown package",
       Job("Absent_LoadDW", good, goodWarehouse),
       "failure\n",
       {"Loading DTS Package : Absent_LoadDW", "Error: DTS Package loading error"}},
      {"package server down",
       Job("Sales_LoadDW", "DTSServer=127.0.0.1,1\nDTSNTAut=TRUE", goodWarehouse),
       "failure\n",
       {"Error: DTS Package loading error"}},
      {"refused logon",
       Job("Sales_LoadDW", good,
           "DWServer=strict\nDWNTAut=FALSE\nDWUser=nobody\nDWPwd=AbCdEfGh\nDWDB=FaultyDW"),
       "running\n",
       {"Loaded DTS Package : Sales_LoadDW", "Error while connecting to : strict",
        "authentication failed for user \"nobody\" (SQLSTATE ", "asked for: host=127.0.0.1",
        "user=nobody;password=***"}},
      {"unknown database",
       Job("Sales_LoadDW", good, "DWServer=(local)\nDWNTAut=TRUE\nDWDB=Nope"),
       "running\n",
       {"Error while connecting to : (local)", "database \"Nope\" does not exist (SQLSTATE "}},
      {"no link table",
       Job("Sales_LoadDW", good, "DWServer=(local)\nDWNTAut=TRUE\nDWDB=postgres"),
       "failure\n",
       {"Loaded DTS Package", "relation \"dwm_data_link\" does not exist"}},
      {"missing table",
       Job("Sales_LoadDW", good, goodWarehouse),
       "failure\n",
       {"Executing DTS Package : Sales_LoadDW", "relation \"no_such_table\" does not exist",
        "(SQLSTATE 42P01)", "Error: DTS Package Execute error", "look in 'Sales_LoadDW' failed."}},
      {"dead connection",
       Job("Killed_LoadDW", good, goodWarehouse),
       "failure\n",
       {"Step \"lose the connection\" failed", "(SQLSTATE ", "Error: DTS Package Execute error",
        "lose the connection in 'Killed_LoadDW' failed."}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    std::string status;
    const std::string log = Run(c.job, status);
    EXPECT_EQ(c.status, status) << log;
    ExpectInOrder(log, c.log);
    EXPECT_THAT(log, Not(HasSubstr(server_.Password())));
  }
}

TEST_F(FaultyRun, AStepWhoseTimeHasPassedIsCancelledAndUndoneAlone) {
  std::string body = R"toml([[connections]]
name = "dw"
provider = "SQLOLEDB"
properties = { "Data Source" = "(local)", "Initial Catalog" = "FaultyDW", "Integrated Security" = "SSPI" }
)toml";
  std::string before;
  for (const std::string step :
       {"CREATE TABLE t (n INTEGER); INSERT INTO t VALUES (1)\"",
        "INSERT INTO t VALUES (2); SELECT pg_sleep(60)\"\ntimeout_seconds = 1",
        "INSERT INTO t VALUES (3)\"\ncommit_success = true"}) {
    body += "[[steps]]\nname = \"" + step.substr(0, step.find('"')) +
            "\"\ntask = \"ExecuteSQL\"\nconnection = \"dw\"\njoin_transaction = true\nsql = \"" +
            step + "\n" + before;
    before =
        "after = [{ step = \"" + step.substr(0, step.find('"')) + "\", on = \"completion\" }]\n";
  }
  sandbox_.PutPackage("Slow_LoadDW", body);
  const auto begin = std::chrono::steady_clock::now();
  std::string status;
  const std::string log = Run(Job("Slow_LoadDW", "DTSServer=(local)\nDTSNTAut=TRUE",
                                  "DWServer=(local)\nDWNTAut=TRUE\nDWDB=FaultyDW"),
                              status);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
  EXPECT_EQ("failure\n", status);
  EXPECT_THAT(log, HasSubstr("took longer than its 1 second (timeout_seconds): "));
  EXPECT_EQ(sandbox_.Query("SELECT n FROM t ORDER BY n", "FaultyDW"), "1\n3\n") << log;
}

}  // namespace
}  // namespace torvik
