#include <gmock/gmock.h>

#include <chrono>
#include <string>
#include <thread>

#include "engine/EngineFixture.h"

namespace torvik::engine {
namespace {

using testing::HasSubstr;

class FetchFilesTaskTest : public EngineTest {
 protected:
  FetchFilesTaskTest() {
    ftp_.users = {{"etl", "geheim"}, {"anonymous", ""}};
    ftp_.files = {{"/out/a.csv", "A"}, {"/out/b.csv", "B"}, {"/out/c.txt", "C"}, {"/d.csv", "D"}};
    ftp_.directories = {"/out/e.csv"};
  }

  /// How a step with these keys ends: "S" and what came, or what went wrong.
  std::string Ran(std::string keys) {
    ftp_.downloaded.clear();
    for (std::size_t at = 0; (at = keys.find("%D", at)) != keys.npos;)
      keys.replace(at, 2, disk_.PathOf(""));
    Put("P", Head("P") + Step("s", "FetchFiles", keys));
    const auto package = Load("P");
    package->GlobalVariables().SetValue("DTSServerLoginPassword", std::string("geheim"));
    const RunResult result = Run(*package);
    fetched_ = result.events.fetched;
    if (result.ends != "S") return result.events.errors;
    std::string came = "S";
    for (const auto& [path, text] : ftp_.downloaded)
      came += " " + path.substr(disk_.PathOf("").size()) + "=" + text;
    return came;
  }

  std::string fetched_;  // as the last run has told
};

TEST_F(FetchFilesTaskTest, FilesComeFromAServer) {
  const std::string server = "server = 'ftp.example.com'\n", to = "destination = '%D'\n";
  const std::string logon = server + "user = 'etl'\npassword = '${DTSServerLoginPassword}'\n" + to;
  const struct {
    std::string keys;
    const char* outcome;
  } cases[] = {
      {logon + "directory = 'out'\nfiles = ['*.csv']", "S a.csv=A b.csv=B"},
      {logon + "directory = '/out/'\nfiles = ['a.csv', 'c.?xt']", "S a.csv=A c.txt=C"},
      {logon + "files = ['d.csv', 'out/a.csv', 'out/b*']", "S a.csv=A b.csv=B d.csv=D"},
      {server + to + "files = ['${Text}*', 'd.csv']", "text*: no file is called like this"},
      {server + to + "user = 'etl'\nfiles = ['d.csv']", "it cannot be logged on to: 530 Login"},
      {server + to + "files = ['none.csv']", "none.csv cannot be fetched to "},
      {server + to + "directory = 'none'\nfiles = ['*']", "its directory none/ cannot be opened"},
      {server + to + "files = ['out/a.csv', '/out/a.csv']", "would both come to "},
  };
  for (const auto& c : cases) {
    EXPECT_THAT(Ran(c.keys), HasSubstr(c.outcome)) << c.keys;
    EXPECT_EQ(0U, ftp_.OpenHandles()) << c.keys;
  }
  // What is in the way is seen before anything is fetched.
  disk_.Write("b.csv", "old");
  EXPECT_THAT(Ran(logon + "directory = 'out'\noverwrite = false\nfiles = ['*.csv']"),
              HasSubstr("it is there already, and overwrite = false"));
  EXPECT_TRUE(ftp_.downloaded.empty());
}

TEST_F(FetchFilesTaskTest, ABrokenConnectionIsTriedAgain) {
  ftp_.failing["Get out/a.csv"] = {wininet::ConnectionReset, ""};
  EXPECT_THAT(Ran("server = 's'\nretries = 1\nretry_delay_seconds = 0\ndestination = '%D'\n"
                  "files = ['out/a.csv']"),
              HasSubstr("cannot be fetched"));
  EXPECT_EQ(2, std::ranges::count_if(
                   ftp_.calls, [](const std::string& call) { return call.starts_with("Get "); }));
}

TEST_F(FetchFilesTaskTest, AStepThatIsToEndWaitsForNoServer) {
  EngineServices services = Services();
  services.newFtpClient = [this](const std::function<void()>& onWait, const FetchObserver&) {
    ftp_.onWait = [onWait] {
      for (;; std::this_thread::sleep_for(std::chrono::milliseconds(1))) onWait();
    };
    return std::shared_ptr<wininet::Client>(std::shared_ptr<void>(), &ftp_);
  };
  host_ = NewPackageHost(services);
  Put("P",
      Head("P") + Step("s", "FetchFiles", "server = 's'\ndestination = '/tmp'\nfiles = ['d.csv']"));
  const auto package = Load("P");
  Impatient events(*package);
  EXPECT_THROW(package->Execute(events), PlatformError);
  EXPECT_TRUE(ftp_.downloaded.empty());
  EXPECT_EQ(0U, ftp_.OpenHandles());
}

TEST_F(FetchFilesTaskTest, FilesComeFromADirectory) {
  disk_.Write("in/a.csv", "A");
  disk_.Write("in/b.csv", "B");
  disk_.Write("to/b.csv", "old");
  const std::string keys = "directory = '%Din'\ndestination = '%Dto'\nfiles = ['*.csv']\n";
  EXPECT_THAT(Ran(keys + "overwrite = false"), HasSubstr("it is there already"));
  EXPECT_EQ("old", disk_.Read("to/b.csv"));
  EXPECT_FALSE(std::filesystem::exists(disk_.PathOf("to/a.csv")));
  EXPECT_THAT(Ran("directory = '%D'\ndestination = '%Dto'\nfiles = ['in/']"),
              HasSubstr("this names no file"));
  EXPECT_EQ("S", Ran(keys));
  EXPECT_EQ("2 files, 2 bytes", fetched_);
  EXPECT_EQ("AB", disk_.Read("to/a.csv") + disk_.Read("to/b.csv"));
}

TEST_F(FetchFilesTaskTest, WhatCannotBeMeantIsRefused) {
  const std::string to = "destination = 'x'\nfiles = ['a']\n", server = "server = 's'\n";
  const std::pair<std::string, const char*> cases[] = {
      {"destination = 'x'\nserver = 's'", "\"files\" names no file"},
      {to, "give the \"server\" by FTP"},
      {to + server + "user = 'u'\npassword = 'dragon'", "would stand here for all to read"},
      {to + server + "user = 'u'\npassword = '${Text}'", "would stand here for all to read"},
      {to + server + "password = '${DTSServerLoginPassword}'", "belongs to \"user\""},
      {to + "directory = 'd'\nuser = 'u'", "belongs to \"server\""},
      {to + server + "port = 0", "from 1 to 65535"},
      {to + "server = '${DTSServerLoginPassword}'", "is a password and would show in messages"},
  };
  for (const auto& [keys, words] : cases) {
    try {
      Put("P", Head("P") + Step("s", "FetchFiles", keys));
      Load("P");
      ADD_FAILURE() << keys;
    } catch (const PlatformError& error) {
      EXPECT_THAT(error.Description(), HasSubstr(words)) << keys;
    }
  }
}

}  // namespace
}  // namespace torvik::engine
