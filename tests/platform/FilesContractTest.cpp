#include <gmock/gmock.h>

#include <functional>

#include "fakes/FakeFiles.h"
#include "fakes/TemporaryDirectory.h"
#include "platform/linux/IconvCodePages.h"
#include "platform/linux/PosixFiles.h"

namespace torvik {
namespace {

using testing::UnorderedElementsAre;

struct Implementation {
  const char* name;
  /// Answers files whose directory `base`, with a trailing separator, is empty.
  std::function<std::unique_ptr<Files>(const CodePages& codePages, const TemporaryDirectory& disk,
                                       std::string& base)>
      open;
};

class FilesContract : public testing::TestWithParam<Implementation> {
 protected:
  std::string At(const std::string& name) const { return base_ + name; }

  std::string Read(const std::string& path) {
    std::error_code error;
    const auto reader = files_->OpenRead(path, error);
    if (error) return "error: " + error.message();
    std::string text;
    char piece[3];
    while (const std::size_t got = reader->Read(piece, sizeof piece, error))
      text.append(piece, got);
    return error ? "error: " + error.message() : text;
  }

  std::vector<std::string> List(const std::string& directory) {
    std::vector<std::string> names;
    EXPECT_FALSE(files_->ListFiles(directory, names)) << directory;
    return names;
  }

  TemporaryDirectory disk_;
  std::unique_ptr<CodePages> codePages_ = NewIconvCodePages("windows-1252");
  std::string base_;
  std::unique_ptr<Files> files_ = GetParam().open(*codePages_, disk_, base_);
};

TEST_P(FilesContract, TextIsAppendedAndReplaced) {
  EXPECT_FALSE(files_->AppendText(At("log.txt"), "one\r\n"));
  EXPECT_FALSE(files_->AppendText(At("log.txt"), "two\r\n"));
  EXPECT_EQ(Read(At("log.txt")), "one\r\ntwo\r\n");
  EXPECT_FALSE(files_->ReplaceText(At("log.txt"), "3"));
  EXPECT_FALSE(files_->ReplaceText(At("new.txt"), ""));
  EXPECT_EQ(Read(At("log.txt")), "3");
  EXPECT_THAT(List(base_), UnorderedElementsAre("log.txt", "new.txt"));
  EXPECT_FALSE(files_->Sync(At("log.txt")));
}

TEST_P(FilesContract, OnlyPlainFilesHaveALengthAndAreReadable) {
  ASSERT_FALSE(files_->ReplaceText(At("five"), "12345"));
  ASSERT_FALSE(files_->MakeDirectory(At("folder")));
  std::uint64_t length = 99;
  EXPECT_FALSE(files_->Size(At("five"), length));
  EXPECT_EQ(length, 5u);
  EXPECT_FALSE(files_->CheckReadable(At("five")));
  for (const std::string& path : {At("missing"), At("folder"), At("five/x"), std::string()}) {
    EXPECT_TRUE(files_->Size(path, length)) << path;
    EXPECT_TRUE(files_->CheckReadable(path)) << path;
    EXPECT_TRUE(files_->Sync(path)) << path;
  }
  EXPECT_EQ(length, 5u);
}

TEST_P(FilesContract, BothSpellingsLeadToOneFile) {
  ASSERT_FALSE(files_->MakeDirectory(At("a\\b\\c\\")));
  EXPECT_FALSE(files_->MakeDirectory(At("a/b/c")));  // it is there already
  ASSERT_FALSE(files_->AppendText(At("a/b\\c/x.txt"), "text"));
  EXPECT_EQ(Read(At("a\\b/c\\x.txt")), "text");
  EXPECT_TRUE(files_->IsSameFile(At("a\\b/c\\x.txt"), At("a/b/c/x.txt")));
  EXPECT_FALSE(files_->IsSameFile(At("a/x.txt"), At("a/x.txt")));  // there is none
  EXPECT_THAT(List(At("a\\b\\c\\")), UnorderedElementsAre("x.txt"));
  EXPECT_TRUE(List(At("a")).empty());  // directories are not listed
}

TEST_P(FilesContract, CopiesAndAppendsFiles) {
  ASSERT_FALSE(files_->ReplaceText(At("a"), "aaa"));
  ASSERT_FALSE(files_->ReplaceText(At("b"), "b"));
  EXPECT_FALSE(files_->Copy(At("b"), At("a")));
  EXPECT_EQ(Read(At("a")), "b");
  EXPECT_FALSE(files_->AppendFile(At("b"), At("a")));
  EXPECT_FALSE(files_->AppendFile(At("b"), At("new")));
  EXPECT_EQ(Read(At("a")), "bb");
  EXPECT_EQ(Read(At("new")), "b");
  EXPECT_FALSE(files_->Copy(At("a"), At("a")));
  EXPECT_TRUE(files_->AppendFile(At("a"), At("a")));
  EXPECT_TRUE(files_->Copy(At("missing"), At("a")));
  EXPECT_TRUE(files_->AppendFile(At("missing"), At("other")));
  EXPECT_EQ(Read(At("a")), "bb");
  EXPECT_THAT(List(base_), UnorderedElementsAre("a", "b", "new"));
}

TEST_P(FilesContract, WhatCannotBeDoneSaysWhy) {
  ASSERT_FALSE(files_->ReplaceText(At("file"), "kept"));
  const auto missing = std::errc::no_such_file_or_directory;
  EXPECT_EQ(files_->AppendText(At("no/log"), "x"), missing);
  EXPECT_EQ(files_->ReplaceText(At("no/log"), "x"), missing);
  EXPECT_EQ(files_->Copy(At("file"), At("no/log")), missing);
  EXPECT_EQ(files_->Remove(At("missing")), missing);
  std::vector<std::string> names = {"before"};
  EXPECT_EQ(files_->ListFiles(At("missing"), names), missing);
  EXPECT_TRUE(names.empty());
  EXPECT_TRUE(files_->MakeDirectory(At("file")));
  EXPECT_TRUE(files_->MakeDirectory(At("file/below")));
  EXPECT_EQ(Read(At("file")), "kept");
  EXPECT_FALSE(files_->Remove(At("file")));
  EXPECT_TRUE(files_->CheckReadable(At("file")));
  ASSERT_FALSE(files_->MakeDirectory(At("folder")));
  EXPECT_TRUE(files_->Remove(At("folder")));
  EXPECT_TRUE(files_->AppendText(At("folder"), "x"));
}

INSTANTIATE_TEST_SUITE_P(
    All, FilesContract,
    testing::Values(Implementation{"Fake",
                                   [](const CodePages&, const TemporaryDirectory&,
                                      std::string& base) -> std::unique_ptr<Files> {
                                     auto fake = std::make_unique<FakeFiles>();
                                     fake->MakeDirectory("C:\\work");
                                     base = "C:\\work\\";
                                     return fake;
                                   }},
                    Implementation{"Posix",
                                   [](const CodePages& codePages, const TemporaryDirectory& disk,
                                      std::string& base) {
                                     base = disk.Path() + "/";
                                     return NewPosixFiles(PathMap(), codePages, disk.Path());
                                   }}),
    [](const auto& tested) { return tested.param.name; });

}  // namespace
}  // namespace torvik
