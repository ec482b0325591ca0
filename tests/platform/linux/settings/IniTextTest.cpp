#include "platform/linux/settings/IniText.h"

#include <gtest/gtest.h>

#include "fakes/TemporaryDirectory.h"
#include "platform/linux/settings/ProfileFiles.h"
#include "platform/linux/text/IconvCodePages.h"

namespace torvik {
namespace {

TEST(IniText, FindsTheFirstKeyOfTheFirstSection) {
  // The value of "key" in [Name]; "none" when there is none.
  const std::pair<const char*, const char*> cases[] = {
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
      {"[Other]\nkey=1\n[Name]\n[Name]\nkey=2\n", "none"},
      {"key=1\n[Name\n;key=2\nkey\n key =3\n", "3"},
      {"[Name]\nkey=1\x81\xE9\n", "1\x81\xE9"},
      {"[Nam]\nkey=1\n[Name2]\nkey=2\n", "none"},
      {"[Name]\nkeys=1\n", "none"},
      {"", "none"}};
  for (const auto& [bytes, value] : cases)
    EXPECT_EQ(IniText(bytes).Find("Name", "key").value_or("none"), value) << bytes;
}

TEST(IniText, ChangesNothingButTheValue) {
  // Before and after key=new is set in [Name].
  const std::pair<const char*, const char*> cases[] = {
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
      {"\xEF\xBB\xBF[Name]\nkey=\x81\n\xE9\n", "\xEF\xBB\xBF[Name]\nkey=new\n\xE9\n"}};
  for (const auto& [before, after] : cases) {
    IniText text(before);
    text.Set("Name", "key", "new");
    EXPECT_EQ(text.Bytes(), after) << before;
    EXPECT_EQ(text.Find("name", "KEY"), "new") << before;
  }
}

TEST(IniText, ASectionMayBeNamedWithBrackets) {
  IniText text("");
  text.Set("Data Source::[a]", "key", "1");
  text.Set("Data Source::[a] b", "key", "2");
  EXPECT_EQ(text.Find("Data Source::[a]", "key"), "1");
  EXPECT_EQ(text.Find("Data Source::[a] b", "key"), "2");
}

TEST(ProfileFiles, KeepTextsInTheCodePageAndTheFileAsItWasOnFailure) {
  const TemporaryDirectory disk;
  const auto codePages = NewIconvCodePages("windows-1252");
  const auto profile = NewProfileFiles(PathMap(), *codePages);
  const auto get = [&](const char* key, std::size_t size) {
    return profile->GetPrivateProfileStringA("S", key, "none", size, disk.PathOf("f.ini"));
  };
  const auto set = [&](const std::string& key, const std::string& value, const char* file) {
    return profile->WritePrivateProfileStringA("S", key, value, disk.PathOf(file)) != 0;
  };
  EXPECT_EQ(get("key", 100), "none");
  EXPECT_TRUE(set("key", "\u00e9\u20ac\u00fc", "f.ini"));
  EXPECT_EQ(get("key", 100), "\u00e9\u20ac\u00fc");
  EXPECT_EQ(get("key", 3), "\u00e9\u20ac");
  EXPECT_EQ(get("other", 3), "no");
  for (const std::string& bad : {std::string("a\nb"), std::string("a\r"), std::string("a\0b", 3)}) {
    EXPECT_FALSE(set("key", bad, "f.ini")) << bad;
    EXPECT_FALSE(set(bad, "1", "f.ini")) << bad;
  }
  EXPECT_FALSE(set("key", "1", "no/f.ini"));
  EXPECT_FALSE(set("key", "1", ""));  // the directory
  EXPECT_EQ(disk.Read("f.ini"), "[S]\r\nkey=\xE9\x80\xFC\r\n");
  EXPECT_EQ(disk.ModeOf("f.ini"), 0600);
  EXPECT_EQ(disk.Entries(), 1);
}

}  // namespace
}  // namespace torvik
