// What torvik-admin prints, where it is printed to, and what lies where others may write.

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "platform/Ado.h"
#include "scenarios/Sandbox.h"

namespace torvik {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

TEST(Admin, AResultThatCannotBeWrittenIsAFailure) {
  const Sandbox sandbox;
  sandbox.PutPackage("Sales_Init", "");
  const std::string admin = TORVIK_ADMIN_PROGRAM;
  for (const std::string command : {"package get Sales_Init", "package list --json"}) {
    const ProgramResult full =
        sandbox.Run({"/bin/sh", "-c", admin + " " + command + " > /dev/full"});
    EXPECT_EQ(full.exitCode, 1) << command;
    EXPECT_THAT(full.err, HasSubstr("standard output cannot be written: No space left on device"));
  }
  // A reader who has seen enough is no failure.
  const ProgramResult closed =
      sandbox.Run({"/bin/bash", "-c", "set -o pipefail; " + admin + " package list | true; true"});
  EXPECT_THAT(closed.err, IsEmpty());
}

TEST(Admin, NamesThatALineCannotShowAreEscapedInLists) {
  const Sandbox sandbox;
  sandbox.Connect("DW")->Execute(
      "INSERT INTO dwm_data_link (model, source_name) VALUES ('Sales', 'a' || char(27) || '[2Jb'),"
      " ('Sales', ' outer ')");
  const ProgramResult list = sandbox.Run({"torvik-admin", "link", "list", "--database", "DW"});
  EXPECT_THAT(list.out, HasSubstr("\"a\\u001b[2Jb\""));
  EXPECT_THAT(list.out, HasSubstr("\" outer \""));
  EXPECT_THAT(list.out, Not(HasSubstr("\x1B")));
}

TEST(Admin, APasswordGoesIntoAJobFileFromStandardInputAndIsNotShown) {
  const Sandbox sandbox;
  sandbox.WriteJob("a.etl", "P");
  const std::string command = std::string(TORVIK_ADMIN_PROGRAM) + " job password a.etl --for dw";
  const struct {
    const char *input, *error;
    bool isShown;  ///< As "***".
  } cases[] = {{"s3 cret;\"\n", "", true},
               {"sch\u00f6n\n", "has another character", true},
               {"", "no password was given", true},
               {"\n", "", false}};
  for (const auto& c : cases) {
    sandbox.WriteFile("input", c.input);
    const ProgramResult set = sandbox.Run({"/bin/sh", "-c", command + " < input"});
    EXPECT_EQ(set.exitCode, *c.error == '\0' ? 0 : 1) << c.input;
    EXPECT_THAT(set.err, HasSubstr(c.error));
    const std::string shown = sandbox.Run({"torvik-admin", "job", "show", "a.etl"}).out;
    EXPECT_EQ(c.isShown, shown.find("***") != std::string::npos) << shown;
    EXPECT_THAT(set.out + set.err + shown + sandbox.ReadFile("a.etl"), Not(HasSubstr("cret")));
  }
}

/// In a directory for temporary files that all may write to, somebody has prepared what a run of
/// root would write through or empty.
TEST(SharedTemporaryDirectory, WhatOthersHavePreparedThereIsNotUsed) {
  if (geteuid() != 0) return;  // only root can give files away
  Sandbox sandbox;
  namespace fs = std::filesystem;
  constexpr uid_t kMallory = 4711;
  const std::string shared = sandbox.PathOf("shared");
  fs::create_directory(shared);
  chmod(shared.c_str(), 01777);
  sandbox.SetVariable("TMPDIR", shared);
  sandbox.WriteFile("precious/file", "text");
  fs::create_directory(shared + "/Torv");
  fs::create_symlink(sandbox.PathOf("precious"), shared + "/Torv/Sales_LoadDW");
  for (const char* planted : {"/Torv", "/Torv/Sales_LoadDW"})
    ASSERT_EQ(lchown((shared + planted).c_str(), kMallory, kMallory), 0);
  sandbox.PutPackage("Sales_LoadDW", "");
  sandbox.WriteJob("job.etl", "Sales_LoadDW");
  std::string job = sandbox.ReadFile("job.etl");
  job.replace(job.find("LogFileDir"), 0, "UseDefaultLogFileDir=TRUE\n");
  sandbox.WriteFile("job.etl", job);
  const ProgramResult run = sandbox.Run({"torvik-admin", "run", "job.etl"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr(shared + "/Torv belongs to the user 4711"));
  EXPECT_EQ(sandbox.ReadFile("precious/file"), "text");
  EXPECT_FALSE(fs::exists(sandbox.PathOf("precious/Sales_LoadDW.log")));
  EXPECT_THAT(sandbox.ReadFile("err.txt"), HasSubstr("Error: DTS Package loading error"));
  const ProgramResult check = sandbox.Run({"torvik-admin", "job", "check", "job.etl"});
  EXPECT_THAT(check.out, HasSubstr("/Torv belongs to the user 4711"));
  // The front end's own file lay in a directory that is gone.
  EXPECT_EQ(std::distance(fs::directory_iterator(shared), {}), 1);
}

}  // namespace
}  // namespace torvik
