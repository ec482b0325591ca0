// What a user may choose from: servers of the settings, folders of this machine and of shares.

#include <gmock/gmock.h>

#include "platform/linux/LinuxNeighbourhood.h"
#include "platform/linux/settings/SettingsFile.h"
#include "servers/SambaServer.h"

namespace torvik {
namespace {

using testing::Contains;
using testing::ElementsAre;

TEST(Neighbourhood, HasServersAndFolders) {
  SambaServer server;
  server.Write("in/b/deep/file", "x");
  server.Write("in/a/file", "x");
  server.Write("in/file", "x");
  Settings settings;
  ASSERT_EQ("", ParseSettings(server.Section() + "[server DWPROD]\nbackend = odbc\n[paths]\n" +
                                  "drive D: = " + server.PathOf("in") +
                                  "\nshare \\\\files\\in = " + server.PathOf("in/b") + "\n",
                              settings));
  const auto places = NewLinuxNeighbourhood(settings, settings.Paths());
  EXPECT_THAT(places->KnownServers(), testing::AllOf(Contains("(local)"), Contains("dwprod")));
  EXPECT_THAT(places->FolderRoots(), ElementsAre("D:\\", "\\\\files\\in", "/"));
  const struct {
    std::string folder;
    std::vector<std::string> names;
  } cases[] = {{"D:\\", {"a", "b"}},
               {"d:/b", {"deep"}},
               {server.PathOf("in"), {"a", "b"}},
               {"\\\\files\\in", {"deep"}},
               {SambaServer::Unc("in", ""), {"a", "b"}},
               {SambaServer::Unc("in", "b"), {"deep"}}};
  for (const auto& c : cases) {
    std::vector<std::string> names;
    EXPECT_FALSE(places->SubFolders(c.folder, names)) << c.folder;
    EXPECT_EQ(c.names, names) << c.folder;
  }
  std::vector<std::string> names;
  EXPECT_TRUE(places->SubFolders("D:\\none", names));
  EXPECT_TRUE(places->SubFolders(SambaServer::Unc("in", "none"), names));
  EXPECT_EQ(server.PathOf("in") + "/x", places->LinuxPath("D:\\x"));
}

}  // namespace
}  // namespace torvik
