#include "package/ErrLogging.h"

#include <gmock/gmock.h>

#include "fakes/FakeFiles.h"
#include "fakes/FakeMessages.h"

namespace torvik {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

std::vector<std::string> NamesIn(FakeFiles& files, const std::string& directory) {
  std::vector<std::string> names;
  files.ListFiles(directory, names);
  return names;
}

TEST(ErrLogging, TheLogDirectoryIsMadeAndItsPlainFilesAreDeleted) {
  FakeFiles files;
  FakeMessages messages;
  ErrLogging logs(files, messages);
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
  FakeMessages messages;
  files.Put("C:\\err.txt", "former");
  ErrLogging(files, messages).PrepareLogDirectory("P", "C:\\logs\\", "C:\\err.txt", true);
  EXPECT_FALSE(files.Exists("C:\\err.txt"));
}

TEST(ErrLogging, ARootIsNeitherEmptiedNorGathered) {
  for (const char* root : {"", "/", "\\", "//"}) {
    FakeFiles files;
    FakeMessages messages;
    files.Put("/P.log", "a log that lies there");
    files.Put("/vmlinuz", "kernel");
    files.Put("here.txt", "a file of the current directory");
    ErrLogging logs(files, messages);
    EXPECT_EQ(logs.PrepareLogDirectory("P", root, "err.txt", false), "") << root;
    logs.CollectRunLogs();
    for (const char* kept : {"/P.log", "/vmlinuz", "here.txt"})
      EXPECT_TRUE(files.Exists(kept)) << root;
    EXPECT_FALSE(files.Exists("err.txt")) << root;
    EXPECT_THAT(messages.reports, ElementsAre(HasSubstr("with LogFileDir"))) << root;
  }
}

TEST(ErrLogging, ADirectoryOfAnotherUserIsRefused) {
  FakeFiles files;
  FakeMessages messages;
  files.Put("/tmp/Torv/P/passwd", "text");
  files.owners["/tmp/Torv/P"] = "anna";
  EXPECT_THAT(ErrLogging(files, messages).PrepareLogDirectory("P", "/tmp/Torv/P/", "e.txt", false),
              HasSubstr("/tmp/Torv/P belongs to the user anna"));
  EXPECT_TRUE(files.Exists("/tmp/Torv/P/passwd"));
}

TEST(ErrLogging, TheCopyOfTheExceptionFileTakesNoLogsPlace) {
  const struct {
    const char* exceptionFile;
    const char* log;  ///< Of the run, by the same name.
    const char* after;
  } cases[] = {{"C:\\P.log", "C:\\logs\\P.log", "former;reason;"},
               {"C:\\rows.txt", "C:\\logs\\rows.txt", "former;reason;"}};
  for (const auto& c : cases) {
    FakeFiles files;
    FakeMessages messages;
    ErrLogging logs(files, messages);
    logs.PrepareLogDirectory("P", "C:\\logs\\", c.exceptionFile, false);
    files.Put(c.exceptionFile, "former;");
    files.Put(c.log, "reason;");
    logs.CollectRunLogs();
    EXPECT_EQ(files.Text(c.exceptionFile), c.after) << c.log;
    EXPECT_EQ(files.Text(c.log), "reason;") << c.log;
    EXPECT_EQ(files.Text(std::string(c.log) + ".former"), "former;") << c.log;
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
    FakeMessages messages;
    ErrLogging logs(files, messages);
    logs.PrepareLogDirectory("P", c.directory, c.exceptionFile, false);
    for (const auto& [path, text] : c.before) files.Put(path, text);
    logs.CollectRunLogs();
    EXPECT_EQ(files.Text(c.exceptionFile), c.after) << c.what;
    EXPECT_EQ(files.Text("C:\\logs\\err.txt"), c.copyInDirectory) << c.what;
  }
}

TEST(ErrLogging, AFailureIsSkippedAndTold) {
  const struct {
    const char* failing;
    const char* told;
    const char* after;  ///< What the exception file holds; the run has left "log;" and "new;".
  } cases[] = {
      {"C:\\logs\\old", "cannot delete C:\\logs\\old: Input/output error; lines of an earlier run",
       "log;new;"},
      {"C:\\logs", "cannot empty the log directory C:\\logs\\: Input/output error; lines of",
       "log;"},
      {"C:\\err.txt", "cannot delete C:\\err.txt: Input/output error; lines of an earlier run",
       "former;"},
  };
  for (const auto& c : cases) {
    FakeFiles files;
    FakeMessages messages;
    files.Put("C:\\err.txt", "former;");
    files.Put("C:\\logs\\old", "old;");
    files.Fail(c.failing, std::errc::io_error);
    ErrLogging logs(files, messages);
    for (int run = 1; run <= 2; ++run) {
      EXPECT_EQ(logs.PrepareLogDirectory("P", "C:\\logs\\", "C:\\err.txt", true), "");
      EXPECT_THAT(logs.Problems(), ElementsAre(HasSubstr(c.told)));
    }
    files.Put("C:\\logs\\P.log", "log;");
    files.Put("C:\\logs\\new", "new;");
    logs.CollectRunLogs();
    EXPECT_EQ(files.Text("C:\\err.txt"), c.after) << c.failing;
    EXPECT_THAT(logs.Problems(), Contains(HasSubstr(c.told)));
  }
}

}  // namespace
}  // namespace torvik
