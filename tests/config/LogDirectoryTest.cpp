#include "config/LogDirectory.h"

#include <gmock/gmock.h>

#include <ctime>

#include "fakes/FakeFiles.h"

namespace torvik {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr std::int64_t kSecond = 1'000'000'000;

/// The local time as a package's log has it, in nanoseconds since 1970.
std::int64_t At(const char* time) {
  std::tm tm{};
  strptime(time, "%Y-%m-%d %H:%M:%S", &tm);
  tm.tm_isdst = -1;
  return std::mktime(&tm) * kSecond;
}

struct LogDirectoryTest : ::testing::Test {
  LogDirectoryTest() {
    Put("P.log", "2024-05-01 02:00:00 Package \"P\" started\r\n2024-05-01 02:10:00 Package ended",
        "2024-05-01 02:10:00");
  }

  void Put(const std::string& name, const std::string& text, const char* time) {
    files.Put("C:\\logs\\" + name, text);
    files.times["C:/logs/" + name] = At(time);
  }

  std::vector<std::string> Found() { return ForeignFiles(files, directory); }

  FakeFiles files;
  LogDirectory directory{"C:\\logs", "P", "C:\\err.txt", "C:\\jobs\\p.etl", "C:\\p.status"};
};

TEST_F(LogDirectoryTest, WhatTheLastRunHasWrittenIsItsOwn) {
  Put("rejected.txt", "rows", "2024-05-01 02:00:30");
  Put("err.txt", "the copy of the exception log", "2024-05-01 02:10:30");
  EXPECT_THAT(Found(), IsEmpty());
  Put("letter.doc", "older: moved here", "2024-04-30 12:00:00");
  EXPECT_THAT(Found(), ElementsAre("a file that no run has written, letter.doc"));
  Put("Q.log", "newer: of another job", "2024-05-02 02:00:00");
  EXPECT_THAT(Found(), ElementsAre("2 files that no run has written, such as Q.log"));
}

TEST_F(LogDirectoryTest, WithoutThePackagesLogNoRunHasWrittenAnything) {
  directory.package = "Other";
  EXPECT_THAT(Found(), ElementsAre("a file that no run has written, P.log"));
}

TEST_F(LogDirectoryTest, WhatMustNotBeDeletedIsNamed) {
  directory.exceptionLog = "C:\\logs\\err.txt";  // not there yet
  directory.jobFile = "C:/logs/p.etl";
  directory.statusFile = "C:\\logs\\p.word";
  Put("p.etl", "[Package Info]", "2024-05-01 02:00:30");
  Put("other.status", "ok\r\n", "2024-05-01 02:00:30");
  Put("msdb.db", std::string("SQLite format 3\0...", 19), "2024-05-01 02:00:30");
  EXPECT_THAT(
      Found(),
      ElementsAre("the job file p.etl", "the exception log err.txt", "the status file p.word",
                  "the database of an embedded server msdb.db", "the status file other.status"));
}

TEST_F(LogDirectoryTest, ADirectoryOfAnotherUserIsUnusable) {
  EXPECT_EQ(WhyUnusable(files, "C:\\logs"), "");
  files.owners["C:/logs"] = "anna";
  EXPECT_THAT(WhyUnusable(files, "C:\\logs"), HasSubstr("C:/logs belongs to the user anna"));
}

}  // namespace
}  // namespace torvik
