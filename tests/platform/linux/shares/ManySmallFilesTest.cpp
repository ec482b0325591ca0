// A directory of many small files, which come over several connections.

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <set>
#include <thread>

#include "fakes/TemporaryDirectory.h"
#include "platform/linux/settings/SettingsFile.h"
#include "platform/linux/shares/ShareDirectory.h"
#include "platform/linux/shares/SmbReaders.h"
#include "platform/linux/shares/SmbServers.h"
#include "platform/linux/shares/SmbShell.h"
#include "platform/linux/system/CopyFiles.h"
#include "platform/linux/system/FetchCounter.h"
#include "platform/linux/text/IconvCodePages.h"
#include "servers/SambaServer.h"

namespace torvik {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::HasSubstr;

std::string NameOf(std::size_t number) {
  return "file " + std::to_string(number) + " \xC3\xA4.csv";
}

/// Each is another one; every fifth is too large for a reader.
std::string TextOf(std::size_t number) {
  const std::size_t sizes[] = {4096, 0, 100, kLargestReadFile, kLargestReadFile + 1};
  const std::string head = std::to_string(number) + ";";
  std::string text(sizes[number % std::size(sizes)], 'x');
  return text.replace(0, std::min(head.size(), text.size()), head, 0, text.size());
}

std::set<pid_t> ChildrenOf(pid_t process) {
  const std::string id = std::to_string(process);
  std::ifstream children("/proc/" + id + "/task/" + id + "/children");
  return {std::istream_iterator<pid_t>(children), {}};
}

/// False when it has not come true in ten seconds.
bool ComesTrue(const std::function<bool()>& condition) {
  for (int times = 0; times < 1000; ++times, std::this_thread::sleep_for(10ms))
    if (condition()) return true;
  return false;
}

/// The directory of the many files; before the tenth is opened, `cut` is called.
class CutDirectory final : public SourceDirectory {
 public:
  CutDirectory(SmbServers& servers, std::function<void()> cut)
      : from_(servers, *ParseUncPath(SambaServer::Unc("in", "many")), TORVIK_ADMIN_PROGRAM),
        cut_(std::move(cut)) {}

  std::vector<Entry> List(FileFailure& failure) override { return from_.List(failure); }
  std::unique_ptr<SourceFile> Open(const std::string& name, std::error_code& error) override {
    if (++opened_ == 10) cut_();
    return from_.Open(name, error);
  }
  bool HasAnotherWay() override { return from_.HasAnotherWay(); }
  std::string PathOf(const std::string& name) const override { return from_.PathOf(name); }
  std::string Words(const std::string& name, const std::error_code& error) const override {
    return from_.Words(name, error);
  }

 private:
  ShareDirectory from_;
  const std::function<void()> cut_;
  int opened_ = 0;
};

class ManySmallFiles : public testing::Test {
 protected:
  static constexpr std::size_t kFiles = 300;

  ManySmallFiles() {
    for (std::size_t i = 0; i < kFiles; ++i)
      for (const char* share : {"in", "single"})
        server_.Write(share + ("/many/" + NameOf(i)), TextOf(i));
    EXPECT_EQ("", ParseSettings(server_.Section(), settings_));
  }

  std::unique_ptr<Shell> ShellWith(const std::string& program, FetchObserver onFetch = {}) const {
    return NewSmbShell(settings_, PathMap(), *codePages_, program, std::move(onFetch));
  }

  /// Answers why it failed; empty when it did not.
  std::string Fetch(Shell& shell, const std::string& share = "in") const {
    const int number =
        shell.SHFileOperationA({.from = SambaServer::Unc(share, "many\\*.*"), .to = to_.Path()});
    EXPECT_EQ(number == 0, shell.CopyFailure().empty());
    return shell.CopyFailure();
  }

  void ExpectAll() const {
    EXPECT_EQ(kFiles, to_.Entries());
    for (std::size_t i = 0; i < kFiles; ++i)
      ASSERT_TRUE(TextOf(i) == to_.Read(NameOf(i))) << NameOf(i);
  }

  /// The processes that serve connections, and some others.
  std::set<pid_t> ServerProcesses() const {
    return ChildrenOf(std::stoi(server_.Read("../samba/pid/smbd.pid")));
  }

  SambaServer server_;
  Settings settings_;
  const std::unique_ptr<CodePages> codePages_ = NewIconvCodePages("windows-1252");
  const TemporaryDirectory to_;
};

TEST_F(ManySmallFiles, ComeWholeWhateverBecomesOfTheReaders) {
  const struct {
    const char* what;
    std::string program, share = "in";
  } cases[] = {{"readers", TORVIK_ADMIN_PROGRAM},
               {"a server that takes one connection", TORVIK_ADMIN_PROGRAM, "single"},
               {"no readers", ""},
               {"no such program", "/nowhere/torvik-admin"},
               {"one that ends", "/bin/false"},
               {"one that answers nonsense", "/bin/cat"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    for (std::size_t i = 0; i < kFiles; ++i) to_.Write(NameOf(i), "old");
    EXPECT_EQ("", Fetch(*ShellWith(c.program), c.share));
    ExpectAll();
    EXPECT_THAT(ChildrenOf(getpid()), testing::IsEmpty());
  }
}

TEST_F(ManySmallFiles, TheFirstOneThatCannotBeReadEndsTheFetch) {
  // A pipe is listed as a file, and refused when it is read.
  const std::string pipe = NameOf(kFiles / 2);
  fs::remove(server_.PathOf("in/many/" + pipe));
  ASSERT_EQ(0, mkfifo(server_.PathOf("in/many/" + pipe).c_str(), 0600));
  const std::string failure = Fetch(*ShellWith(""));
  EXPECT_THAT(failure, HasSubstr(pipe + ": the user " + SambaServer::User() + " has no rights"));
  const auto came = to_.Entries();
  for (const auto& entry : fs::directory_iterator(to_.Path())) fs::remove(entry);
  EXPECT_EQ(failure, Fetch(*ShellWith(TORVIK_ADMIN_PROGRAM)));
  EXPECT_EQ(came, to_.Entries()) << "the same ones have come, and nothing lies beside them";
}

TEST_F(ManySmallFiles, ComeThoughConnectionsAreCut) {
  for (const std::string which : {"all", "the first", "the others"}) {
    SCOPED_TRACE(which);
    for (const auto& entry : fs::directory_iterator(to_.Path())) fs::remove(entry);
    const std::set<pid_t> others = ServerProcesses();
    SmbServers servers(settings_);
    CutDirectory directory(servers, [&] {
      std::vector<pid_t> connections;
      EXPECT_TRUE(ComesTrue([&] {
        connections.clear();
        std::ranges::set_difference(ServerProcesses(), others, std::back_inserter(connections));
        return connections.size() >= 3;
      }));
      for (const pid_t connection : connections)
        if (which == "all" || (which == "the first") == (connection == connections.front()))
          kill(connection, SIGKILL);
    });
    FetchCounter counter({});
    EXPECT_EQ("", CopyFiles(directory, to_.Path(), counter).words);
    ExpectAll();
  }
}

TEST_F(ManySmallFiles, AStopLeavesNothingBehind) {
  const auto shell =
      ShellWith(TORVIK_ADMIN_PROGRAM, [](const FetchProgress&) { throw FetchStopped(); });
  EXPECT_THROW(Fetch(*shell), FetchStopped);
  EXPECT_THAT(ChildrenOf(getpid()), testing::IsEmpty());
  for (const auto& entry : fs::directory_iterator(to_.Path()))
    EXPECT_THAT(entry.path().filename(), testing::StartsWith("file"));
}

TEST_F(ManySmallFiles, ReadersBringThoseThatAreAsTheyWereListed) {
  fs::remove(server_.PathOf("in/many/" + NameOf(1)));
  ASSERT_EQ(0, mkfifo(server_.PathOf("in/many/" + NameOf(1)).c_str(), 0600));
  const struct {
    std::size_t number, listed;
    bool comes;
  } cases[] = {{0, 4096, true}, {0, 4095, false}, {0, 4097, false},
               {1, 0, false},   {2, 100, true},   {3, kLargestReadFile, true},
               {5, 0, false},   {6, 0, true},     {kFiles, 100, false}};
  const ReaderFile first{"in/many/" + NameOf(7), 100};
  std::vector<ReaderFile> files(1000, first);
  for (const auto& c : cases) files.push_back({"in/many/" + NameOf(c.number), c.listed});
  files.resize(files.size() + 100, first);
  SmbSettings settings = settings_.Smb("127.0.0.1");
  settings.timeoutSeconds = 600;
  SmbReaders readers(TORVIK_ADMIN_PROGRAM,
                     {"127.0.0.1", "in", settings, {settings.user, settings.password, ""}}, files);

  std::size_t file = 0;
  const auto take = [&] { return readers.Take(files[file++].path); };
  ASSERT_TRUE(ComesTrue([&] { return file < 900 && take().has_value(); }));
  while (file < 1000) EXPECT_EQ(TextOf(7), take()) << file;
  for (const auto& c : cases)
    EXPECT_EQ(c.comes ? std::optional(TextOf(c.number)) : std::nullopt, take())
        << c.number << " " << c.listed;

  // One that ends before its answer is not waited for.
  const std::set<pid_t> processes = ChildrenOf(getpid());
  ASSERT_EQ(1, processes.size());
  const std::set<pid_t> children = ChildrenOf(*processes.begin());
  ASSERT_LT(1, children.size());
  kill(*children.begin(), SIGKILL);
  ASSERT_TRUE(ComesTrue([&] { return ChildrenOf(*processes.begin()).empty(); }));
  while (file + 1 < files.size()) take();
  EXPECT_EQ(std::nullopt, take());
}

}  // namespace
}  // namespace torvik
