// Whole runs, and who is called about them: real servers on loopback ports, killed processes.

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "platform/Ado.h"
#include "scenarios/Sandbox.h"
#include "servers/PrivateServer.h"

namespace torvik {
namespace {

using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* kSteps = R"toml([[connections]]
name = "warehouse"
provider = "SQLOLEDB"
properties = { "Data Source" = "${DestinationServer}", "Initial Catalog" = "${DestServerDatabaseName}" }
[[steps]]
name = "insert"
task = "ExecuteSQL"
connection = "warehouse"
sql = "INSERT INTO t VALUES (1)"
)toml";

constexpr const char* kWait = R"toml([[steps]]
name = "wait"
task = "ExecuteProcess"
program = "sleep"
arguments = ['60']
)toml";

/// The jobs sales.etl, which succeeds when there is a table t, and slow.etl, which takes a minute.
class AlarmRun : public testing::Test {
 protected:
  AlarmRun() {
    sandbox_.SetVariable("no_proxy", "127.0.0.1");
    sandbox_.PutPackage("Sales", kSteps);
    sandbox_.PutPackage("Slow", kWait);
    sandbox_.WriteJob("sales.etl", "Sales");
    sandbox_.WriteJob("slow.etl", "Slow");
    sandbox_.WriteFile("slow.etl", Replaced(sandbox_.ReadFile("slow.etl"), "logs\\", "slow\\"));
    sandbox_.WriteFile("metrics/readme", "");
    sandbox_.WriteFile("page", "#!/bin/sh\ncat >> " + sandbox_.PathOf("paged") + "\n");
    std::filesystem::permissions(sandbox_.PathOf("page"), std::filesystem::perms::owner_all);
  }

  static std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    return text.replace(text.find(from), from.size(), to);
  }

  void Settle(int mailPort, int pingPort) {
    sandbox_.WriteFile("url", "http://127.0.0.1:" + std::to_string(pingPort) + "/s3cret\n");
    std::filesystem::permissions(sandbox_.PathOf("url"), std::filesystem::perms::owner_read);
    sandbox_.AddSettings(
        "[mail]\nserver = 127.0.0.1\ntls = off\nfrom = t@example.com\nport = " +
        std::to_string(mailPort) + "\n[monitor]\ntextfile_directory = " +
        sandbox_.PathOf("metrics") + "\nping_url_file = " + sandbox_.PathOf("url") +
        "\n[notify]\nmail_to = dba@example.com\ncommand = " + sandbox_.PathOf("page") + "\n");
  }

  void SetTable(bool isThere) {
    sandbox_.Connect("DW")->Execute(isThere ? "CREATE TABLE t (a INTEGER)" : "DROP TABLE t");
  }

  /// The word in the status file; what was said is in `said_`.
  std::string RunJob(const std::string& job) {
    const ProgramResult run = sandbox_.Run({"torvik", "-configfile", job, "-statusfile", "s.txt"});
    said_ = run.err;
    EXPECT_THAT(said_, Not(HasSubstr("s3cret")));
    return Word();
  }
  std::string Word() const { return WithoutCr(sandbox_.ReadFile("s.txt")); }

  static long Mails(const PrivateServer& mail) {
    const std::string commands = mail.Read("commands");
    long mails = 0;
    for (std::size_t at = 0; (at = commands.find("DATA\n", at)) != std::string::npos; ++at) ++mails;
    return mails;
  }

  std::string Metrics() const {
    std::string texts;
    for (const auto& entry : std::filesystem::directory_iterator(sandbox_.PathOf("metrics"))) {
      if (entry.path().extension() != ".prom") continue;
      EXPECT_EQ(entry.status().permissions() & std::filesystem::perms::others_read,
                std::filesystem::perms::others_read);
      const std::string name = "metrics/" + entry.path().filename().string();
      const ProgramResult check =
          sandbox_.Run({"/bin/sh", "-c", "promtool check metrics < " + name});
      EXPECT_EQ(check.exitCode, 0) << check.err;
      EXPECT_EQ(check.err + check.out, "");
      texts += sandbox_.ReadFile(name);
    }
    return texts;
  }

  /// Starts slow.etl by a command and kills its runner in the middle of it.
  ProgramResult RunKilled(const std::vector<std::string>& command) {
    const RunningProgram run = sandbox_.Start(command);
    std::string runner;
    while (runner.empty()) {
      std::this_thread::sleep_for(20ms);
      runner = sandbox_
                   .Run({"/bin/sh", "-c",
                         "test -s slow/Slow.log && pgrep -f -- '-configfile slow.etl' | "
                         "while read p; do grep -qz ^TORVIK_STATE=" +
                             sandbox_.PathOf("state") +
                             " /proc/$p/environ && [ \"$(cat /proc/$p/comm)\" = torvik ] && "
                             "echo $p; done"})
                   .out;
    }
    kill(std::stoi(runner), SIGKILL);
    return sandbox_.Wait(run);
  }

  Sandbox sandbox_;
  std::string said_;
};

TEST_F(AlarmRun, SomebodyIsCalledWhenAJobFailsAndWhenItIsWellAgain) {
  const PrivateServer mail("../tests/servers/smtp-peer.py"), pings("../tests/servers/http-peer.py");
  Settle(mail.Port(), pings.Port());
  SetTable(true);
  EXPECT_EQ(RunJob("sales.etl"), "ok\n");
  EXPECT_EQ(Mails(mail), 0);
  SetTable(false);
  EXPECT_EQ(RunJob("sales.etl"), "failure\n");
  EXPECT_EQ(Mails(mail), 1);
  EXPECT_THAT(mail.Read("subject"), HasSubstr("Torvik: sales has failed"));
  EXPECT_THAT(mail.Read("text"),
              AllOf(HasSubstr("step \"insert\": "), HasSubstr("torvik-admin history show 2"),
                    HasSubstr("Error: DTS Package Execute error")));
  EXPECT_EQ(RunJob("sales.etl"), "failure\n");
  EXPECT_EQ(Mails(mail), 1);
  EXPECT_THAT(Metrics(), AllOf(HasSubstr("torvik_consecutive_failures{etl_job=\"sales\""),
                               HasSubstr("package=\"Sales\"} 2\n")));
  SetTable(true);
  EXPECT_EQ(RunJob("sales.etl"), "ok\n");
  EXPECT_EQ(Mails(mail), 2);
  EXPECT_THAT(mail.Read("subject"), HasSubstr("Torvik: sales has succeeded again"));
  EXPECT_THAT(said_, IsEmpty());
  const std::string reason = "step \"insert\": ";
  EXPECT_THAT(pings.Read("calls"),
              testing::MatchesRegex("(GET /s3cret/start\n)?GET /s3cret\n"
                                    "(GET /s3cret/start\n)?POST /s3cret/fail step \"insert\": .*\n"
                                    "(GET /s3cret/start\n)?POST /s3cret/fail step \"insert\": .*\n"
                                    "(GET /s3cret/start\n)?GET /s3cret\n"));
  EXPECT_THAT(sandbox_.ReadFile("paged"),
              testing::MatchesRegex("\\{\"id\":2,.*\"change\":\"failed\".*\\}\n"
                                    "\\{\"id\":4,.*\"change\":\"recovered\".*\\}\n"));
}

TEST_F(AlarmRun, OneThatWasKilledIsFoundByTheFrontEnd) {
  const PrivateServer mail("../tests/servers/smtp-peer.py"), pings("../tests/servers/http-peer.py");
  Settle(mail.Port(), pings.Port());
  EXPECT_EQ(RunKilled({"torvik-admin", "run", "slow.etl"}).exitCode, 3);
  EXPECT_EQ(Mails(mail), 1);
  EXPECT_THAT(mail.Read("text"), HasSubstr("its process is gone"));
  EXPECT_THAT(pings.Read("calls"), AllOf(HasSubstr("GET /s3cret/start\n"),
                                         HasSubstr("POST /s3cret/fail the run ended")));
  EXPECT_THAT(Metrics(), HasSubstr("torvik_last_run_ok{etl_job=\"slow\""));
}

TEST_F(AlarmRun, OneThatWasKilledIsFoundByTheNextRunOfAnyJobAndOnce) {
  const PrivateServer mail("../tests/servers/smtp-peer.py"), pings("../tests/servers/http-peer.py");
  Settle(mail.Port(), pings.Port());
  SetTable(true);
  RunKilled({"torvik", "-configfile", "slow.etl", "-statusfile", "s.txt"});
  EXPECT_EQ(Word(), "running\n");
  EXPECT_EQ(Mails(mail), 0);
  EXPECT_EQ(RunJob("sales.etl"), "ok\n");
  EXPECT_EQ(Mails(mail), 1);
  EXPECT_THAT(mail.Read("subject"), HasSubstr("slow has failed"));
  EXPECT_EQ(sandbox_.Run({"torvik-admin", "alarms"}).exitCode, 0);
  EXPECT_EQ(Mails(mail), 1);
}

TEST_F(AlarmRun, AServerThatIsDownChangesNoVerdictAndGetsTheMailLater) {
  PrivateServer mail("../tests/servers/smtp-peer.py");
  const PrivateServer pings("../tests/servers/http-peer.py", "answer 500 4");
  Settle(mail.Port(), pings.Port());
  mail.Stop();
  EXPECT_EQ(RunJob("sales.etl"), "failure\n");
  EXPECT_THAT(said_, HasSubstr("the mail about the run 1 of sales is not sent: the mail server "));
  const ProgramResult again = sandbox_.Run({"torvik-admin", "alarms"});
  EXPECT_EQ(again.exitCode, 1);
  EXPECT_THAT(again.err, HasSubstr("the mail about the run 1 of sales is not sent"));
  const PrivateServer other("../tests/servers/smtp-peer.py");
  const std::string settings = sandbox_.ReadFile("torvik.conf");
  sandbox_.WriteFile("torvik.conf", Replaced(settings, "port = " + std::to_string(mail.Port()),
                                             "port = " + std::to_string(other.Port())));
  EXPECT_EQ(sandbox_.Run({"torvik-admin", "alarms", "--json"}).out,
            "{\n  \"announced\": 1,\n  \"problems\": []\n}\n");
  EXPECT_EQ(Mails(other), 1);
}

TEST_F(AlarmRun, AServiceThatHangsKeepsNoJobBack) {
  const PrivateServer mail("../tests/servers/smtp-peer.py");
  const PrivateServer pings("../tests/servers/http-peer.py", "hang");
  Settle(mail.Port(), pings.Port());
  SetTable(true);
  const auto begin = std::chrono::steady_clock::now();
  const RunningProgram run =
      sandbox_.Start({"torvik", "-configfile", "sales.etl", "-statusfile", "s.txt"});
  while (Word() != "ok\n" && std::chrono::steady_clock::now() - begin < 9s)
    std::this_thread::sleep_for(10ms);
  EXPECT_EQ(Word(), "ok\n");
  while (pings.Read("calls").find("GET /s3cret\n") == std::string::npos &&
         std::chrono::steady_clock::now() - begin < 15s)
    std::this_thread::sleep_for(10ms);
  EXPECT_EQ(kill(run.pid, 0), 0) << "it still waits for the service";
  EXPECT_EQ(sandbox_.Run({"/usr/bin/flock", "-n", "sales.etl", "true"}).exitCode, 0);
  kill(run.pid, SIGKILL);
  sandbox_.Wait(run);
}

}  // namespace
}  // namespace torvik
