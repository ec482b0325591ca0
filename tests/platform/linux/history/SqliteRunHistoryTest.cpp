#include "platform/linux/history/SqliteRunHistory.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "fakes/TemporaryDirectory.h"
#include "platform/PlatformError.h"
#include "platform/linux/history/HistoryFile.h"
#include "platform/linux/settings/Settings.h"

namespace torvik {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class SqliteRunHistoryTest : public testing::Test {
 protected:
  std::unique_ptr<RunHistory> Open() const { return NewSqliteRunHistory(path_, settings_); }

  static RunRecord Run(const std::string& job, RunOutcome outcome, Moment begin = Now()) {
    RunRecord run;
    run.job = job;
    run.begin = begin;
    run.outcome = outcome;
    if (outcome != RunOutcome::Running) run.end = begin + 2s;
    return run;
  }
  static Moment Now() {
    return std::chrono::time_point_cast<std::chrono::microseconds>(
        std::chrono::system_clock::now());
  }

  std::vector<std::int64_t> Listed(const RunFilter& filter) const {
    std::vector<std::int64_t> ids;
    for (const RunRecord& run : Open()->Runs(filter)) ids.push_back(run.id);
    return ids;
  }

  TemporaryDirectory disk_;
  const std::string path_ = disk_.PathOf("state/history.db");
  HistorySettings settings_;
};

TEST_F(SqliteRunHistoryTest, GivesBackWhatWasWritten) {
  const auto history = Open();
  EXPECT_THAT(history->Runs({}), IsEmpty());
  RunRecord run = Run("/jobs/sales.etl", RunOutcome::Running);
  run.package = "Sales 'äöü'";
  StepRecord step;
  step.step = "load";
  step.begin = run.begin;
  run.steps = {step, step};
  EXPECT_EQ(history->Write(run), "");
  EXPECT_EQ(run.process, getpid());
  run.steps[0].end = run.begin + 1s;
  run.steps[0].outcome = StepOutcome::Failure;
  run.steps[0].rows = 1'000'000'000'000;
  run.steps[0].error = "line\nbreak";
  run.fetches = {{"orders", run.begin, run.begin + 1s, true, 4, 5'000'000'000, ""}};
  run.outcome = RunOutcome::Failure;
  run.end = run.begin + 3s;
  EXPECT_EQ(history->Write(run), "");
  const auto read = Open()->Run(run.id);
  ASSERT_TRUE(read.has_value());
  EXPECT_EQ(read->steps, run.steps);
  EXPECT_EQ(read->fetches, run.fetches);
  EXPECT_EQ(read->begin, run.begin);
  EXPECT_EQ(read->end, run.end);
  EXPECT_EQ(read->package + read->host + read->startedBy, run.package + run.host + run.startedBy);
  EXPECT_FALSE(Open()->Run(run.id + 1).has_value());
  struct stat status {};
  ASSERT_EQ(stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(SqliteRunHistoryTest, ListsTheLatestFirstByWhatIsAskedFor) {
  const auto history = Open();
  const std::pair<const char*, RunOutcome> runs[] = {{"/jobs/sales.etl", RunOutcome::Ok},
                                                     {"/old/sales.etl", RunOutcome::Failure},
                                                     {"/jobs/wholesales.etl", RunOutcome::Ok},
                                                     {"/jobs/a_b.etl", RunOutcome::Failure},
                                                     {"/jobs/axb.etl", RunOutcome::Running}};
  for (const auto& [job, outcome] : runs) {
    RunRecord run = Run(job, outcome);
    EXPECT_EQ(history->Write(run), "");
  }
  EXPECT_THAT(Listed({}), ElementsAre(5, 4, 3, 2, 1));
  EXPECT_THAT(Listed({.job = "sales"}), ElementsAre(2, 1));
  EXPECT_THAT(Listed({.job = "sales.etl", .limit = 1}), ElementsAre(2));
  EXPECT_THAT(Listed({.job = "/jobs/sales.etl"}), ElementsAre(1));
  EXPECT_THAT(Listed({.job = "a_b"}), ElementsAre(4));
  EXPECT_THAT(Listed({.failedOnly = true}), ElementsAre(4, 2));
  EXPECT_THAT(Listed({.since = Now() + 1h}), IsEmpty());
  EXPECT_THAT(Listed({.runningOnly = true}), ElementsAre(5));
  EXPECT_EQ(history->Unannounced().size(), 4u);
  EXPECT_EQ(history->NoteAlarms(2, kAllAlarms), "");
  EXPECT_EQ(history->Unannounced().at(0).id, 1);
  EXPECT_EQ(Open()->Unannounced().size(), 3u);
}

TEST_F(SqliteRunHistoryTest, ARunWhoseProcessIsGoneIsLost) {
  const pid_t child = fork();
  if (child == 0) {
    RunRecord run = Run("/jobs/killed.etl", RunOutcome::Running);
    Open()->Write(run);
    _exit(0);
  }
  waitpid(child, nullptr, 0);
  RunRecord mine = Run("/jobs/mine.etl", RunOutcome::Running);
  EXPECT_EQ(Open()->Write(mine), "");
  const auto runs = Open()->Runs({});
  ASSERT_EQ(runs.size(), 2u);
  EXPECT_EQ(runs[0].outcome, RunOutcome::Running);
  EXPECT_EQ(runs[1].outcome, RunOutcome::Lost);
  EXPECT_THAT(runs[1].error, HasSubstr("its process is gone"));
  // Another process with its number is another one.
  sqlite3_exec(ReadHistory(path_).get(), "UPDATE run SET process_start = 1 WHERE id = 2", nullptr,
               nullptr, nullptr);
  EXPECT_EQ(Open()->Runs({})[0].outcome, RunOutcome::Lost);
}

TEST_F(SqliteRunHistoryTest, OldRunsAreForgottenWithTheirParts) {
  for (const auto age : {720h + 1h, 720h - 1h}) {
    RunRecord run = Run("/jobs/sales.etl", RunOutcome::Ok, Now() - age);
    run.steps.resize(3);
    EXPECT_EQ(Open()->Write(run), "");
    settings_.keepDays = 30;
  }
  EXPECT_THAT(Listed({}), ElementsAre(2));
  const HistoryHandle reader = ReadHistory(path_);
  HistoryStatement count(reader.get(), "SELECT COUNT(*) FROM step");
  ASSERT_TRUE(count.Step());
  EXPECT_EQ(count.Integer(), 3);
  settings_.isOn = false;
  RunRecord unkept = Run("/jobs/sales.etl", RunOutcome::Ok);
  EXPECT_EQ(Open()->Write(unkept), "");
  EXPECT_THAT(Listed({}), ElementsAre(2));
}

TEST_F(SqliteRunHistoryTest, WhatCannotBeUsedIsAReasonAndNeverMore) {
  RunRecord first = Run("/jobs/sales.etl", RunOutcome::Ok);
  EXPECT_EQ(Open()->Write(first), "");
  std::ofstream(path_, std::ios::binary | std::ios::trunc) << std::string(5000, 'x');
  std::filesystem::remove(path_ + "-wal");
  EXPECT_THROW(Open()->Runs({}), PlatformError);
  RunRecord second = Run("/jobs/sales.etl", RunOutcome::Ok);
  EXPECT_THAT(Open()->Write(second),
              HasSubstr("was damaged; it is kept as " + path_ + ".damaged-"));
  EXPECT_THAT(Listed({}), ElementsAre(1));

  sqlite3_exec(ReadHistory(path_).get(), "PRAGMA user_version = 9", nullptr, nullptr, nullptr);
  RunRecord third = Run("/jobs/sales.etl", RunOutcome::Ok);
  EXPECT_THAT(Open()->Write(third), HasSubstr("a later version of torvik has made this history"));
  EXPECT_EQ(third.id, 0);
  EXPECT_THROW(Open()->Runs({}), PlatformError);

  disk_.Write("file", "");
  RunRecord lost = Run("/jobs/sales.etl", RunOutcome::Ok);
  EXPECT_NE(NewSqliteRunHistory(disk_.PathOf("file/history.db"), settings_)->Write(lost), "");
}

TEST_F(SqliteRunHistoryTest, AWriterThatHoldsItIsWaitedForBriefly) {
  const auto history = Open();
  RunRecord first = Run("/jobs/sales.etl", RunOutcome::Ok);
  EXPECT_EQ(history->Write(first), "");
  const HistoryHandle other = ReadHistory(path_);
  HistoryStatement(other.get(), "BEGIN IMMEDIATE").Run();
  const auto begin = std::chrono::steady_clock::now();
  RunRecord second = Run("/jobs/sales.etl", RunOutcome::Ok);
  EXPECT_THAT(history->Write(second), HasSubstr("database is locked"));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s);
  EXPECT_THAT(Listed({}), ElementsAre(1));
}

}  // namespace
}  // namespace torvik
