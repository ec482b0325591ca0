#include "platform/linux/system/PathMap.h"

#include <gtest/gtest.h>

#include "platform/linux/shares/UncPath.h"

namespace torvik {
namespace {

TEST(PathMap, LeadsFromEitherSpellingToALinuxPath) {
  const PathMap paths({{"c", "/srv/c"}}, {{"\\\\files\\incoming", "/mnt/in"}}, "/proc/none");
  const std::pair<const char*, const char*> cases[] = {
      {"", ""},
      {"jobs\\a b.etl", "jobs/a b.etl"},
      {"//files/incoming/x", "//files/incoming/x"},
      {"\\tmp\\x", "/tmp/x"},
      {"C:\\Logs\\Err.txt", "/srv/c/Logs/Err.txt"},
      {"c:/Logs\\", "/srv/c/Logs/"},
      {"C:err.txt", "/srv/c/err.txt"},
      {"C:", "/srv/c"},
      {"D:\\x", "/proc/none/d/x"},
      {"1:\\x", "1:/x"},
      {"CD:\\x", "CD:/x"},
      {"\\\\FILES\\Incoming\\Sub\\X.csv", "/mnt/in/Sub/X.csv"},
      {"\\\\files/incoming", "/mnt/in"},
      {"\\\\files\\incoming\\", "/mnt/in/"}};
  for (const auto& [path, linuxPath] : cases) {
    std::error_code error = std::make_error_code(std::errc::io_error);
    EXPECT_EQ(paths.ToLinux(path, error), linuxPath) << path;
    EXPECT_FALSE(error) << path << ": " << error.message();
  }
}

TEST(PathMap, NamesWhatIsNotMapped) {
  const std::string advice = "; add it to [paths] of torvik.conf";
  const std::pair<std::string, std::string> cases[] = {
      {"\\\\Srv\\Out\\x", "no directory is mapped for the share \\\\Srv\\Out" + advice},
      {"\\\\Srv", "no directory is mapped for the share \\\\Srv" + advice},
      {"X:\\a", "no directory is mapped for the drive X:" + advice},
      {std::string("a\0b", 3), "Invalid argument"}};
  const PathMap original;
  const PathMap paths = original;
  std::vector<std::error_code> errors(std::size(cases));
  for (std::size_t i = 0; i < errors.size(); ++i)
    EXPECT_EQ(paths.ToLinux(cases[i].first, errors[i]), "") << cases[i].first;
  for (std::size_t i = 0; i < errors.size(); ++i)
    EXPECT_EQ(errors[i].message(), cases[i].second) << cases[i].first;
}

TEST(PathMap, KnowsRootsHoweverTheyAreSpelled) {
  const PathMap paths({{"c", "/srv/c/"}}, {{"\\\\files\\incoming", "/mnt/in"}}, "/var/drives");
  for (const char* root : {"",
                           "/",
                           "\\",
                           "//",
                           "/./",
                           "/tmp/..",
                           "\\tmp\\..\\.",
                           "C:",
                           "C:\\",
                           "c:/.",
                           "C:\\..",
                           "D:\\",
                           "C:\\a\\..\\..",
                           "\\\\files\\incoming",
                           "\\\\FILES\\incoming\\.",
                           "\\\\other\\share\\",
                           "\\\\server",
                           "/srv/c",
                           "/srv/x/../c/",
                           "/mnt/in/."})
    EXPECT_TRUE(paths.IsRoot(root)) << root;
  for (const char* other : {".", "logs", "..", "/tmp", "C:\\logs", "D:\\logs\\.",
                            "\\\\files\\incoming\\logs", "/srv/c/logs", "/srv", "/mnt/in2"})
    EXPECT_FALSE(paths.IsRoot(other)) << other;
}

TEST(PathMap, TellsPathsThatLeadToAServer) {
  const PathMap paths({}, {{"\\\\files\\in", "/mnt/in"}}, "");
  const std::tuple<std::string, bool, std::string, std::string> cases[] = {
      {"\\\\FILES/in\\a", false, "in/a", "\\\\FILES\\in"},
      {"\\\\files\\in2\\a b\\c/", true, "in2/a b/c", "\\\\files\\in2\\a b"},
      {"\\\\files\\out", true, "out", "\\\\files\\out"},
      {"\\\\s\\out\\..\\.\\a\\\\..\\b", true, "out/b", "\\\\s\\out"},
      {"\\\\s", true, "", ""},
      {"\\\\s\\", true, "", ""},
      {"\\\\s@t\\out", true, "", ""},
      {"\\\\\\out\\a", true, "", ""},
      {std::string("\\\\s\\o\0", 6), true, "", ""},
      {"//files/out/a", false, "", ""},
      {"C:\\a", false, "", ""}};
  for (const auto& [path, isUnmapped, inServer, directory] : cases) {
    EXPECT_EQ(isUnmapped, paths.IsUnmappedShare(path)) << path;
    const auto place = ParseUncPath(path);
    EXPECT_EQ(inServer, place ? place->InServer() : "") << path;
    EXPECT_EQ(directory, place ? place->Directory().Text() : "") << path;
  }
}

}  // namespace
}  // namespace torvik
