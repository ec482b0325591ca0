// Nights on a Slurm cluster of two nodes, which the test starts and stops.

#include <gmock/gmock.h>

#include <chrono>
#include <thread>

#include "scenarios/Sandbox.h"
#include "servers/PrivateServer.h"

namespace torvik {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class PrivateSlurm {
 public:
  PrivateSlurm() { Do("start", "2 Licenses=door:1"); }
  ~PrivateSlurm() { Do("stop"); }
  PrivateSlurm(const PrivateSlurm&) = delete;
  PrivateSlurm& operator=(const PrivateSlurm&) = delete;

  void Do(const std::string& action, const std::string& more = "") {
    OutputOf(TORVIK_SOURCE_DIR "/scripts/private-slurm " + action + " " + disk_.Path() + " " +
             more);
  }
  std::string Settings() const { return disk_.PathOf("slurm.conf"); }

 private:
  TemporaryDirectory disk_;
};

std::string Job(const std::string& name, const std::string& keys = "") {
  return "[[steps]]\nname = \"" + name + "\"\ntask = \"RunJob\"\njob = \"" + name + ".etl\"\n" +
         keys + "\n";
}

class SlurmNight : public testing::Test {
 protected:
  static void SetUpTestSuite() { slurm_ = std::make_unique<PrivateSlurm>(); }
  static void TearDownTestSuite() { slurm_.reset(); }

  SlurmNight() { sandbox_.SetVariable("SLURM_CONF", slurm_->Settings()); }

  ProgramResult Admin(std::vector<std::string> words) const {
    words.insert(words.begin(), "torvik-admin");
    return sandbox_.Run(words);
  }

  /// A job whose one step is a line of the shell.
  void PutJob(const std::string& name, const std::string& line) const {
    sandbox_.PutPackage(name,
                        "Who = \"\"\n[[steps]]\nname = \"s\"\ntask = \"ExecuteProcess\"\nprogram = "
                        "\"sh\"\narguments = ['-c', '''" +
                            line + "''']\n");
    sandbox_.WriteJob(name + ".etl", name);
    std::string job = sandbox_.ReadFile(name + ".etl");
    for (const std::string place : {"err.txt", "logs"})
      job.replace(job.find(place), place.size(), name + place);
    sandbox_.WriteFile(name + ".etl", job);
  }

  /// The last table of the night, when nothing of it is under way any more.
  ProgramResult Ended() const {
    ProgramResult status;
    for (int i = 0; i < 600; ++i, std::this_thread::sleep_for(200ms)) {
      status = Admin({"night", "status"});
      if (status.out.find(" waiting") == std::string::npos &&
          status.out.find(" running") == std::string::npos)
        break;
    }
    return status;
  }

  static inline std::unique_ptr<PrivateSlurm> slurm_;
  Sandbox sandbox_;
};

TEST_F(SlurmNight, EachJobRunsBehindThoseItWaitsForAndSaysHowItEnded) {
  PutJob("good", "echo '${Who}' >> ran");
  PutJob("bad", "[ -e mended ]");
  PutJob("later", "[ -e ran ]");
  PutJob("never", "touch never");
  PutJob("any", "touch never");
  PutJob("repair", "touch repaired");
  PutJob("unneeded", "touch never");
  PutJob("twice", "[ -e once ] || { touch once; exit 1; }");
  sandbox_.PutPackage(
      "Night", "Whose = \"nobody\"\n" +
                   Job("good", "variables = { Who = \"${Whose}\" }\nlimits = [\"door\"]") +
                   Job("bad") + Job("later", "after = [ { step = \"good\" } ]") +
                   Job("never", "after = [ { step = \"bad\" } ]") +
                   Job("any", "after = [ { step = \"never\", on = \"completion\" } ]") +
                   Job("repair", "after = [ { step = \"bad\", on = \"failure\" } ]") +
                   Job("unneeded", "after = [ { step = \"good\", on = \"failure\" } ]") +
                   Job("twice", "retries = 1\nretry_delay_seconds = 0\ntimeout_seconds = 600"));
  ASSERT_EQ(0, Admin({"night", "submit", "Night", "--var", "Whose=me"}).exitCode);
  const ProgramResult status = Ended();
  EXPECT_EQ(1, status.exitCode);
  EXPECT_THAT(status.out, HasSubstr("4 ok, 1 failed, 3 not reached")) << status.out;
  EXPECT_THAT(
      Admin({"night", "status", "1", "--json"}).out,
      AllOf(HasSubstr("\"state\": \"failed\""), HasSubstr("s: the program \\\"sh\\\" ended"),
            HasSubstr("\"reason\": \"bad failed\"")));
  EXPECT_EQ("me\n", sandbox_.ReadFile("ran"));
  EXPECT_EQ("", sandbox_.ReadFile("never"));
  EXPECT_THAT(Admin({"history"}).out, AllOf(HasSubstr("bad     failure"), HasSubstr("repair  ok")));

  // A node that was lost with the first attempt leaves the second one's result alone.
  for (int step = 0; step < 2; ++step) {
    const std::string result = sandbox_.PathOf("state/nights/1/" + std::to_string(step));
    std::filesystem::rename(result + ".0.json", result + ".1.json");
  }
  EXPECT_THAT(Admin({"night", "status", "1"}).out, HasSubstr("4 ok, 1 failed, 3 not reached"));

  sandbox_.WriteFile("mended", "");
  ASSERT_EQ(0, Admin({"night", "submit", "Night", "--resume", "1", "--var", "Whose=me"}).exitCode);
  EXPECT_THAT(Ended().out, HasSubstr("Night: 7 ok, 1 not reached"));
  EXPECT_EQ("me\n", sandbox_.ReadFile("ran")) << "what was done is not done again";
  EXPECT_THAT(Admin({"night", "submit", "Night", "--resume", "2"}).err, HasSubstr("went well"));
}

TEST_F(SlurmNight, WhatCannotBeSubmittedIsSaidAndNothingIs) {
  PutJob("good", "true");
  const struct {
    std::string steps;
    const char* words;
  } cases[] = {
      {Job("good") + "[[steps]]\nname = \"x\"\ntask = \"SetVariables\"\nvalues = { Who = \"a\" }\n",
       "the step \"x\": it is no job (SetVariables)"},
      {Job("good", "limits = [\"window\"]"), "Slurm no licence of this name; add it to Licenses"},
  };
  for (const auto& c : cases) {
    sandbox_.PutPackage("Night", "Who = \"\"\n" + c.steps);
    const ProgramResult submitted = Admin({"night", "submit", "Night"});
    EXPECT_EQ(1, submitted.exitCode);
    EXPECT_THAT(submitted.err, HasSubstr(c.words));
  }
  sandbox_.PutPackage("Night", Job("good"));
  EXPECT_THAT(Admin({"night", "submit", "Night", "--sbatch=--partition=none"}).err,
              HasSubstr("Slurm refuses: "));
  EXPECT_THAT(Admin({"night", "status"}).err, HasSubstr("no night was submitted yet"));
  const ProgramResult check = Admin({"night", "submit", "Night", "--check"});
  EXPECT_EQ(1, check.exitCode);
  EXPECT_THAT(check.out,
              HasSubstr("is on this machine alone: jobs on others find an empty server"));
  EXPECT_THAT(Admin({"night", "status", "7"}).err, HasSubstr("there is no night 7"));
}

TEST_F(SlurmNight, ACancelledNightEndsAndOneOnALostNodeGoesOn) {
  PutJob("slow", "touch begun; sleep 30");
  PutJob("last", "touch never");
  sandbox_.PutPackage("Night", Job("slow") + Job("last", "after = [ { step = \"slow\" } ]"));
  ASSERT_EQ(0, Admin({"night", "submit", "Night"}).exitCode);
  for (int i = 0; i < 100 && Admin({"night", "status"}).out.find("running") == std::string::npos;
       ++i)
    std::this_thread::sleep_for(100ms);
  // The controller, which keeps what it knows within five seconds, comes back and knows it.
  std::this_thread::sleep_for(6s);
  slurm_->Do("kill", "controller");
  const ProgramResult silent = Admin({"night", "status"});
  EXPECT_EQ(3, silent.exitCode);
  EXPECT_THAT(silent.out, HasSubstr("Slurm does not answer"));
  slurm_->Do("start");
  const ProgramResult resumed = Admin({"night", "status"});
  EXPECT_EQ(3, resumed.exitCode) << resumed.out << resumed.err;
  ASSERT_EQ(0, Admin({"night", "cancel"}).exitCode);
  const ProgramResult status = Ended();
  EXPECT_EQ(1, status.exitCode);
  EXPECT_THAT(status.out, AllOf(HasSubstr("last  not reached"), Not(HasSubstr("2 ok"))));
}

}  // namespace
}  // namespace torvik
