// A package whose steps are jobs: nights, their limits, and going on where one ended.

#include <gmock/gmock.h>
#include <signal.h>

#include <filesystem>
#include <thread>

#include "platform/Ado.h"
#include "scenarios/Sandbox.h"

namespace torvik {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// A step that notes what it is and, for a job "late", needs a table.
std::string Work(const std::string& table) {
  return R"toml([[connections]]
name = "dw"
provider = "SQLOLEDB"
properties = { "Data Source" = "(local)", "Initial Catalog" = "DW" }
[[steps]]
name = "work"
task = "ExecuteSQL"
connection = "dw"
sql = "INSERT INTO done SELECT '${Who}' FROM )toml" +
         table + "\"\n";
}

std::string JobStep(const std::string& name, const std::string& keys = "") {
  return "[[steps]]\nname = \"" + name + "\"\ntask = \"RunJob\"\njob = \"" + name + ".etl\"\n" +
         keys + "\n";
}

class Night : public testing::Test {
 protected:
  ProgramResult Admin(std::vector<std::string> words) const {
    words.insert(words.begin(), "torvik-admin");
    return sandbox_.Run(words);
  }

  /// With logs of its own.
  void PutJob(const std::string& name, const std::string& body) const {
    sandbox_.PutPackage(name, body);
    sandbox_.WriteJob(name + ".etl", name);
    std::string job = sandbox_.ReadFile(name + ".etl");
    for (const std::string place : {"err.txt", "logs"})
      job.replace(job.find(place), place.size(), name + place);
    sandbox_.WriteFile(name + ".etl", job);
  }

  Sandbox sandbox_;
};

TEST_F(Night, SaysWhyAJobFailedAndGoesOnWithWhatIsMissing) {
  sandbox_.Connect("DW")->Execute("CREATE TABLE done (job TEXT); CREATE TABLE one AS SELECT 1");
  for (const std::string name : {"first", "late", "last"})
    PutJob(name, "Who = \"\"\n" + Work(name == "late" ? "no_such_table" : "one"));
  const std::string vars = "variables = { Who = \"${Whose}\" }\n";
  PutJob("night", "Whose = \"nobody\"\n" + JobStep("first", vars + "status_file = \"word\"") +
                      JobStep("late", vars + "after = [ { step = \"first\" } ]") +
                      JobStep("last", vars + "after = [ { step = \"late\" } ]"));
  const ProgramResult failed = Admin({"run", "night.etl", "--quiet", "--var", "Whose=me"});
  EXPECT_EQ(failed.exitCode, 1);
  EXPECT_THAT(failed.out, HasSubstr("late: the job \"late.etl\" failed: work: "));
  EXPECT_THAT(failed.out, HasSubstr("no such table: no_such_table"));
  EXPECT_EQ(WithoutCr(sandbox_.ReadFile("word")), "ok\n");
  EXPECT_EQ(sandbox_.Query("SELECT COUNT(*), MAX(job) FROM done"), "1|me\n");

  EXPECT_EQ(Admin({"run", "night.etl", "--resume"}).exitCode, 1) << "nothing has changed";
  sandbox_.Connect("DW")->Execute("CREATE TABLE no_such_table AS SELECT 1");
  const RunningProgram other = sandbox_.Start({"torvik-admin", "run", "night.etl", "--resume"});
  EXPECT_EQ(sandbox_.Wait(other).exitCode, 0);
  EXPECT_EQ(sandbox_.Query("SELECT COUNT(*), MAX(job) FROM done"), "3|me\n")
      << "the first one once, all with the same variables";
  EXPECT_THAT(Admin({"history", "show", "1"}).out, HasSubstr("--var       Whose=me\n"));
  EXPECT_THAT(WithoutCr(sandbox_.ReadFile("nighterr.txt")),
              HasSubstr("ended, without 1 step that it has done: first\n"));
  EXPECT_THAT(Admin({"run", "night.etl", "--resume"}).err, HasSubstr("has succeeded"));

  sandbox_.Connect("DW")->Execute("DROP TABLE no_such_table");
  EXPECT_EQ(Admin({"run", "night.etl"}).exitCode, 1);
  ASSERT_EQ(Admin({"package", "put", "night.toml"}).exitCode, 0);
  for (int i = 0; i < 2; ++i)  // one that was refused is not what the next goes on with
    EXPECT_THAT(Admin({"run", "night.etl", "--resume"}).out,
                HasSubstr("cannot be resumed: the package has another version now"));
  EXPECT_EQ(sandbox_.Query("SELECT COUNT(*) FROM done"), "4\n");
}

TEST_F(Night, OnlySoManyStepsOfAllRunsUseALimitedThing) {
  sandbox_.AddSettings("[limit door]\nat_once = 1\n");
  const std::string alone =
      "[[steps]]\nname = \"s\"\ntask = \"ExecuteProcess\"\nprogram = \"sh\"\n"
      "arguments = [ '-c', 'mkdir busy && sleep 0.2 && rmdir busy' ]\n";
  for (const std::string name : {"a", "b", "c"}) PutJob(name, alone);
  PutJob("night", JobStep("a", "limits = [\"Door\"]") + JobStep("b", "limits = [\"door\"]"));
  PutJob("other", JobStep("c", "limits = [\"door\"]"));
  PutJob("wrong", JobStep("a", "limits = [\"gate\"]"));
  const RunningProgram night = sandbox_.Start({"torvik-admin", "run", "night.etl"});
  const RunningProgram other = sandbox_.Start({"torvik-admin", "run", "other.etl"});
  EXPECT_EQ(sandbox_.Wait(night).exitCode, 0);
  EXPECT_EQ(sandbox_.Wait(other).exitCode, 0);
  EXPECT_THAT(sandbox_.ReadFile("nightlogs/night.log"),
              HasSubstr("waits for a place of the limit"));
  EXPECT_THAT(Admin({"run", "wrong.etl"}).out, HasSubstr("no section [limit gate]"));
}

TEST_F(Night, AJobThatIsToEndDoesSoBehindItsStepAndThenTheNightEnds) {
  PutJob("slow",
         "[[steps]]\nname = \"s\"\ntask = \"ExecuteProcess\"\nprogram = \"sh\"\n"
         "arguments = [ '-c', 'touch begun; while [ ! -e go ]; do sleep 0.05; done' ]\n");
  PutJob("night", JobStep("slow", "timeout_seconds = 1"));
  const RunningProgram night = sandbox_.Start({"torvik-admin", "run", "night.etl", "--quiet"});
  std::this_thread::sleep_for(1500ms);
  EXPECT_EQ(kill(night.pid, 0), 0);
  EXPECT_THAT(Admin({"watch"}).out, HasSubstr("slow")) << "nobody may think that it has ended";
  sandbox_.WriteFile("go", "");
  EXPECT_EQ(sandbox_.Wait(night).exitCode, 0) << "what it has done counts";
}

TEST_F(Night, IsCheckedWithAllOfItsJobsAndIsMadeFromADirectory) {
  std::filesystem::create_directory(sandbox_.PathOf("jobs"));
  for (const std::string name : {"Sales_LoadDW", "Sales_Init", "Stock_Init", "Backup"})
    sandbox_.WriteJob("jobs/" + name + ".etl", name);
  sandbox_.WriteFile("jobs/none.etl", "x");
  const ProgramResult made = Admin({"night", "new", "jobs", "--name", "N"});
  EXPECT_EQ(made.exitCode, 0) << made.err;
  EXPECT_THAT(made.err, AllOf(HasSubstr("none.etl"), HasSubstr("it is left out")));
  const std::string document = sandbox_.ReadFile("N.toml");
  std::size_t at = 0;
  for (const std::string text :
       {"name = \"Sales_Init\"", "name = \"Sales_LoadDW\"", "after = [ { step = \"Sales_Init\" } ]",
        "name = \"Stock_Init\"", "name = \"Backup\"", "priority = 2"}) {
    EXPECT_LT(at, document.find(text, at)) << text << " in " << document;
    at = document.find(text, at);
  }
  EXPECT_EQ(Admin({"night", "new", "jobs", "--name", "N"}).exitCode, 1) << "it is there already";
  ASSERT_EQ(Admin({"package", "put", "N.toml"}).exitCode, 0);
  sandbox_.WriteJob("N.etl", "N");
  sandbox_.PutPackage("Within", JobStep("N") + JobStep("Gone"));
  sandbox_.WriteJob("Within.etl", "Within");
  const ProgramResult check = Admin({"job", "check", "Within.etl"});
  EXPECT_EQ(check.exitCode, 1);
  EXPECT_THAT(check.out, AllOf(HasSubstr("no package \"Stock_Init\""), HasSubstr("Gone.etl")));
  sandbox_.PutPackage("Round", JobStep("Round"));
  sandbox_.WriteJob("Round.etl", "Round");
  EXPECT_THAT(Admin({"job", "check", "Round.etl"}).out, HasSubstr("run inside itself"));
}

TEST_F(Night, KeepsPasswordsOutOfProcessLists) {
  for (const std::string value : {"secret", "${DTSServerLoginPassword}"}) {
    sandbox_.WriteFile("p.toml",
                       "name = \"P\"\n[global_variables]\nDTSServerLoginPassword = \"\"\n" +
                           JobStep("a", "variables = { MyPassword = \"" + value + "\" }"));
    EXPECT_THAT(Admin({"package", "check", "p.toml"}).err, HasSubstr("process lists")) << value;
  }
}

TEST_F(Night, KeepsVariablesInTheHistoryAndNoPassword) {
  PutJob("p", "ShopPassword = \"\"\nWho = \"\"\n" + Work("one"));
  sandbox_.SetVariable("TORVIK_RUN_VARIABLES",
                       "Who\x1Fme\x1FShopPassword\x1F"
                       "dragon\x1F");
  sandbox_.Run({"torvik", "-configfile", "p.etl", "-statusfile", "s"});
  EXPECT_THAT(Admin({"history", "show", "1", "--json"}).out,
              AllOf(HasSubstr("\"variables\": {\n    \"Who\": \"me\"\n  }"), HasSubstr("--var"),
                    Not(HasSubstr("dragon"))));
}

}  // namespace
}  // namespace torvik
