#include "import/PackageContainer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "import/CompoundWriter.h"
#include "import/PackageImport.h"
#include "platform/PlatformError.h"

namespace torvik::importing {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

std::string RefusalOf(const std::string& bytes) {
  try {
    ImportPackage("old.dts", bytes, {});
  } catch (const PlatformError& error) {
    return error.Description();
  }
  return "it was imported";
}

TEST(PackageContainer, TellsWhatIsInClearAndNothingElse) {
  const std::string words = RefusalOf(CompoundWriter::Write(WrittenPackage()));
  EXPECT_THAT(words, Not(HasSubstr("dragon")));
  EXPECT_THAT(
      words,
      AllOf(HasSubstr("old.dts: this is a structured storage file (.dts)"),
            HasSubstr("save it as a Visual Basic file"),
            HasSubstr("package Sales_LoadDW of 2002-01-01 18:00:00, 2 versions\n"
                      "  version 12345678-9ABC-DEF0-0123-456789ABCDEF of 2002-01-01 12:00:00, made "
                      "by a server of version 8.0.760: 2 steps, 1 task, 1 connection, 0 global "
                      "variables\n"),
            HasSubstr("of 2002-01-02 06:00:00, made by a server of version 8.0.760: 44 steps, 40 "
                      "tasks, 4 connections, 3 global variables")));
}

TEST(PackageContainer, WhatIsDamagedIsSaidAndTheRestIsTold) {
  WrittenStorage hurt = WrittenPackage();
  hurt.storages["Package00000000"].streams["Version00000000"] = "no file";
  WrittenStorage empty = WrittenPackage();
  empty.streams["PackageDirectory"].resize(16);
  WrittenStorage lost = WrittenPackage();
  lost.storages.clear();
  WrittenStorage bell = WrittenPackage();
  bell.streams["PackageDirectory"] =
      std::string(16, '\0') + DirectoryRecord("a\x1B[31m\a", 1e300, 544);
  WrittenStorage other;
  other.streams["Workbook"] = "cells";
  const struct {
    const WrittenStorage& file;
    const char* words;
  } cases[] = {{hurt, "760: what it holds is damaged\n"},
               {empty, "its directory of packages is empty"},
               {lost, "a package of its directory is not there"},
               {bell, "package a [31m , 2 versions"},
               {other, "there are no packages in it"}};
  for (const auto& c : cases)
    EXPECT_THAT(RefusalOf(CompoundWriter::Write(c.file)), HasSubstr(c.words));
}

/// Every byte that says where something lies is made one that lies; each cut as well.
TEST(PackageContainer, HostileFilesEndInAMessage) {
  const std::string good = CompoundWriter::Write(WrittenPackage());
  for (std::size_t at = 0; at < good.size(); at += at < 600 ? 1 : 61)
    for (const char byte : {'\0', '\x01', '\x7F', '\xFF'}) {
      std::string bad = good;
      bad[at] = byte;
      EXPECT_THAT(RefusalOf(bad), HasSubstr("old.dts: ")) << at;
    }
  for (std::size_t size = 0; size < good.size(); size += 509)
    EXPECT_THAT(RefusalOf(good.substr(0, size)), HasSubstr("old.dts: ")) << size;
}

TEST(PackageContainer, ChainsThatGoRoundEnd) {
  std::string file = CompoundWriter::Write(WrittenPackage());
  // The table of sectors is the last thing in the file: every sector leads to the first.
  const std::size_t table = file.size() - 512;
  for (std::size_t at = table; at < file.size(); at += 4) file.replace(at, 4, Little(0, 4));
  EXPECT_THAT(RefusalOf(file), HasSubstr("its chains of sectors are damaged"));
}

}  // namespace
}  // namespace torvik::importing
