#include "platform/linux/PosixFiles.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include "fakes/TemporaryDirectory.h"
#include "platform/linux/IconvCodePages.h"

namespace torvik {
namespace {

class PosixFilesTest : public testing::Test {
 protected:
  TemporaryDirectory disk_;
  std::unique_ptr<CodePages> codePages_ = NewIconvCodePages("windows-1252");
  std::unique_ptr<Files> files_ = NewPosixFiles(PathMap({}, {}, disk_.PathOf("state/drives")),
                                                *codePages_, disk_.PathOf("state/tmp"));
};

TEST_F(PosixFilesTest, TextIsInTheCodePageOnDisk) {
  EXPECT_FALSE(files_->AppendText(disk_.PathOf("log"), "\u00e9 \u20ac \u6f22\r\n"));
  EXPECT_EQ(disk_.Read("log"), "\xE9 \x80 ?\r\n");
  EXPECT_FALSE(files_->ReplaceText(disk_.PathOf("log"), "\u00e9"));
  EXPECT_EQ(disk_.Read("log"), "\xE9");
}

TEST_F(PosixFilesTest, ReplacingKeepsModeAndLinksAndLeavesNothingBeside) {
  disk_.Write("real/status", "old");
  disk_.SetMode("real/status", 0604);
  std::filesystem::create_symlink("real/status", disk_.PathOf("link"));
  std::filesystem::create_symlink("real/later", disk_.PathOf("dangling"));
  EXPECT_FALSE(files_->ReplaceText(disk_.PathOf("link"), "new"));
  EXPECT_FALSE(files_->ReplaceText(disk_.PathOf("dangling"), "later"));
  EXPECT_TRUE(std::filesystem::is_symlink(disk_.PathOf("link")));
  EXPECT_EQ(disk_.Read("real/status"), "new");
  EXPECT_EQ(disk_.ModeOf("real/status"), 0604);
  EXPECT_EQ(disk_.Read("real/later"), "later");
  EXPECT_EQ(disk_.Entries(), 3);
  EXPECT_TRUE(files_->ReplaceText(disk_.PathOf("real"), "x"));
  EXPECT_EQ(disk_.Entries(), 3);
}

TEST_F(PosixFilesTest, WithoutASecondFileTheFirstIsWrittenInPlace) {
  disk_.Write("shared/status", "running");
  disk_.Write("shared/closed", "running");
  disk_.SetMode("shared/status", 0666);
  disk_.SetMode("shared/closed", 0444);
  disk_.SetMode("shared", 0555);
  disk_.SetMode("", 0755);
  const bool isRoot = geteuid() == 0;  // who may do everything
  if (isRoot) {
    ASSERT_EQ(seteuid(65534), 0);
  }
  EXPECT_FALSE(files_->ReplaceText(disk_.PathOf("shared/status"), "ok"));
  EXPECT_TRUE(files_->ReplaceText(disk_.PathOf("shared/closed"), "ok"));
  EXPECT_TRUE(files_->ReplaceText(disk_.PathOf("shared/new"), "ok"));
  if (isRoot) {
    ASSERT_EQ(seteuid(0), 0);
  }
  EXPECT_EQ(disk_.Read("shared/status"), "ok");
  EXPECT_EQ(disk_.Read("shared/closed"), "running");
  disk_.SetMode("shared", 0755);
}

TEST_F(PosixFilesTest, WhatIsNotAPlainFileIsWrittenInPlace) {
  EXPECT_FALSE(files_->ReplaceText("/dev/null", "ok"));
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
  EXPECT_TRUE(files_->CheckReadable("/dev/null"));
}

TEST_F(PosixFilesTest, ACopyIsAsPrivateAsItsOriginal) {
  disk_.Write("job.etl", "text");
  disk_.SetMode("job.etl", 0600);
  EXPECT_FALSE(files_->Copy(disk_.PathOf("job.etl"), disk_.PathOf("copy.etl")));
  EXPECT_EQ(disk_.ModeOf("copy.etl"), 0600);
}

TEST_F(PosixFilesTest, ADriveWithoutSettingsIsADirectoryOfTheState) {
  EXPECT_FALSE(files_->AppendText("D:\\err.txt", "text"));
  EXPECT_EQ(disk_.Read("state/drives/d/err.txt"), "text");
  EXPECT_EQ(disk_.ModeOf("state/drives/d"), 0700);
  const auto error = files_->AppendText("\\\\Files\\In\\x", "text");
  EXPECT_THAT(error.message(),
              testing::HasSubstr("for the share \\\\Files\\In; add it to [paths]"));
}

TEST_F(PosixFilesTest, TemporaryFilesAreForTheUserAlone) {
  EXPECT_FALSE(std::filesystem::exists(disk_.PathOf("state/tmp")));
  EXPECT_EQ(files_->TempDirectory(), disk_.PathOf("state/tmp/"));
  EXPECT_EQ(files_->TempDirectory(), disk_.PathOf("state/tmp/"));
  EXPECT_EQ(disk_.ModeOf("state/tmp"), 0700);
}

TEST_F(PosixFilesTest, AFileThatNoPathCanNameIsNotListed) {
  disk_.Write("logs/a.log", "");
  disk_.Write("logs/..\\a.log", "");  // as a path, a file outside of the directory
  std::filesystem::create_symlink("nowhere", disk_.PathOf("logs/dangling"));
  std::vector<std::string> names;
  EXPECT_FALSE(files_->ListFiles(disk_.PathOf("logs"), names));
  EXPECT_THAT(names, testing::ElementsAre("a.log"));
}

}  // namespace
}  // namespace torvik
