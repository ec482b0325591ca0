#include "config/FileUtils.h"

#include <gtest/gtest.h>

#include "config/modIniFilesUtils.h"
#include "fakes/FakeFiles.h"
#include "fakes/FakeProfile.h"

namespace torvik {
namespace {

TEST(FileUtils, TheNameStandsBehindTheLastSeparator) {
  const struct {
    const char *path, *name;
  } cases[] = {
      {R"(C:\Logs\err.txt)", "err.txt"},
      {R"(C:\Logs\)", ""},
      {"c:err.txt", "c:err.txt"},
      {"/var/log/ err.txt ", "err.txt"},
      {R"(/var\log\a b)", "a b"},
      {"  ", ""},
      {"", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(FileNameOf(c.path), c.name) << c.path;
}

TEST(FileUtils, AddsASeparatorWhereNoneIs) {
  const struct {
    const char *path, *separated, *slashed;
  } cases[] = {{"a", "a\\", "a/"}, {"a\\", "a\\", "a\\"}, {"a/", "a/", "a/"}, {"", "\\", "/"}};
  for (const auto& c : cases) {
    std::string path = c.path;
    EXPECT_EQ(&AddTrailingSeparator(path), &path);
    EXPECT_EQ(path, c.separated) << c.path;
    path = c.path;
    EXPECT_EQ(AddTrailingSlash(path), c.slashed) << c.path;
  }
}

TEST(FileUtils, AFileExistsWhenItsLengthCanBeRead) {
  FakeFiles files;
  files.Put("C:\\jobs\\empty.etl", "");
  files.Put("C:\\jobs\\barred.etl", "");
  files.Fail("C:\\jobs\\barred.etl");
  EXPECT_TRUE(FileExists(files, "C:\\jobs\\empty.etl"));
  EXPECT_FALSE(FileExists(files, "C:\\jobs\\barred.etl"));
  EXPECT_FALSE(FileExists(files, "C:\\jobs"));
  EXPECT_FALSE(FileExists(files, ""));
}

TEST(IniFilesUtils, OnlyTheWordFalseIsFalse) {
  for (const char* text : {"FALSE", "False", "faLse"}) EXPECT_FALSE(IsIniTrue(text)) << text;
  for (const char* text : {"TRUE", "true", "Yes", "0", "", "FALSE ", "FALSEHOOD", "F"}) {
    EXPECT_TRUE(IsIniTrue(text)) << text;
  }
  EXPECT_EQ(IniTruth(VariantTrue), "TRUE");
  for (const VariantBool value : {0, 1, -2}) EXPECT_EQ(IniTruth(value), "FALSE") << value;
}

TEST(IniFilesUtils, QuotesWhatTheReaderWouldTakeOff) {
  const struct {
    const char *text, *quoted;
  } cases[] = {{"", ""},
               {"abc", "abc"},
               {"a b", "a b"},
               {" a", "\" a\""},
               {"a ", "\"a \""},
               {"'a'", "\"'a'\""},
               {"\"a\"", "\"\"a\"\""},
               {"'a\"", "'a\""},
               {"\"a ", "\"\"a \""},
               {"\"", "\""}};
  for (const auto& c : cases) EXPECT_EQ(QuoteForIniFile(c.text), c.quoted) << c.text;
}

TEST(IniFilesUtils, ValuesAreCutTo2047Characters) {
  FakeProfile profile;
  EXPECT_NE(WriteIniString(profile, "S", "Key", std::string(3000, 'x'), "f"), 0);
  EXPECT_EQ(ReadIniString(profile, "S", "KEY", "", "f"), std::string(2047, 'x'));
  EXPECT_EQ(ReadIniString(profile, "S", "Other", "none", "f"), "none");
  profile.failingKey = "Key";
  EXPECT_EQ(WriteIniString(profile, "S", "Key", "x", "f"), 0);
}

}  // namespace
}  // namespace torvik
