// The history that machines share: what its tables give back, and runs whose server is away at
// their end.

#include "history/SharedHistory.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "fakes/FakeClock.h"
#include "fakes/FakeLocks.h"
#include "fakes/FakeRunHistory.h"
#include "history/SendRuns.h"
#include "platform/linux/AdoServers.h"
#include "platform/linux/sqlite/EmbeddedFixture.h"
#include "platform/linux/system/WhoRuns.h"
#include "scenarios/Sandbox.h"
#include "servers/PostgreSqlServer.h"

namespace torvik {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kDatabase = "shared_runs";

void DropDatabase() {
  const auto admin = PostgreSqlServer::Instance().NewConnection();
  admin->Open();
  admin->Execute(std::string("DROP DATABASE ") + kDatabase + " WITH (FORCE)");
}

class SharedRuns : public testing::TestWithParam<const char*> {
 protected:
  SharedRuns() : isEmbedded_(GetParam() == std::string("(local)")) {
    if (isEmbedded_) return;
    const PostgreSqlServer& server = PostgreSqlServer::Instance();
    server.MakeDatabase(kDatabase);
    Settings settings = server.AsServer("pg");
    for (auto& [name, section] : settings.servers) section.options["uid"] = "torvik";
    servers_ = NewAdoProvider(settings);
  }
  ~SharedRuns() override {
    if (!isEmbedded_) DropDatabase();
  }

  ado::Provider& Databases() { return isEmbedded_ ? embedded_.Databases() : *servers_; }
  SharedHistory Open() { return SharedHistory(Databases(), place_); }

  SentRuns Send(RunHistory& local) {
    return SendRuns({local, Databases(), locks_, clock_}, place_, "turn", 5s);
  }

  static RunRecord Ended(const std::string& job, RunOutcome outcome, std::chrono::seconds ago) {
    RunRecord run;
    run.job = job;
    run.host = "etl-1";
    run.begin =
        std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now()) - ago;
    if (outcome != RunOutcome::Lost) run.end = run.begin + 1250ms;
    run.outcome = outcome;
    return run;
  }

  const bool isEmbedded_;
  EmbeddedFixture embedded_;
  std::unique_ptr<ado::Provider> servers_;
  const HistoryPlace place_{GetParam(), isEmbedded_ ? "dw" : kDatabase};
  FakeLocks locks_;
  FakeClock clock_;
};

INSTANTIATE_TEST_SUITE_P(, SharedRuns, testing::Values("(local)", "pg", "by odbc"),
                         [](const auto& tested) { return std::to_string(tested.index); });

TEST_P(SharedRuns, GiveBackWhatWasSentOnce) {
  FakeRunHistory local;
  RunRecord run = Ended("/jobs/Größe 'x'.etl", RunOutcome::Failure, 60s);
  run.error = std::string("bytes \xff and \0 in a\nreason", 25);
  run.rows = 5'000'000'000;
  run.isAttended = true;
  run.variables = {{"Region", "EMEA"}, {"Empty", ""}};
  run.steps = {{"load", run.begin, run.end, StepOutcome::Failure, 7, 3, 2, "why"},
               {"next", run.begin, {}, StepOutcome::Running, 0, 0, 1, ""}};
  run.fetches = {{"orders", run.begin, run.end, true, 4, 6'000'000'000, ""}};
  local.Write(run);
  RunRecord other = Ended("C:\\jobs\\Stock.etl", RunOutcome::Ok, 10s);
  local.Write(other);
  RunRecord going = Ended("/jobs/slow.etl", RunOutcome::Running, 5s);
  local.Write(going);
  EXPECT_THAT(Open().Runs({}), IsEmpty());
  EXPECT_EQ(Send(local).sent, 2u);
  local.sent.clear();  // as if the note had been lost
  EXPECT_EQ(Send(local).problem, "");

  auto shared = Open();
  const auto read = shared.Run("etl-1", run.id);
  ASSERT_TRUE(read);
  EXPECT_EQ(read->error, "bytes ? and   in a\nreason");
  EXPECT_EQ(read->job, run.job);
  EXPECT_TRUE(read->begin == run.begin && read->end == run.end && read->isAttended);
  EXPECT_EQ(read->rows, run.rows);
  EXPECT_EQ(read->outcome, run.outcome);
  EXPECT_EQ(read->steps, run.steps);
  EXPECT_EQ(read->fetches, run.fetches);
  EXPECT_EQ(read->variables, run.variables);
  EXPECT_FALSE(shared.Run("etl-2", run.id));

  const auto count = [&](const RunFilter& filter) { return shared.Runs(filter).size(); };
  EXPECT_EQ(count({}), 2u);
  EXPECT_EQ(shared.Runs({.limit = 1}).at(0).job, other.job);
  EXPECT_EQ(count({.job = "stock"}), 1u);
  EXPECT_EQ(count({.job = "/jobs/Größe 'x'.etl"}), 1u);
  EXPECT_EQ(count({.failedOnly = true}), 1u);
  EXPECT_EQ(count({.since = run.begin + 1s}), 1u);
  EXPECT_EQ(count({.since = run.begin}), 2u);
}

/// An embedded server takes texts of any length.
class RunsOnServers : public SharedRuns {};
INSTANTIATE_TEST_SUITE_P(, RunsOnServers, testing::Values("pg", "by odbc"),
                         [](const auto& tested) { return std::to_string(tested.index); });

TEST_P(RunsOnServers, ARunThatTheServerDoesNotTakeKeepsNoOtherAway) {
  FakeRunHistory local;
  for (const std::chrono::seconds ago : {30s, 20s, 10s}) {
    RunRecord run = Ended("/jobs/a.etl", RunOutcome::Lost, ago);
    if (ago == 20s) run.host.assign(400, 'h');
    local.Write(run);
  }

  const SentRuns sent = Send(local);
  EXPECT_EQ(sent.sent, 2u);
  EXPECT_THAT(sent.problem, AllOf(HasSubstr("run 2: "), HasSubstr("torvik-admin history send")));
  EXPECT_EQ(Open().Runs({}).size(), 2u);
}

constexpr const char* kStep = R"toml([[steps]]
name = "say"
task = "SetVariables"
values = { Region = "north" }
)toml";

TEST(SharedHistoryRun, WhatAServerMissedIsSentWhenItIsBack) {
  const PostgreSqlServer& server = PostgreSqlServer::Instance();
  server.MakeDatabase(kDatabase);
  Sandbox sandbox;
  sandbox.PutPackage("Say", "Region = \"\"\n" + std::string(kStep));
  sandbox.WriteJob("say.etl", "Say");
  sandbox.AddSettings(server.Section("central") +
                      "[server away]\nbackend = postgresql\nhost = 127.0.0.1\nport = 1\n");
  const std::string conf = sandbox.ReadFile("torvik.conf");
  const auto share = [&](const std::string& name) {
    sandbox.WriteFile("torvik.conf",
                      conf + "[history]\nserver = " + name + "\ndatabase = " + kDatabase + "\n");
  };
  const std::vector<std::string> run = {"torvik", "-configfile", "say.etl", "-statusfile", "s"};
  share("away");
  EXPECT_THAT(sandbox.Run(run).err, AllOf(HasSubstr("\"away\""), HasSubstr("history send")));
  EXPECT_EQ(WithoutCr(sandbox.ReadFile("s")), "ok\n");
  EXPECT_EQ(sandbox.Run({"torvik-admin", "history", "--everywhere"}).exitCode, 1);
  share("central");
  EXPECT_THAT(sandbox.Run(run).err, Not(HasSubstr("central")));
  const std::string list = sandbox.Run({"torvik-admin", "history", "--everywhere"}).out;
  EXPECT_THAT(list, AllOf(HasSubstr(":1 "), HasSubstr(":2 ")));
  EXPECT_THAT(sandbox.Run({"torvik-admin", "history", "show", HostName() + ":1"}).out,
              HasSubstr("say   ok"));
  EXPECT_THAT(sandbox.Run({"torvik-admin", "history", "send"}).out, HasSubstr("0 runs are sent"));
  DropDatabase();
}

}  // namespace
}  // namespace torvik
