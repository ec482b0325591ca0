#include "platform/linux/IniText.h"

#include <gtest/gtest.h>

#include "fakes/TemporaryDirectory.h"
#include "platform/linux/IconvCodePages.h"
#include "platform/linux/ProfileFiles.h"

namespace torvik {
namespace {

TEST(IniText, FindsTheFirstKeyOfTheFirstSection) {
  const struct {
    const char *bytes, *value;  // of "key" in [Name]; null: there is none
  } cases[] = {
      {"[Name]\nkey=v", "v"},
      {" [NAME] \r\n\tKEY\t=  v w \t\r\n", "v w"},
      {"\xEF\xBB\xBF[name]\r\nkey=v\r\n", "v"},
      {"\xEF\xBB\xBF\n[name]\nkey=v=w;x\n", "v=w;x"},
      {"[Name]\nkey=\n", ""},
      {"[Name]\nkey=\" v \"\n", " v "},
      {"[Name]\nkey=''v''\n", "'v'"},
      {"[Name]\nkey=\"v'\n", "\"v'"},
      {"[Name]\nkey=\"\n", "\""},
      {"[Name]\nkey=1\nkey=2\n[Name]\nkey=3\n", "1"},
      {"[Other]\nkey=1\n[Name]\n[Name]\nkey=2\n", nullptr},
      {"key=1\n[Name\n;key=2\nkey\n key =3\n", "3"},
      {"[Name]\nkey=1\x81\xE9\n", "1\x81\xE9"},
      {"[Nam]\nkey=1\n[Name2]\nkey=2\n", nullptr},
      {"[Name]\nkeys=1\n", nullptr},
      {"", nullptr},
  };
  for (const auto& c : cases) {
    const auto value = IniText(c.bytes).Find("Name", "key");
    EXPECT_EQ(value.value_or("-"), c.value != nullptr ? c.value : "-") << c.bytes;
  }
}

TEST(IniText, ChangesNothingButTheValue) {
  const struct {
    const char *before, *after;  // key=new is set in [Name]
  } cases[] = {
      {"", "[Name]\r\nkey=new\r\n"},
      {"[Name]\nKey = \"old\" \nx=y\n", "[Name]\nKey = new \nx=y\n"},
      {"[Name]\r\nkey=", "[Name]\r\nkey=new"},
      {"[Name]\r\nkey=  \r\n", "[Name]\r\nkey=new  \r\n"},
      {"[NAME]\na=1\n\n\n[Z]\n", "[NAME]\na=1\nkey=new\n\n\n[Z]\n"},
      {"[Name]\n\n[Z]", "[Name]\nkey=new\n\n[Z]"},
      {"[Name]\r\na=1", "[Name]\r\na=1\r\nkey=new\r\n"},
      {"[Name]", "[Name]\r\nkey=new\r\n"},
      {"a\n[Z]\r\nb", "a\n[Z]\r\nb\n[Name]\nkey=new\n"},
      {"[Name]\n;key=1\n[Name]\nkey=2\n", "[Name]\n;key=1\nkey=new\n[Name]\nkey=2\n"},
      {"\xEF\xBB\xBF[Name]\nkey=\x81\n\xE9\n", "\xEF\xBB\xBF[Name]\nkey=new\n\xE9\n"},
  };
  for (const auto& c : cases) {
    IniText text(c.before);
    text.Set("Name", "key", "new");
    EXPECT_EQ(text.Bytes(), c.after) << c.before;
    EXPECT_EQ(text.Find("name", "KEY"), "new") << c.before;
  }
}

TEST(IniText, ASectionMayBeNamedWithBrackets) {
  IniText text("");
  text.Set("Data Source::[a]", "key", "1");
  text.Set("Data Source::[a] b", "key", "2");
  EXPECT_EQ(text.Find("Data Source::[a]", "key"), "1");
  EXPECT_EQ(text.Find("Data Source::[a] b", "key"), "2");
}

class ProfileFilesTest : public testing::Test {
 protected:
  std::string Get(const std::string& key, std::size_t size = 100, const char* fallback = "none") {
    return profile_->GetPrivateProfileStringA("S", key, fallback, size, disk_.PathOf("f.ini"));
  }
  int Set(const std::string& key, const std::string& value, const std::string& file = "f.ini") {
    return profile_->WritePrivateProfileStringA("S", key, value, disk_.PathOf(file));
  }

  TemporaryDirectory disk_;
  std::unique_ptr<CodePages> codePages_ = NewIconvCodePages("windows-1252");
  std::unique_ptr<Profile> profile_ = NewProfileFiles(PathMap(), *codePages_);
};

TEST_F(ProfileFilesTest, TextsAreInTheCodePageAndCutByCharacters) {
  EXPECT_NE(Set("key", "\u00e9\u20ac\u00fc"), 0);
  EXPECT_EQ(disk_.Read("f.ini"), "[S]\r\nkey=\xE9\x80\xFC\r\n");
  EXPECT_EQ(disk_.ModeOf("f.ini"), 0600);
  EXPECT_EQ(Get("key"), "\u00e9\u20ac\u00fc");
  EXPECT_EQ(Get("key", 3), "\u00e9\u20ac");
  EXPECT_EQ(Get("other", 3), "no");
}

TEST_F(ProfileFilesTest, WhatCannotBeWrittenLeavesTheFileAsItWas) {
  EXPECT_EQ(Get("key"), "none");
  EXPECT_NE(Set("key", "1"), 0);
  for (const std::string& value :
       {std::string("a\nb"), std::string("a\r"), std::string("a\0b", 3)}) {
    EXPECT_EQ(Set("key", value), 0) << value;
    EXPECT_EQ(Set(value, "1"), 0) << value;
  }
  EXPECT_EQ(Set("key", "1", "no/f.ini"), 0);
  EXPECT_EQ(Set("key", "1", ""), 0);  // the directory
  EXPECT_EQ(disk_.Read("f.ini"), "[S]\r\nkey=1\r\n");
  EXPECT_EQ(disk_.Entries(), 1);
}

}  // namespace
}  // namespace torvik
