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
  run.steps = {step, step, step};
  run.variables = {{"Region", "EMEA=1\n"}, {"ShopPassword", "file:/run/shop"}, {"Empty", ""}};
  EXPECT_EQ(history->Write(run), "");
  run.steps.pop_back();
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
  EXPECT_EQ(read->variables, run.variables);
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
  const std::pair<const char*, RunOutcome> runs[] = {
      {"/jobs/sales.etl", RunOutcome::Ok},      {"/old/sales.etl", RunOutcome::Failure},
      {"/jobs/wholesales.etl", RunOutcome::Ok}, {"/jobs/a_b.etl", RunOutcome::Failure},
      {"/jobs/axb.etl", RunOutcome::Running},   {"C:\\jobs\\Stock.etl", RunOutcome::Ok}};
  for (const auto& [job, outcome] : runs) {
    RunRecord run = Run(job, outcome);
    EXPECT_EQ(history->Write(run), "");
  }
  EXPECT_THAT(Listed({}), ElementsAre(6, 5, 4, 3, 2, 1));
  EXPECT_THAT(Listed({.job = "sales"}), ElementsAre(2, 1));
  EXPECT_THAT(Listed({.job = "sales.etl", .limit = 1}), ElementsAre(2));
  EXPECT_THAT(Listed({.job = "/jobs/sales.etl"}), ElementsAre(1));
  EXPECT_THAT(Listed({.job = "a_b"}), ElementsAre(4));
  EXPECT_THAT(Listed({.job = "stock"}), ElementsAre(6));
  EXPECT_THAT(Listed({.job = "C:\\jobs\\Stock.etl"}), ElementsAre(6));
  EXPECT_THAT(Listed({.failedOnly = true}), ElementsAre(4, 2));
  EXPECT_THAT(Listed({.since = Now() + 1h}), IsEmpty());
  EXPECT_THAT(Listed({.runningOnly = true}), ElementsAre(5));
  EXPECT_EQ(history->Unannounced().size(), 5u);
  EXPECT_EQ(history->NoteAlarms(2, kAllAlarms), "");
  EXPECT_EQ(history->Unannounced().at(0).id, 1);
  EXPECT_EQ(Open()->Unannounced().size(), 4u);
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

TEST_F(SqliteRunHistoryTest, AHistoryOfTheFirstVersionIsReadAndGoesOn) {
  RunRecord first = Run("/jobs/sales.etl", RunOutcome::Ok);
  EXPECT_EQ(Open()->Write(first), "");
  sqlite3_exec(ReadHistory(path_).get(),
               "DROP TABLE variable; DROP INDEX run_unsent; ALTER TABLE run DROP COLUMN sent; "
               "PRAGMA user_version = 1",
               nullptr, nullptr, nullptr);
  EXPECT_THAT(Open()->Unsent(0, 9), IsEmpty());
  EXPECT_EQ(Open()->Run(1)->job, first.job);
  RunRecord second = first;
  second.id = 0;
  second.variables = {{"Region", "EMEA"}};
  EXPECT_EQ(Open()->Write(second), "");
  EXPECT_EQ(Open()->Run(2)->variables, second.variables);
  EXPECT_THAT(Open()->Run(1)->variables, IsEmpty());
  EXPECT_EQ(Open()->NoteSent(1), "");
  const auto unsent = Open()->Unsent(0, 9);
  ASSERT_EQ(unsent.size(), 1u);
  EXPECT_EQ(unsent[0].variables, second.variables);
  EXPECT_THAT(Open()->Unsent(2, 9), IsEmpty());
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

TEST_F(SqliteRunHistoryTest, ARunWaitsForAnotherWriterOneSecondInAll) {
  const auto history = Open();
  RunRecord first = Run("/jobs/sales.etl", RunOutcome::Ok);
  EXPECT_EQ(history->Write(first), "");
  const HistoryHandle other = ReadHistory(path_);
  HistoryStatement(other.get(), "BEGIN IMMEDIATE").Run();
  RunRecord second = Run("/jobs/sales.etl", RunOutcome::Running);
  const auto secondsOf = [&] {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT(history->Write(second), HasSubstr("database is locked"));
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  };
  // A half is kept for the end, whatever is written before.
  EXPECT_GT(secondsOf(), 0.3);
  EXPECT_LT(secondsOf() + secondsOf() + secondsOf(), 0.3);
  second.end = second.begin + 5s;
  EXPECT_GT(secondsOf(), 0.3);
  EXPECT_LT(secondsOf(), 0.3);
  EXPECT_THAT(Listed({}), ElementsAre(1));
  HistoryStatement(other.get(), "COMMIT").Run();
  EXPECT_EQ(history->Write(second), "");
  EXPECT_THAT(Listed({}), ElementsAre(2, 1));
}

/// Writers are kept out by a lock here; a full disk and one that is only read do the same.
TEST_F(SqliteRunHistoryTest, LostRunsAreToldWhereThatCannotBeWritten) {
  RunRecord run = Run("/jobs/sales.etl", RunOutcome::Running);
  EXPECT_EQ(Open()->Write(run), "");
  const HistoryHandle other = ReadHistory(path_);
  sqlite3_exec(other.get(), "UPDATE run SET boot = 'another'; BEGIN IMMEDIATE", nullptr, nullptr,
               nullptr);
  EXPECT_THAT(Listed({.failedOnly = true, .limit = 1}), ElementsAre(1));
  EXPECT_THAT(Listed({.runningOnly = true}), IsEmpty());
  EXPECT_EQ(Open()->Run(1)->outcome, RunOutcome::Lost);
  HistoryStatement stored(other.get(), "SELECT outcome FROM run");
  ASSERT_TRUE(stored.Step());
  EXPECT_EQ(stored.Integer(), 0);
}

TEST_F(SqliteRunHistoryTest, AProcessThatNobodyHasWaitedForIsGoneToo) {
  const pid_t child = fork();
  if (child == 0) {
    RunRecord run = Run("/jobs/killed.etl", RunOutcome::Running);
    Open()->Write(run);
    _exit(0);
  }
  siginfo_t ended{};
  waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT);
  EXPECT_EQ(Open()->Runs({}).at(0).outcome, RunOutcome::Lost);
  waitpid(child, nullptr, 0);
}

/// Each run reads the log beside the file whole.
TEST_F(SqliteRunHistoryTest, TheLogBesideTheFileStaysShort) {
  RunRecord run = Run("/jobs/sales.etl", RunOutcome::Ok);
  run.error = std::string(30000, 'x');
  for (int i = 0; i < 60; ++i) {
    run.id = 0;
    EXPECT_EQ(Open()->Write(run), "");
  }
  EXPECT_LT(std::filesystem::file_size(path_ + "-wal"), 600'000u);
  EXPECT_EQ(Open()->Runs({}).size(), 60u);
}

/// What one user of a group has begun, another one goes on with.
TEST_F(SqliteRunHistoryTest, BelongsToTheGroupOfItsDirectory) {
  const std::string directory = disk_.PathOf("state");
  std::filesystem::create_directory(directory);
  const gid_t group = geteuid() == 0 ? 12345 : getegid();
  ASSERT_EQ(chown(directory.c_str(), static_cast<uid_t>(-1), group), 0);
  ASSERT_EQ(chmod(directory.c_str(), 0770), 0);
  RunRecord run = Run("/jobs/sales.etl", RunOutcome::Ok);
  EXPECT_EQ(Open()->Write(run), "");
  for (const char* file : {"", "-wal", "-shm"}) {
    struct stat status {};
    ASSERT_EQ(stat((path_ + file).c_str(), &status), 0) << file;
    EXPECT_EQ(status.st_mode & 0777, 0660u) << file;
    EXPECT_EQ(status.st_gid, group) << file;
  }
}

}  // namespace
}  // namespace torvik
