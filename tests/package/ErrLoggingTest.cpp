#include "package/ErrLogging.h"

#include <gmock/gmock.h>

#include "fakes/FakeFiles.h"

namespace torvik {
namespace {

using ::testing::ElementsAre;

std::vector<std::string> NamesIn(FakeFiles& files, const std::string& directory) {
  std::vector<std::string> names;
  files.ListFiles(directory, names);
  return names;
}

TEST(ErrLogging, TheLogDirectoryIsMadeAndItsPlainFilesAreDeleted) {
  FakeFiles files;
  ErrLogging logs(files);
  logs.PrepareLogDirectory("Sales_LoadDW", "C:\\new\\logs\\", "C:\\err.txt", false);
  EXPECT_EQ(files.directories.count("C:/new/logs"), 1u);

  files.Put("C:\\logs\\old.log", "old");
  files.Put("C:\\logs\\kept\\below.log", "in a subdirectory");
  files.Put("C:\\err.txt", "former");
  for (const char* directory : {"C:\\logs\\", "C:\\logs"}) {
    files.Put("C:\\logs\\old.log", "old");
    logs.PrepareLogDirectory("Sales_LoadDW", directory, "C:\\err.txt", false);
    EXPECT_THAT(NamesIn(files, "C:\\logs"), ElementsAre()) << directory;
  }
  EXPECT_TRUE(files.Exists("C:\\logs\\kept\\below.log"));
  EXPECT_EQ(files.Text("C:\\err.txt"), "former");
}

TEST(ErrLogging, TruncateDeletesTheExceptionFile) {
  FakeFiles files;
  files.Put("C:\\err.txt", "former");
  ErrLogging(files).PrepareLogDirectory("P", "C:\\logs\\", "C:\\err.txt", true);
  EXPECT_FALSE(files.Exists("C:\\err.txt"));
}

TEST(ErrLogging, ARootIsNeverEmptied) {
  for (const char* root : {"", "/", "\\", "//"}) {
    FakeFiles files;
    files.Put("/vmlinuz", "kernel");
    files.Put("here.txt", "a file of the current directory");
    ErrLogging logs(files);
    logs.PrepareLogDirectory("P", root, "err.txt", false);
    logs.CollectRunLogs();
    EXPECT_TRUE(files.Exists("/vmlinuz")) << root;
    EXPECT_TRUE(files.Exists("here.txt")) << root;
    EXPECT_FALSE(files.Exists("err.txt")) << root;
  }
}

TEST(ErrLogging, TheExceptionFileReceivesThePackageLogAndThenTheOthers) {
  const struct {
    const char* what;
    const char* directory;
    const char* exceptionFile;
    std::vector<std::pair<const char*, const char*>> before;
    const char* after;
    const char* copyInDirectory;  ///< The log directory keeps the former exception file.
  } cases[] = {
      {"all there",
       "C:\\logs\\",
       "C:\\err.txt",
       {{"C:\\err.txt", "former;"},
        {"C:\\logs\\P.log", "log;"},
        {"C:\\logs\\a b.txt", "ab;"},
        {"C:\\logs\\p.log", "other case;"}},
       "former;log;ab;other case;",
       "former;"},
      {"no exception file", "C:\\logs\\", "C:\\err.txt", {{"C:\\logs\\P.log", "log;"}}, "log;", ""},
      {"no package log",
       "C:\\logs\\",
       "C:\\err.txt",
       {{"C:\\err.txt", "former;"}, {"C:\\logs\\a", "a;"}},
       "former;a;",
       "former;"},
      {"directory without its separator: its files are not listed",
       "C:\\logs",
       "C:\\err.txt",
       {{"C:\\err.txt", "former;"}, {"C:\\logs\\P.log", "log;"}, {"C:\\logs\\a", "a;"}},
       "former;log;",
       "former;"},
      {"exception file in the log directory: not appended to itself",
       "C:\\logs\\",
       "C:\\logs\\err.txt",
       {{"C:\\logs\\err.txt", "former;"}, {"C:\\logs\\P.log", "log;"}, {"C:\\logs\\z", "z;"}},
       "former;log;z;",
       "former;log;z;"},
  };
  for (const auto& c : cases) {
    FakeFiles files;
    ErrLogging logs(files);
    logs.PrepareLogDirectory("P", c.directory, c.exceptionFile, false);
    for (const auto& [path, text] : c.before) files.Put(path, text);
    logs.CollectRunLogs();
    EXPECT_EQ(files.Text(c.exceptionFile), c.after) << c.what;
    EXPECT_EQ(files.Text("C:\\logs\\err.txt"), c.copyInDirectory) << c.what;
  }
}

TEST(ErrLogging, FailuresAreSkipped) {
  FakeFiles files;
  files.Fail("C:\\logs");
  ErrLogging logs(files);
  logs.PrepareLogDirectory("P", "C:\\logs\\", "C:\\err.txt", true);
  files.Put("C:\\err.txt", "former;");
  logs.CollectRunLogs();
  EXPECT_EQ(files.Text("C:\\err.txt"), "former;");
}

}  // namespace
}  // namespace torvik
