// What every client does, the one in memory included; the others talk to a server of their own.

#include <gmock/gmock.h>

#include <algorithm>

#include "fakes/FakeWinInet.h"
#include "fakes/TemporaryDirectory.h"
#include "ftp/PythonServer.h"
#include "platform/linux/FtpCurl.h"
#include "platform/linux/IconvCodePages.h"

namespace torvik {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::UnorderedElementsAre;
using wininet::FileAccess;
using wininet::Handle;

struct Place {
  const char* name;
  std::vector<std::string> serverOptions;
  FtpSettings settings;
};

void PrintTo(const Place& place, std::ostream* out) {
  *out << place.name;
}

/// A server with the directories /in, /in/old, /empty and /locked, and a client of it.
class FtpContract : public testing::TestWithParam<Place> {
 protected:
  FtpContract() {
    if (IsFake()) {
      fake_.users = {{"torvik", "geheim"}};
      fake_.directories = {"/in/old", "/empty", "/locked"};
      fake_.readOnly = {"/locked"};
      return;
    }
    for (const char* name : {"in/old", "empty", "locked"})
      std::filesystem::create_directories(disk_.PathOf("root/") + name);
    std::vector<std::string> arguments = GetParam().serverOptions;
    arguments.insert(arguments.begin(), disk_.PathOf("root"));
    server_ = std::make_unique<PythonServer>("ftp-server.py", arguments);
    FtpSettings settings = GetParam().settings;
    if (settings.tls != FtpSettings::Tls::Off) settings.certificates = disk_.PathOf("root.pem");
    curl_ = NewFtpCurl(settings, PathMap(), codePages_->Ansi());
  }

  bool IsFake() const { return std::string(GetParam().name) == "Fake"; }
  wininet::Client& Client() { return IsFake() ? fake_ : *curl_; }

  /// A file of the server, by the text of the wire; a server of this system keeps it without CR.
  void Put(const std::string& path, std::string text) {
    fake_.files[path] = text;
    std::erase(text, '\r');
    if (!IsFake()) disk_.Write("root" + path, text);
  }
  std::string Kept(const std::string& path) {
    std::string text = IsFake() ? fake_.files[path] : disk_.Read("root" + path);
    std::erase(text, '\r');
    return text;
  }
  std::string Downloaded(const std::string& path) {
    return IsFake() ? fake_.downloaded[path] : disk_.Read(path.substr(disk_.Path().size() + 1));
  }

  Handle Connect(const std::string& password = "geheim") {
    const Handle internet = Client().InternetOpenA("Torvik");
    const std::uint16_t port = server_ ? server_->Port() : 21;
    return Client().InternetConnectA(internet, "127.0.0.1", port, "torvik", password);
  }

  std::vector<std::string> Names(Handle connection) {
    std::vector<std::string> names;
    wininet::FindData entry;
    const Handle listing = Client().FtpFindFirstFileA(connection, entry);
    for (bool isThere = listing != 0; isThere;
         isThere = Client().InternetFindNextFileA(listing, entry))
      names.push_back(entry.fileName + (entry.attributes != 0 ? "/" : ""));
    EXPECT_EQ(wininet::NoMoreFiles, Client().GetLastError()) << Words();
    Client().InternetCloseHandle(listing);
    return names;
  }

  std::string Words() {
    std::string text;
    Client().InternetGetLastResponseInfoA(text);
    return text;
  }

  TemporaryDirectory disk_;

 private:
  FakeWinInet fake_;
  std::unique_ptr<CodePages> codePages_ = NewIconvCodePages("windows-1252");
  std::unique_ptr<PythonServer> server_;
  std::unique_ptr<wininet::Client> curl_;
};

/// Names that mean something else elsewhere: in an address, on a command line, in a code page.
const std::vector<std::string> kNames = {
    "a b", "c#1?x=y", "50%41;type=i", "gr\u00f6\u00dfe \u20ac.txt", "*SIZE", "-la"};

TEST_P(FtpContract, ListsAndDownloadsWhatIsInTheDirectory) {
  for (const std::string& name : kNames) Put("/in/" + name, "text of " + name + "\r\nbare\r\n");
  Put("/in/nothing", "");
  const Handle connection = Connect();
  ASSERT_NE(0u, connection) << Words();
  ASSERT_TRUE(Client().FtpSetCurrentDirectoryA(connection, "/in/")) << Words();
  auto names = Names(connection);
  std::vector<std::string> expected = kNames;
  expected.insert(expected.end(), {"nothing", "old/"});
  EXPECT_THAT(names, testing::UnorderedElementsAreArray(expected));
  const std::string local = disk_.PathOf("x");
  for (const std::string& name : kNames)
    for (const std::string& path : {"/in//" + name, name}) {
      EXPECT_TRUE(Client().FtpGetFileA(connection, path, local)) << path << ": " << Words();
      EXPECT_EQ("text of " + name + "\r\nbare\r\n", Downloaded(local)) << path;
    }
  EXPECT_TRUE(Client().FtpGetFileA(connection, "/in/nothing", local)) << Words();
  EXPECT_EQ("", Downloaded(local));
  EXPECT_TRUE(Client().FtpSetCurrentDirectoryA(connection, "old")) << Words();
  EXPECT_THAT(Names(connection), testing::IsEmpty());
}

TEST_P(FtpContract, ReadsTheBeginningOfAFileAndGoesOn) {
  const std::string line(98, 'x');
  std::string large;
  for (int i = 0; i < 20000; ++i) large += line + "\r\n";
  const std::string texts[] = {"", "ready\r\n", std::string(256, 'r'), std::string(300, 'r'),
                               large};
  const Handle connection = Connect();
  Client().FtpSetCurrentDirectoryA(connection, "in");
  for (const std::string& text : texts) {
    Put("/in/status", text);
    const Handle file = Client().FtpOpenFileA(connection, "status", FileAccess::Read);
    std::string read = "?";
    EXPECT_TRUE(Client().InternetReadFile(file, 256, read)) << text.size() << Words();
    EXPECT_EQ(text.substr(0, 256), read);
    if (text.size() == 300) {
      EXPECT_TRUE(Client().InternetReadFile(file, 256, read));
      EXPECT_EQ(text.substr(256), read);
      EXPECT_TRUE(Client().InternetReadFile(file, 256, read));
      EXPECT_EQ("", read);
    }
    Client().InternetCloseHandle(file);
    EXPECT_FALSE(Client().InternetReadFile(file, 256, read));
    EXPECT_EQ(wininet::IncorrectHandleType, Client().GetLastError());
    EXPECT_THAT(Names(connection), UnorderedElementsAre("status", "old/")) << text.size();
  }
}

TEST_P(FtpContract, WritesAndDeletes) {
  Put("/in/status", "a longer text");
  const Handle connection = Connect();
  const Handle file = Client().FtpOpenFileA(connection, "/in//status", FileAccess::Write);
  ASSERT_NE(0u, file) << Words();
  std::string large;
  for (int i = 0; i < 30000; ++i) large += "idle\r\n";
  EXPECT_TRUE(Client().InternetWriteFile(file, "busy\r\n")) << Words();
  EXPECT_TRUE(Client().InternetWriteFile(file, large)) << Words();
  Client().InternetCloseHandle(file);
  EXPECT_EQ(wininet::NoError, Client().GetLastError()) << Words();
  std::erase(large, '\r');
  EXPECT_EQ("busy\n" + large, Kept("/in/status"));
  EXPECT_TRUE(Client().FtpDeleteFileA(connection, "/in/status")) << Words();
  const Handle again = Connect();
  Client().FtpSetCurrentDirectoryA(again, "/in");
  EXPECT_THAT(Names(again), UnorderedElementsAre("old/"));
}

TEST_P(FtpContract, WhatTheServerRefusesIsToldInItsWords) {
  Put("/locked/a", "x");
  const Handle connection = Connect();
  auto& client = Client();
  const std::string local = disk_.PathOf("old");
  disk_.Write("old", "as it was");
  const std::pair<const char*, std::function<bool()>> cases[] = {
      {"read", [&] { return client.FtpOpenFileA(connection, "/in/none", FileAccess::Read) != 0; }},
      {"write",
       [&] { return client.FtpOpenFileA(connection, "/locked/b", FileAccess::Write) != 0; }},
      {"delete", [&] { return client.FtpDeleteFileA(connection, "/locked/a"); }},
      {"delete none", [&] { return client.FtpDeleteFileA(connection, "/in/none"); }},
      {"change", [&] { return client.FtpSetCurrentDirectoryA(connection, "none"); }},
      {"get", [&] { return client.FtpGetFileA(connection, "/in/none", local); }}};
  for (const auto& [name, call] : cases) {
    EXPECT_FALSE(call()) << name;
    EXPECT_EQ(wininet::ExtendedError, client.GetLastError()) << name;
    EXPECT_THAT(Words(), HasSubstr("550 ")) << name;
  }
  EXPECT_EQ("as it was", disk_.Read("old"));
  EXPECT_TRUE(client.FtpSetCurrentDirectoryA(connection, "empty")) << Words();
}

TEST_P(FtpContract, AWrongPasswordIsToldAtTheLogonAndNotRepeated) {
  EXPECT_EQ(0u, Connect("falsch!"));
  EXPECT_EQ(wininet::IncorrectPassword, Client().GetLastError()) << Words();
  EXPECT_THAT(Words(), Not(HasSubstr("falsch!")));
  EXPECT_FALSE(Client().FtpSetCurrentDirectoryA(0, "/in"));
  EXPECT_EQ(wininet::IncorrectHandleType, Client().GetLastError());
}

TEST(FtpCurlSecurity, ACertificateThatNobodyVouchesForIsRefused) {
  const TemporaryDirectory disk;
  disk.Write("root/locked/a", "x");
  const PythonServer server("ftp-server.py", {disk.PathOf("root"), "tls"});
  const auto codePages = NewIconvCodePages("windows-1252");
  for (const auto tls : {FtpSettings::Tls::Require, FtpSettings::Tls::Try}) {
    const auto client = NewFtpCurl({.tls = tls, .timeoutSeconds = 10}, {}, codePages->Ansi());
    const Handle internet = client->InternetOpenA("Torvik");
    EXPECT_EQ(0u,
              client->InternetConnectA(internet, "127.0.0.1", server.Port(), "torvik", "geheim"));
    EXPECT_EQ(wininet::ExtendedError, client->GetLastError());
    std::string words;
    client->InternetGetLastResponseInfoA(words);
    EXPECT_THAT(words, HasSubstr("certificate"));
  }
}

FtpSettings Set(bool passive, FtpSettings::Tls tls) {
  return {.passive = passive, .tls = tls, .timeoutSeconds = 10};
}

INSTANTIATE_TEST_SUITE_P(
    Clients, FtpContract,
    testing::Values(Place{"Fake", {}, {}}, Place{"Active", {}, Set(false, FtpSettings::Tls::Off)},
                    Place{"ActiveList", {"no-mlsd"}, Set(false, FtpSettings::Tls::Off)},
                    Place{"Passive", {}, Set(true, FtpSettings::Tls::Try)},
                    Place{"Tls", {"tls"}, Set(true, FtpSettings::Tls::Require)}),
    [](const auto& place) { return std::string(place.param.name); });

}  // namespace
}  // namespace torvik
