#include "platform/linux/Settings.h"

#include <gmock/gmock.h>

#include "fakes/TemporaryDirectory.h"
#include "platform/linux/SettingsFile.h"

namespace torvik {
namespace {

using testing::StartsWith;

TEST(Settings, TakesTheFileOver) {
  Settings settings;
  ASSERT_EQ(ParseSettings("; the machine's own\r\n"
                          "[Text]\n code_page = utf-8   ; of everything\n"
                          "[paths]\nDrive C: = /srv/c;1\t;comment\n"
                          "share \\\\Files\\In = \"/mnt/a ; b\" ; comment\n"
                          "[ftp]\nmode = active ; or passive\nanything = goes\n"
                          "[server DWProd\\First]\nbackend = ODBC\ndriver = FreeTDS ; or dsn\n"
                          "Port = 1433\n"
                          "[server (local)]\ndirectory = /srv/local\n"
                          "[provider MSDAORA.1]\ndriver = x",
                          settings),
            "");
  EXPECT_EQ(settings.codePage, "utf-8");
  EXPECT_EQ(settings.drives, (std::map<std::string, std::string>{{"c", "/srv/c;1"}}));
  EXPECT_EQ(settings.shares, (std::map<std::string, std::string>{{"\\\\files\\in", "/mnt/a ; b"}}));
  const ServerSettings* server = settings.FindServer("DWPROD\\first");
  ASSERT_NE(server, nullptr);
  EXPECT_EQ(server->backend, "odbc");
  EXPECT_EQ(server->options,
            (std::map<std::string, std::string>{{"driver", "FreeTDS"}, {"port", "1433"}}));
  ASSERT_NE(settings.FindServer("(LOCAL)"), nullptr);
  EXPECT_EQ(settings.FindServer("(LOCAL)")->backend, "embedded");
  EXPECT_EQ(settings.FindServer("(LOCAL)")->directory, "/srv/local");
  EXPECT_EQ(settings.FindServer("other"), nullptr);
}

TEST(Settings, TellsWhereAndWhyTheFileIsWrong) {
  const struct {
    const char *text, *problem;
  } cases[] = {
      {"x = 1", "line 1: a [SECTION] must come before the first key"},
      {"\n[sever DW]\n", "line 2: the section [sever DW] is not known; there are [text]"},
      {"[server]\n", "line 1: the section [server] is not known"},
      {"[text]\nencoding = x\n", "line 2: [text] has no key \"encoding\"; there is code_page"},
      {"[text]\r\n\r\ncode_page = utf-99 ; x\r\n", "line 3: \"utf-99\" is not a single-byte"},
      {"[text]\ncode_page\n", "line 2: this is neither [SECTION] nor KEY = VALUE"},
      {"[paths]\ndrive C = /c\n", "line 2: [paths] has no key \"drive c\"; there are \"drive X:\""},
      {"[paths]\nshare \\\\files = /c\n", "line 2: [paths] has no key \"share \\\\files\""},
      {"[paths]\nshare \\\\a\\b\\c = /c\n", "line 2: [paths] has no key"},
      {"[paths]\ndrive C: = c\n", "line 2: a directory is given by its full path"},
      {"[paths]\ndrive C: = /c\n\ndrive c: = /d\n", "line 4: \"drive c:\" is given twice"},
      {"[server X]\nbackend = sqlite\n", "line 2: the backend \"sqlite\" is not known"},
      {"[server X]\n[server Y]\nbackend = odbc\n", "line 1: [server x]: no backend is named"},
      {"\n[server X]\nbackend = embedded\n", "line 2: [server x]: an embedded server needs a"},
      {"[server (local)]\nport = 1\n", "line 1: [server (local)]: an embedded server has no key"},
      {"[server X]\nbackend = embedded\ndirectory = x\n", "line 3: a directory is given by its"},
  };
  for (const auto& c : cases) {
    Settings settings;
    settings.sourceFile = "t.conf";
    EXPECT_THAT(ParseSettings(c.text, settings), StartsWith("t.conf, " + std::string(c.problem)))
        << c.text;
  }
}

TEST(Settings, StateHasItsPlace) {
  const struct {
    Environment environment;
    const char *state, *temporary;
  } cases[] = {
      {{{{"TORVIK_STATE", "/s"}, {"HOME", "/h"}}, true}, "/s", "/s/tmp"},
      {{{{"HOME", "/h"}}, true}, "/var/lib/torvik", "/var/lib/torvik/tmp"},
      {{{{"HOME", "/h"}, {"TMPDIR", "/t"}}, false}, "/h/.local/state/torvik", "/t"},
      {{{{"HOME", "/h"}, {"XDG_STATE_HOME", "/x"}, {"TMPDIR", ""}}, false},
       "/x/torvik",
       "/x/torvik/tmp"},
  };
  for (const auto& c : cases) {
    Environment environment = c.environment;
    environment.variables["TORVIK_CONF"] = "/dev/null";
    Settings settings;
    EXPECT_EQ(LoadSettings(environment, settings), "") << c.state;
    EXPECT_EQ(settings.stateDirectory, c.state);
    EXPECT_EQ(settings.temporaryDirectory, c.temporary);
    EXPECT_EQ(settings.codePage, "windows-1252");
    EXPECT_EQ(settings.FindServer("(local)")->backend, "embedded");
    EXPECT_EQ(settings.FindServer("(local)")->directory, c.state + std::string("/servers/local"));
  }
  Settings settings;
  EXPECT_THAT(LoadSettings({}, settings), StartsWith("there is no directory for"));
}

TEST(Settings, TheFileIsLookedForInItsOrder) {
  TemporaryDirectory disk;
  disk.Write("own.conf", "[text]\ncode_page = utf-8\n");
  disk.Write("user/torvik/torvik.conf", "[server (local)]\nbackend = odbc\n");
  disk.Write("home/.config/torvik/torvik.conf", "[nothing]\n");
  Environment environment{{{"HOME", disk.PathOf("home")}}, false};
  Settings settings;
  EXPECT_EQ(LoadSettings(environment, settings),
            disk.PathOf("home/.config/torvik/torvik.conf") +
                ", line 1: the section [nothing] is not known; there are [text], [paths], [ftp], "
                "[server NAME], [provider NAME]");

  environment.variables["XDG_CONFIG_HOME"] = disk.PathOf("user");
  settings = {};
  EXPECT_EQ(LoadSettings(environment, settings), "");
  EXPECT_EQ(settings.sourceFile, disk.PathOf("user/torvik/torvik.conf"));
  EXPECT_EQ(settings.FindServer("(local)")->backend, "odbc");
  EXPECT_EQ(settings.FindServer("(local)")->directory, "");

  environment.variables["TORVIK_CONF"] = disk.PathOf("own.conf");
  settings = {};
  EXPECT_EQ(LoadSettings(environment, settings), "");
  EXPECT_EQ(settings.codePage, "utf-8");

  environment.variables["TORVIK_CONF"] = disk.PathOf("gone.conf");
  EXPECT_EQ(LoadSettings(environment, settings),
            disk.PathOf("gone.conf") + " cannot be read: No such file or directory");
}

}  // namespace
}  // namespace torvik
