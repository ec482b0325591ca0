#include "ui/CRegSettings.h"

#include <gtest/gtest.h>

#include "fakes/FakePickers.h"
#include "fakes/FakeRegistry.h"
#include "platform/linux/text/IconvCodePages.h"
#include "ui/ModSHBrowse.h"

namespace torvik {
namespace {

struct CRegSettingsTest : testing::Test {
  FakeRegistry registry;
  std::unique_ptr<CodePages> codePages = NewIconvCodePages("windows-1252");
  CRegSettings settings{registry, codePages->Ansi()};
};

TEST_F(CRegSettingsTest, CompanyApplicationAndSectionMakeThePath) {
  const struct {
    const char* company;
    const char* application;
    const char* section;
    const char* path;
  } cases[] = {{"Quor", "Torvik", "Torv", "software\\quor\\torvik\\torv"},
               {"  A b ", " C ", "", "software\\a b\\c"},
               {"", "", "S", "software\\quor\\torvik\\s"},
               {"   ", "X", "S", "software\\\\x\\s"}};
  for (const auto& c : cases) {
    settings.SetCompany(c.company);
    settings.SetAppName(c.application);
    EXPECT_EQ(VariantTrue, settings.SaveSetting(c.section, "k", "v")) << c.path;
    EXPECT_EQ("v", registry.keys[c.path]["k"]) << c.path;
  }
  settings.SetHive(0x80000001);
  EXPECT_EQ(0x80000002u, settings.Hive());
}

TEST_F(CRegSettingsTest, WhatIsSavedComesBackWithoutItsLastByte) {
  EXPECT_EQ(VariantTrue, settings.SaveSetting("S", "k", "Caf\u00e9!"));
  EXPECT_EQ("Caf\xE9!", registry.keys["software\\quor\\torvik\\s"]["k"]);
  EXPECT_EQ("Caf\u00e9", settings.GetSetting("S", "k", "none"));
  // One that others have stored has its NUL.
  registry.keys["software\\quor\\torvik\\s"]["other"] = std::string("whole\0", 6);
  EXPECT_EQ("whole", settings.GetSetting("S", "other"));
  settings.SaveSetting("S", "empty", "");
  EXPECT_EQ("fallback", settings.GetSetting("S", "empty", "fallback"));
  EXPECT_EQ("fallback", settings.GetSetting("S", "missing", "fallback"));
  EXPECT_EQ("", settings.GetSetting("T", "k"));
  EXPECT_TRUE(registry.open.empty());
}

TEST_F(CRegSettingsTest, AStarIsTheDefaultValueAndNoKeyTheWholeSection) {
  settings.SaveSetting("S", "*", "x");
  EXPECT_EQ("x", registry.keys["software\\quor\\torvik\\s"][""]);
  EXPECT_EQ(VariantTrue, settings.DeleteSetting("S", "*"));
  EXPECT_EQ(VariantFalse, settings.DeleteSetting("S", "*"));
  EXPECT_EQ(VariantTrue, settings.DeleteSetting("S"));
  EXPECT_EQ(0u, registry.keys.count("software\\quor\\torvik\\s"));
  EXPECT_EQ(VariantFalse, settings.DeleteSetting("S"));
  EXPECT_TRUE(registry.open.empty());
}

TEST_F(CRegSettingsTest, WithoutWriteRightsThereAreDefaultsAndFalse) {
  settings.SaveSetting("S", "k", "value");
  registry.mayWrite = false;
  EXPECT_EQ("default", settings.GetSetting("S", "k", "default"));
  EXPECT_EQ(VariantFalse, settings.SaveSetting("S", "k", "x"));
  EXPECT_EQ(VariantFalse, settings.DeleteSetting("S", "k"));
}

TEST(ModSHBrowse, AsksTheShell) {
  FakeShellBrowser shell;
  std::string start = "C:\\data\\";
  EXPECT_EQ("", BrowseForFolder(shell, start, "Folder"));
  EXPECT_EQ("C:\\data", start);
  EXPECT_EQ("C:\\data", shell.asked[0].selection);
  EXPECT_EQ(0u, shell.asked[0].flags);
  shell.choice = "SRV";
  EXPECT_EQ("SRV", BrowseForComputer(shell, "Computer"));
  EXPECT_EQ(4096u, shell.asked[1].flags);
  EXPECT_EQ(18, shell.asked[1].root);
  shell.hasNetwork = false;
  BrowseForComputer(shell, "Computer");
  EXPECT_EQ(std::nullopt, shell.asked[2].root);
  for (const auto& [text, stripped] :
       {std::pair{"", ""}, {"\\", ""}, {"a\\\\", "a\\"}, {"a/", "a/"}})
    EXPECT_EQ(stripped, StripTrailingBackslash(text)) << text;
}

}  // namespace
}  // namespace torvik
