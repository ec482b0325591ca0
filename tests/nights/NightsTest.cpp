#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>

#include "fakes/FakeProcesses.h"
#include "fakes/TemporaryDirectory.h"
#include "nights/BatchScript.h"
#include "nights/NightStatus.h"
#include "nights/Slurm.h"
#include "nights/Submissions.h"
#include "platform/PlatformError.h"

namespace torvik::nights {
namespace {

using engine::Outcome;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

/// "a b<a c!a d*a,b": b after a's success, c after its failure, d after both have ended.
std::vector<NightStep> StepsOf(const std::string& text) {
  std::vector<NightStep> steps;
  const auto positionOf = [&](const std::string& name) {
    return static_cast<std::size_t>(std::ranges::find(steps, name, &NightStep::name) -
                                    steps.begin());
  };
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    NightStep step;
    const std::size_t mark = word.find_first_of("<!*");
    step.name = word.substr(0, mark);
    step.job = step.name + ".etl";
    step.isDisabled = step.name.starts_with('-');
    std::istringstream before(mark == word.npos ? "" : word.substr(mark + 1));
    for (std::string name; std::getline(before, name, ',');)
      step.after.push_back({positionOf(name), word[mark] == '<'   ? Outcome::Success
                                              : word[mark] == '!' ? Outcome::Failure
                                                                  : Outcome::Completion});
    steps.push_back(step);
  }
  return steps;
}

std::vector<bool> LeftOut(const std::vector<NightStep>& steps) {
  return NeverReached(steps, std::vector<bool>(steps.size()));
}

/// Each array as "NAME NAME [NUMBERS] DEPENDENCY", its job being 100, 101 ...
std::string Submitted(const std::vector<NightStep>& steps, std::size_t mostTasks = 1000) {
  const std::vector<bool> isLeftOut = LeftOut(steps);
  const auto submissions = SubmissionsOf(steps, isLeftOut, mostTasks);
  const auto places = PlacesOf(submissions, steps.size());
  std::vector<std::string> jobs;
  std::string text;
  for (const Submission& one : submissions) {
    for (const std::size_t step : one.steps) text += steps[step].name + " ";
    text += "[" + ArrayText(one.tasks) + "] " + DependencyOf(one, steps, isLeftOut, places, jobs);
    text += "\n";
    jobs.push_back(std::to_string(100 + jobs.size()));
  }
  return text;
}

TEST(Nights, StepsThatAreAlikeAreOneArray) {
  const struct {
    const char* steps;
    std::size_t mostTasks;
    const char* submitted;
  } cases[] = {
      {"a b c", 1000, "a b c [0-2] \n"},
      {"a b c", 2, "a b [0-1] \nc [0] \n"},
      {"a b c<a d<b e<b", 1000, "a b [0-1] \nc d [0-1] aftercorr:100\ne [1] aftercorr:100\n"},
      {"a b<a c!a d*a", 1000,
       "a [0] \nb [0] afterok:100_0\nc [0] afternotok:100_0\nd [0] afterany:100_0\n"},
      {"a b c<a,b d<a,b e*a", 1000,
       "a b [0-1] \nc d [0-1] afterok:100_0,afterok:100_1\ne [0] afterany:100_0\n"},
      {"a c<a b d<c,b", 1000,
       "a b [0-1] \nc [0] aftercorr:100\nd [0] afterok:101_0,afterok:100_1\n"},
      {"-a b<-a c*b d", 1000, "d [0] \n"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.submitted, Submitted(StepsOf(c.steps), c.mostTasks));
  std::vector<NightStep> steps = StepsOf("a b c d e");
  steps[1].limits = steps[3].limits = {"oltp"};
  steps[2].timeout = std::chrono::seconds(5);
  steps[4].priority = 5;
  EXPECT_EQ("a [0] \nb d [0-1] \nc [0] \ne [0] \n", Submitted(steps));
  EXPECT_EQ("0,2-3,7", ArrayText({7, 3, 0, 2}));
}

TEST(Nights, WhatWaitsForTheFailureOfADoneStepIsNotReached) {
  const std::vector<NightStep> steps = StepsOf("a b!a c<b d*a e!a");
  EXPECT_THAT(NeverReached(steps, {true, false, false, false, true}),
              ElementsAre(false, true, true, false, false));
}

TEST(Nights, AThousandModelsAreFewArrays) {
  std::string text;
  for (const char* kind : {"i", "l<i", "o<l"})
    for (int model = 0; model < 400; ++model) {
      const std::string number = std::to_string(model);
      const std::string name(kind);
      text += name.substr(0, 1) + number + (name.size() > 1 ? name.substr(1) + number : "") + " ";
    }
  EXPECT_EQ(3, std::ranges::count(Submitted(StepsOf(text), 1001), '\n'));
  EXPECT_EQ(12, std::ranges::count(Submitted(StepsOf(text), 100), '\n'));
}

TEST(Nights, TheScriptGivesEachTaskItsJobAndNothingToTheShell) {
  std::vector<NightStep> steps = StepsOf("a b!a");
  steps[1].job = "it's $HOME.etl";
  steps[1].variables = {{"Region", "`id` \"x\""}};
  steps[1].retries = 2;
  steps[1].retryDelay = std::chrono::seconds(30);
  const std::string script =
      ScriptOf({{1}, {4}, {}}, steps, {false, false}, "/state/nights/1", "/usr/bin/torvik-admin");
  EXPECT_THAT(script, AllOf(HasSubstr("4) step=1 behind='0'; set -- 'it'\\''s $HOME.etl' --var "
                                      "'Region=`id` \"x\"' --retries 2 --retry-delay 30 ;;\n"),
                            HasSubstr("[ -e \"$night/$one.begun\" ] || exit 3")));
}

TEST(Nights, AStepThatIsBegunAgainRunsWhileNoAttemptHasAVerdict) {
  const std::tuple<const char*, const char*, int> cases[] = {
      {"2.0.json", "\"status\": \"ok\"", 0},      {"2.0.json", "\"status\": \"failure\"", 1},
      {"2.1.json", "\"status\": \"failure\"", 1}, {"2.0.json", "{", 7},
      {"2.0.json", "\"status\": \"running\"", 7}, {"12.0.json", "\"status\": \"ok\"", 7},
  };
  for (const auto& [file, text, exitCode] : cases) {
    TemporaryDirectory night;
    night.Write(file, text);
    night.Write("admin", "#!/bin/sh\nexit 7\n");
    std::filesystem::permissions(night.PathOf("admin"), std::filesystem::perms::owner_all);
    night.Write("script", ScriptOf({{2}, {5}, {}}, StepsOf("a b c"), {false, false, false},
                                   night.PathOf(""), night.PathOf("admin")));
    const int status = std::system(
        ("SLURM_ARRAY_TASK_ID=5 SLURM_RESTART_COUNT=3 sh " + night.PathOf("script")).c_str());
    EXPECT_EQ(WEXITSTATUS(status), exitCode) << file << ": " << text;
    EXPECT_EQ(std::filesystem::exists(night.PathOf("2.3.json")), exitCode == 7);
  }
}

TEST(Nights, FilesOfStepsAreKnownByTheirNames) {
  const auto told = [](const char* name) {
    const StepFile file = StepFileOf(name);
    return std::to_string(static_cast<int>(file.kind)) + " " + std::to_string(file.step) + " " +
           std::to_string(file.attempt);
  };
  const std::pair<const char*, const char*> cases[] = {
      {"7.begun", "0 7 0"},    {"7.12.json", "1 7 12"},   {"7.0.log", "2 0 0"},
      {"night.json", "2 0 0"}, {"7.json", "2 0 0"},       {"7.x.json", "2 0 0"},
      {"slurm.out", "2 0 0"},  {"7.0.json.part", "2 0 0"}};
  for (const auto& [name, file] : cases) EXPECT_EQ(told(name), file) << name;
}

StepTraces Ended(const char* word) {
  return {true, StepResultOf("{\"status\": \"" + std::string(word) +
                             "\", \"run\": {\"error\": \"no file\", \"failed_step\": \"load\"}}")};
}

TEST(Nights, TellsWhatHasBecomeOfEachStep) {
  const StepTraces ok = Ended("ok"), failed = Ended("failure"), begun{true, {}}, none;
  using Tasks = std::map<std::string, BatchTask>;
  const std::optional<Tasks> silent;
  const struct {
    const char* steps;
    std::vector<StepTraces> traces;
    std::optional<Tasks> tasks;
    const char* told;
    StepState whole;
  } cases[] = {
      {"a b<a",
       {ok, none},
       Tasks{{"b", {"PENDING", "Dependency", ""}}},
       "ok;waiting;",
       StepState::Running},
      {"a b<a",
       {none, none},
       Tasks{{"a", {"RUNNING", "None", "n1"}}, {"b", {"PENDING", "Dependency", ""}}},
       "running;waiting for a;",
       StepState::Running},
      {"a",
       {none},
       Tasks{{"a", {"PENDING", "Licenses", ""}}},
       "waiting Slurm: Licenses;",
       StepState::Running},
      {"a b<a c*b",
       {failed, none, none},
       Tasks{{"b", {"CANCELLED", "DependencyNeverSatisfied", ""}},
             {"c", {"FAILED", "NonZeroExitCode", ""}}},
       "failed load: no file;not reached a failed;not reached a failed;",
       StepState::Failed},
      {"a b c<b",
       {ok, begun, none},
       silent,
       "ok;running Slurm does not answer;waiting Slurm does not answer;",
       StepState::Running},
      {"a b!a", {ok, none}, Tasks{}, "ok;not reached a succeeded;", StepState::Ok},
      {"-a b<-a c",
       {none, none, ok},
       Tasks{},
       "disabled;not reached -a is disabled;ok;",
       StepState::Ok},
      {"a b*a",
       {begun, ok},
       Tasks{{"a", {"NODE_FAIL", "None", "n1"}}},
       "lost it has left no verdict; Slurm: NODE_FAIL, None;ok;",
       StepState::Failed},
      {"a",
       {begun},
       Tasks{},
       "lost it has left no verdict, and Slurm does not know it any more;",
       StepState::Failed},
      {"a b<a",
       {none, none},
       Tasks{{"a", {"CANCELLED", "None", ""}}},
       "cancelled;not reached a is cancelled;",
       StepState::Failed},
      {"a",
       {begun},
       Tasks{{"a", {"PENDING", "BeginTime", ""}}},
       "waiting Slurm: BeginTime;",
       StepState::Running},
  };
  for (const auto& c : cases) {
    NightRecord night;
    for (const NightStep& step : StepsOf(c.steps))
      night.steps.push_back({step.name, step.job, step.after, step.isDisabled, false, step.name});
    const NightRecord read = NightRecordOf(TextOf(night), "night.json");
    const auto statuses = StatusOf(read, c.traces, c.tasks);
    std::string told;
    for (const StepStatus& one : statuses)
      told += WordOf(one.state) + (one.reason.empty() ? "" : " " + one.reason) + ";";
    EXPECT_EQ(c.told, told) << c.steps;
    EXPECT_EQ(c.whole, WholeOf(statuses)) << c.told;
  }
}

TEST(Nights, DamagedRecordsAndResultsAreToldAsSuch) {
  for (const char* text :
       {"", "{", "[]", "{\"package\": 1}",
        R"({"package":"p","submitted":"","jobs":[],"steps":[{"name":"a","job":"",)"
        R"("task":"","disabled":false,"done":false,"after":[{"step":7,"on":"x"}]}]})"})
    EXPECT_THROW(NightRecordOf(text, "night.json"), PlatformError) << text;
  for (const char* text :
       {"", "{\"status\": \"ok\"", "null", "{\"status\": \"\"}", "{\"status\": 1}"})
    EXPECT_FALSE(StepResultOf(text)) << text;
  NightRecord circle;
  circle.steps = {{"a", "", {{1}}}, {"b", "", {{0}}}};
  EXPECT_EQ(2u, StatusOf(circle, {{}, {}}, {}).size());
}

TEST(Nights, SlurmIsAskedAndUnderstood) {
  FakeProcesses processes;
  processes.exit = {true, 0, ""};
  Slurm slurm(processes);
  processes.output = "12;private";
  BatchRequest request;
  request.tasks = "0-3";
  request.timeout = std::chrono::seconds(61);
  request.licences = {"oltp", "mail"};
  request.script = "#!/bin/sh\n";
  EXPECT_EQ("12", slurm.Submit(request));
  EXPECT_THAT(processes.requests.back().arguments,
              AllOf(Contains("--array=0-3"), Contains("--time=3"), Contains("--signal=B:TERM@60"),
                    Contains("--licenses=oltp:1,mail:1"), Contains("--kill-on-invalid-dep=yes")));
  EXPECT_EQ("#!/bin/sh\n", processes.requests.back().input);
  processes.output = "12|3|RUNNING|None|node1";
  EXPECT_EQ("node1", slurm.Tasks({"12"}).at("12_3").nodes);
  EXPECT_TRUE(slurm.Tasks({"13"}).empty());
  processes.output = "LicenseName=oltp Total=2 Used=0 Free=2 Reserved=0 Remote=no";
  EXPECT_EQ(2, slurm.Licences().at("oltp"));
  processes.output = "MaxArraySize            = 1001";
  EXPECT_EQ(1001u, slurm.LargestArray());
  processes.output = "sbatch: error: Batch job submission failed: Invalid partition";
  processes.exit.exitCode = 1;
  const auto words = [&] {
    try {
      slurm.Submit(request);
    } catch (const PlatformError& error) {
      return error.Description();
    }
    return std::string();
  };
  EXPECT_THAT(words(), HasSubstr("Slurm refuses: sbatch: error: Batch job submission failed"));
  processes.exit = {false, 0, "No such file or directory"};
  EXPECT_THAT(words(), HasSubstr("install it (Debian package slurm-client)"));
}

}  // namespace
}  // namespace torvik::nights
