#include "config/FileUtils.h"

#include <gtest/gtest.h>

#include "config/modIniFilesUtils.h"
#include "fakes/FakeProfile.h"

namespace torvik {
namespace {

using Texts = std::pair<const char*, const char*>;

TEST(FileUtils, TheNameStandsBehindTheLastSeparator) {
  const Texts cases[] = {{R"(C:\Logs\err.txt)", "err.txt"},
                         {R"(C:\Logs\)", ""},
                         {"c:err.txt", "c:err.txt"},
                         {"/var/log/ err.txt ", "err.txt"},
                         {R"(/var\log\a b)", "a b"},
                         {"  ", ""},
                         {"", ""}};
  for (const auto& [path, name] : cases) EXPECT_EQ(FileNameOf(path), name) << path;
}

TEST(FileUtils, AddsASeparatorWhereNoneIs) {
  const std::tuple<std::string, const char*, const char*> cases[] = {
      {"a", "a\\", "a/"}, {"a\\", "a\\", "a\\"}, {"a/", "a/", "a/"}, {"", "\\", "/"}};
  for (auto [path, separated, slashed] : cases) {
    std::string other = path;
    EXPECT_EQ(AddTrailingSeparator(other), separated) << path;
    EXPECT_EQ(other, separated) << path;
    EXPECT_EQ(AddTrailingSlash(path), slashed) << path;
  }
}

TEST(IniFilesUtils, OnlyTheWordFalseIsFalse) {
  for (const char* text : {"FALSE", "False", "faLse"}) EXPECT_FALSE(IsIniTrue(text)) << text;
  for (const char* text : {"TRUE", "true", "Yes", "0", "", "FALSE ", "FALSEHOOD", "F"})
    EXPECT_TRUE(IsIniTrue(text)) << text;
  EXPECT_EQ(IniTruth(VariantTrue), "TRUE");
  for (const VariantBool value : {0, 1, -2}) EXPECT_EQ(IniTruth(value), "FALSE") << value;
}

TEST(IniFilesUtils, QuotesWhatTheReaderWouldTakeOff) {
  const Texts cases[] = {{"", ""},
                         {"abc", "abc"},
                         {"a b", "a b"},
                         {" a", "\" a\""},
                         {"a ", "\"a \""},
                         {"'a'", "\"'a'\""},
                         {"\"a\"", "\"\"a\"\""},
                         {"'a\"", "'a\""},
                         {"\"a ", "\"\"a \""},
                         {"\"", "\""}};
  for (const auto& [text, quoted] : cases) EXPECT_EQ(QuoteForIniFile(text), quoted) << text;
}

TEST(IniFilesUtils, ValuesAreCutTo2047Characters) {
  FakeProfile profile;
  EXPECT_NE(WriteIniString(profile, "S", "Key", std::string(3000, 'x'), "f"), 0);
  EXPECT_EQ(ReadIniString(profile, "S", "KEY", "", "f"), std::string(2047, 'x'));
}

}  // namespace
}  // namespace torvik
