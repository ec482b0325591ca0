// What every client does, the one in memory included; the others talk to a server of their own.

#include <gmock/gmock.h>

#include <optional>

#include "fakes/FakeWinInet.h"
#include "fakes/TemporaryDirectory.h"
#include "platform/linux/ftp/FtpCurl.h"
#include "platform/linux/text/IconvCodePages.h"
#include "servers/FtpServer.h"

namespace torvik {
namespace {

using namespace std::string_literals;
using namespace wininet;
using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;
using testing::UnorderedElementsAre;
using Tls = FtpSettings::Tls;

struct Place {
  const char* name;
  FtpServerOptions server = {};
  FtpSettings settings = {};

  friend void PrintTo(const Place& place, std::ostream* out) { *out << place.name; }
};

/// A server with the directories /in, /in/old, /empty and /locked, and a client of it.
class FtpContract : public testing::TestWithParam<Place> {
 protected:
  FtpContract() {
    fake_.users = {{"torvik", "geheim"}};
    fake_.directories = {"/in/old", "/empty", "/locked"};
    fake_.readOnly = {"/locked"};
    if (IsFake()) return;
    server_.emplace(GetParam().server);
    for (const char* name : {"in/old", "empty", "locked"})
      std::filesystem::create_directories(server_->Files().PathOf(name));
    FtpSettings settings = GetParam().settings;
    settings.port = server_->Port();
    if (GetParam().server.needsTls) settings.certificates = server_->Certificate();
    curl_ = NewFtpCurl(settings, {}, codePages_->Ansi());
  }

  bool IsFake() const { return GetParam().name == "Fake"s; }
  Client& client() { return IsFake() ? fake_ : *curl_; }
  std::string At(const std::string& path) { return server_ ? server_->PathOf(path) : path; }

  /// A file of the server, by the text of the wire; a server of this system keeps it without CR.
  void Put(const std::string& path, std::string text) {
    fake_.files[path] = text;
    std::erase(text, '\r');
    if (server_) server_->Files().Write(path.substr(1), text);
  }
  std::string Kept(const std::string& path) {
    std::string text = IsFake() ? fake_.files[path] : server_->Files().Read(path.substr(1));
    std::erase(text, '\r');
    return text;
  }
  std::string Downloaded(const std::string& name) {
    return IsFake() ? fake_.downloaded[disk_.PathOf(name)] : disk_.Read(name);
  }

  Handle Connect(const std::string& directory, std::string password = "") {
    if (password.empty()) password = server_ ? server_->Password() : "geheim";
    const Handle internet = client().InternetOpenA("Torvik");
    const Handle connection =
        client().InternetConnectA(internet, "127.0.0.1", kDefaultFtpPort, "torvik", password);
    if (connection != 0) client().FtpSetCurrentDirectoryA(connection, At(directory));
    return connection;
  }

  std::vector<std::string> Names(Handle connection) {
    std::vector<std::string> names;
    FindData entry;
    const Handle listing = client().FtpFindFirstFileA(connection, entry);
    for (bool isThere = listing != 0; isThere;
         isThere = client().InternetFindNextFileA(listing, entry))
      names.push_back(entry.fileName + (entry.attributes != 0 ? "/" : ""));
    EXPECT_EQ(NoMoreFiles, client().GetLastError()) << Words();
    client().InternetCloseHandle(listing);
    return names;
  }

  std::string Words() {
    std::string text;
    client().InternetGetLastResponseInfoA(text);
    return text;
  }

  TemporaryDirectory disk_;

 private:
  FakeWinInet fake_;
  std::unique_ptr<CodePages> codePages_ = NewIconvCodePages("windows-1252");
  std::optional<FtpServer> server_;
  std::unique_ptr<Client> curl_;
};

TEST_P(FtpContract, ListsAndDownloadsWhatIsInTheDirectory) {
  // Names that mean something else elsewhere: in an address, on a command line, in a code page.
  std::vector<std::string> names = {
      "a b", "c#1?x=y", "50%41;type=i", "gr\u00f6\u00dfe \u20ac.txt", "*SIZE", "-la", "nothing"};
  for (const std::string& name : names)
    Put("/in/" + name, name == "nothing" ? "" : "text of " + name + "\r\nbare\r\n");
  const Handle connection = Connect("/in/");
  for (const std::string& name : names)
    for (const std::string& path : {At("/in//") + name, name}) {
      EXPECT_TRUE(client().FtpGetFileA(connection, path, disk_.PathOf("x"))) << path << Words();
      EXPECT_EQ(name == "nothing" ? "" : "text of " + name + "\r\nbare\r\n", Downloaded("x"));
    }
  names.push_back("old/");
  EXPECT_THAT(Names(connection), testing::UnorderedElementsAreArray(names));
  EXPECT_TRUE(client().FtpSetCurrentDirectoryA(connection, "old")) << Words();
  EXPECT_THAT(Names(connection), testing::IsEmpty());
}

TEST_P(FtpContract, ReadsTheBeginningOfAFileAndGoesOn) {
  std::string large;
  for (int i = 0; i < 20000; ++i) large += std::string(98, 'x') + "\r\n";
  const Handle connection = Connect("/in");
  for (const std::string& text : {""s, "ready\r\n"s, "r\0e\0a\0d\0y\0"s, std::string(256, 'r'),
                                  std::string(300, 'r'), large}) {
    Put("/in/status", text);
    const Handle file = client().FtpOpenFileA(connection, "status", FileAccess::Read);
    std::string read = "?";
    for (std::size_t at = 0; at <= 512; at += 256) {
      EXPECT_TRUE(client().InternetReadFile(file, 256, read)) << text.size() << Words();
      EXPECT_EQ(at < text.size() ? text.substr(at, 256) : "", read);
    }
    client().InternetCloseHandle(file);
    EXPECT_FALSE(client().InternetReadFile(file, 256, read));
    EXPECT_EQ(IncorrectHandleType, client().GetLastError());
    EXPECT_THAT(Names(connection), UnorderedElementsAre("status", "old/")) << text.size();
  }
}

TEST_P(FtpContract, WritesAndDeletes) {
  Put("/in/status", "a longer text");
  const Handle connection = Connect("/");
  const Handle file = client().FtpOpenFileA(connection, At("/in//status"), FileAccess::Write);
  std::string large;
  for (int i = 0; i < 30000; ++i) large += "idle\r\n";
  EXPECT_TRUE(client().InternetWriteFile(file, "busy\r\n")) << Words();
  EXPECT_TRUE(client().InternetWriteFile(file, large)) << Words();
  client().InternetCloseHandle(file);
  EXPECT_EQ(NoError, client().GetLastError()) << Words();
  std::erase(large, '\r');
  EXPECT_TRUE("busy\n" + large == Kept("/in/status"));
  EXPECT_TRUE(client().FtpDeleteFileA(connection, At("/in/status"))) << Words();
  EXPECT_THAT(Names(Connect("/in")), UnorderedElementsAre("old/"));
}

TEST_P(FtpContract, WhatTheServerRefusesIsToldInItsWords) {
  Put("/locked/a", "x");
  disk_.Write("old", "as it was");
  EXPECT_EQ(0u, Connect("", "falsch!"));
  EXPECT_EQ(IncorrectPassword, client().GetLastError()) << Words();
  EXPECT_THAT(Words(), Not(HasSubstr("falsch!")));
  const Handle ftp = Connect("/");
  const auto opens = [&](const std::string& path, FileAccess access) {
    return client().FtpOpenFileA(ftp, At(path), access) != 0;
  };
  const std::pair<const char*, std::function<bool()>> cases[] = {
      {"read", [&] { return opens("/in/none", FileAccess::Read); }},
      {"write", [&] { return opens("/locked/b", FileAccess::Write); }},
      {"delete", [&] { return client().FtpDeleteFileA(ftp, At("/locked/a")); }},
      {"delete none", [&] { return client().FtpDeleteFileA(ftp, "none"); }},
      {"change", [&] { return client().FtpSetCurrentDirectoryA(ftp, "none"); }},
      {"get", [&] { return client().FtpGetFileA(ftp, At("/in/none"), disk_.PathOf("old")); }}};
  for (const auto& [name, call] : cases) {
    EXPECT_FALSE(call()) << name;
    EXPECT_EQ(ExtendedError, client().GetLastError()) << name;
    EXPECT_THAT(Words(), AnyOf(HasSubstr("550 "), HasSubstr("it refuses "))) << name;
  }
  EXPECT_EQ("as it was", disk_.Read("old"));
  EXPECT_TRUE(client().FtpSetCurrentDirectoryA(ftp, "empty")) << Words();
}

TEST(FtpCurlSecurity, ACertificateThatNobodyVouchesForIsRefused) {
  const FtpServer server({.needsTls = true});
  const auto codePages = NewIconvCodePages("windows-1252");
  for (const Tls tls : {Tls::Require, Tls::Try}) {
    const auto client = NewFtpCurl({.passive = true, .tls = tls}, {}, codePages->Ansi());
    const Handle internet = client->InternetOpenA("Torvik");
    EXPECT_EQ(0u, client->InternetConnectA(internet, "127.0.0.1", server.Port(), "torvik", ""));
    EXPECT_EQ(ExtendedError, client->GetLastError());
    std::string words;
    client->InternetGetLastResponseInfoA(words);
    EXPECT_THAT(words, HasSubstr("certificate"));
  }
}

TEST(FtpCurlType, LinesEndAsTheServerHasThemOrAsTheWireDoes) {
  const FtpServer server;
  std::string bytes = "a\nb\n\r\0\xFFz\n"s;
  server.Files().Write("lines", bytes);
  const std::pair<FtpSettings::Type, std::string> cases[] = {
      {FtpSettings::Type::Ascii, "a\r\nb\r\n\r\0\xFFz\r\n"s}, {FtpSettings::Type::Binary, bytes}};
  const auto codePages = NewIconvCodePages("windows-1252");
  const TemporaryDirectory disk;
  for (const auto& [type, arrived] : cases) {
    const auto client = NewFtpCurl({.type = type, .port = server.Port()}, {}, codePages->Ansi());
    const Handle ftp = client->InternetConnectA(client->InternetOpenA("Torvik"), "127.0.0.1",
                                                kDefaultFtpPort, "torvik", server.Password());
    for (const char* look : {"first", "after a listing"}) {
      EXPECT_TRUE(client->FtpGetFileA(ftp, server.PathOf("/lines"), disk.PathOf("lines")));
      EXPECT_EQ(arrived, disk.Read("lines")) << look;
      FindData entry;
      client->InternetCloseHandle(client->FtpFindFirstFileA(ftp, entry));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Clients, FtpContract,
    testing::Values(Place{"Fake"}, Place{"Active", {.isPassive = false}},
                    Place{"ActiveList", {.tellsMlsd = false}},
                    Place{"Passive", {.isActive = false}, {.passive = true, .tls = Tls::Try}},
                    Place{"Tls", {.needsTls = true}, {.passive = true, .tls = Tls::Require}}),
    [](const auto& place) { return std::string(place.param.name); });

}  // namespace
}  // namespace torvik
