// What the client makes of a server that fails it.

#include "platform/linux/ftp/FtpCurl.h"

#include <gmock/gmock.h>

#include "fakes/TemporaryDirectory.h"
#include "platform/linux/text/IconvCodePages.h"
#include "servers/FtpPeer.h"

namespace torvik {
namespace {

using namespace wininet;
using namespace std::string_literals;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using Tls = FtpSettings::Tls;

const std::string kPassword = "geheim";
const std::string kOpen = "when RETR|reply 150 here it is (3 bytes)|";
const std::string kList = "when LIST|reply 150 go|", kListed = "|end|reply 226 done";
const std::string kLine = "names 2|data -rw-r--r-- 1 o g 5 Jan  8 10:20 ";
const std::string kMlst = "when FEAT|reply 211-Features|reply  MLST type*;|reply 211 End|";
const std::string kNoMlsd = "when MLSD|reply 500 what?|";

/// A client, logged on to a server that follows a script.
class Peer {
 public:
  explicit Peer(const std::string& script, Tls tls = Tls::Off) : server_(script) {
    disk_.Write("local/file", "as it was");
    client =
        NewFtpCurl({.tls = tls, .timeoutSeconds = 1}, {}, codePages_->Ansi(), [this] { ++pumped; });
    internet = client->InternetOpenA("Torvik");
    connection =
        client->InternetConnectA(internet, "127.0.0.1", server_.Port(), "torvik", kPassword);
  }

  bool Get(const std::string& name = "file", const std::string& local = "local/file") {
    return client->FtpGetFileA(connection, name, PathOf(local));
  }
  /// How many entries came; GetLastError then says why no more did.
  std::size_t List() {
    FindData entry;
    std::size_t count = 0;
    const Handle listing = client->FtpFindFirstFileA(connection, entry);
    for (bool isThere = listing != 0; isThere; ++count)
      isThere = client->InternetFindNextFileA(listing, entry);
    return count;
  }
  std::string Words() const {
    std::string text;
    client->InternetGetLastResponseInfoA(text);
    return text;
  }
  std::string Local() const { return disk_.Read("local/file"); }
  std::ptrdiff_t LocalFiles() const {
    return std::distance(std::filesystem::directory_iterator(PathOf("local")), {});
  }
  std::string PathOf(const std::string& name) const { return disk_.PathOf(name); }

  /// What the server was sent in all, but for ports.
  std::vector<std::string> Commands() {
    client.reset();
    std::vector<std::string> commands = server_.Commands();
    std::erase_if(commands, [](const std::string& line) { return line.starts_with("EPRT"); });
    return commands;
  }

 private:
  TemporaryDirectory disk_;
  std::unique_ptr<CodePages> codePages_ = NewIconvCodePages("windows-1252");
  FtpPeer server_;

 public:
  int pumped = 0;
  std::unique_ptr<Client> client;
  Handle internet = 0, connection = 0;
};

/// What is asked of the server; the number of entries, or 0 for a failure.
std::size_t LogOn(Peer& peer) {
  return peer.connection != 0;
}
std::size_t Get(Peer& peer) {
  return peer.Get();
}
std::size_t List(Peer& peer) {
  return peer.client->FtpSetCurrentDirectoryA(peer.connection, "/in") ? peer.List() : 0;
}
std::size_t Read(Peer& peer) {
  std::string text;
  const Handle file = peer.client->FtpOpenFileA(peer.connection, "a", FileAccess::Read);
  if (file == 0) return 0;  // the end may come with the beginning
  EXPECT_FALSE(peer.client->InternetReadFile(file, 256, text));
  return peer.client->InternetReadFile(file, 256, text);
}
std::size_t Write(Peer& peer) {
  const Handle file = peer.client->FtpOpenFileA(peer.connection, "a", FileAccess::Write);
  if (file == 0) return 0;
  peer.client->InternetWriteFile(file, "idle\r\n");
  peer.client->InternetCloseHandle(file);
  return peer.client->GetLastError() == NoError;
}

TEST(FtpCurl, WhatFailsHasItsCodeAndWordsAndLeavesTheLocalFile) {
  const struct {
    std::size_t (*request)(Peer&);
    std::string script;
    std::uint32_t code;
    const char* words;
    std::size_t count = 0;
    Tls tls = Tls::Off;
  } cases[] = {
      {LogOn, "when PASS|reply 530 not with geheim", IncorrectPassword, "530 not with ***"},
      {LogOn, "when PASS|reply 530-a|reply  530 b|reply 530 at all", IncorrectPassword, "at all"},
      {LogOn, "when PASS|reply 421 full", ExtendedError, "421 full"},
      {LogOn, "when USER|reply 530 nobody", LoginFailure, "530 nobody"},
      {LogOn, "when connect|reply 421 too many|close", ExtendedError, "421 too many"},
      {LogOn, "when connect|hang", Timeout, ""},
      {LogOn, "when PASS|hang", Timeout, ""},
      {LogOn, "when connect|close", ConnectionAborted, ""},
      {LogOn, "when PASS|reset", ConnectionReset, ""},
      {LogOn, "when connect|reply SSH-2.0-x|close", ConnectionAborted, ""},
      {LogOn, "when AUTH|reply 502 no", ExtendedError, "502 no", 0, Tls::Require},
      {LogOn, "when AUTH|reply 502 no", NoError, "257 \"/\"", 1, Tls::Try},
      {LogOn, "when AUTH|reply 234 yes|reply no handshake", ExtendedError, "", 0, Tls::Try},

      {Get, "when RETR|reply 550 none", ExtendedError, "file: 550 none"},
      {Get, "when RETR|reply 450 busy", ExtendedError, "450 busy"},
      {Get, "when RETR|reply 425 cannot open", ExtendedError, "425 cannot open"},
      {Get, "when TYPE A|reply 504 never", ExtendedError, "504 never"},
      {Get, "when EPRT|reply 500 no|when PORT|reply 501 nor that", ExtendedError, "501 nor that"},
      {Get, kOpen + "data abc|end|reply 426 broken", ExtendedError, "426 broken"},
      {Get, kOpen + "data abc|end|reply 451-disk|reply 451 x", ExtendedError, "451-disk\r\n451"},
      {Get, kOpen + "data abc|cut|hang", ConnectionReset, ""},
      {Get, kOpen + "data abc|end|close", ConnectionAborted, ""},
      {Get, kOpen + "data abc|end|reset", ConnectionReset, ""},
      {Get, kOpen + "hang", Timeout, ""},
      {Get, kOpen + "data abc|hang", Timeout, ""},
      {Get, kOpen + "data abc|end|hang", Timeout, ""},
      {Get, "when SIZE|reply 213 9|" + kOpen + "data abc|end|reply 226 all", ExtendedError,
       "file: the server told 9 bytes and sent 3"},

      {List, kList + "names 100000" + kListed, NoMoreFiles, "", 100000},
      {List, kList + "data 01-08-01  10:20AM  5 a b\r\n" + kListed, NoMoreFiles, "", 1},
      {List, kList + "data total 0\r\n" + kListed, NoMoreFiles, ""},
      {List, "when LIST|reply 450 nothing", NoMoreFiles, ""},
      {List, kMlst + kNoMlsd + kList + "names 2" + kListed, NoMoreFiles, "", 2},
      {List, kList + kLine + "a|end|reply 226-Output truncated to 1 matches|reply 226 done",
       ExtendedError, "the server has cut the listing off"},
      {List, kMlst + "when MLSD|reply 550 no", ExtendedError, "550 no"},
      {List, kMlst + "when MLSD|reply 150 go|data type=x; \xe4\r\n" + kListed, NoMoreFiles, "", 1},
      {List, kList + kLine + "../x\r\n" + kListed, ExtendedError, "\"../x\": this"},
      {List, kList + kLine + "a\rb\r\n" + kListed, ExtendedError, "not understood"},
      {List, kList + kLine + "a\0b\r\n"s + kListed, ExtendedError, "\"a?b\": this cannot"},
      {List, kList + "names 2|end|reply 426 cut", ExtendedError, "426 cut"},
      {List, kList + "names 2|cut", ConnectionReset, ""},
      {List, kList + "names 2|hang", Timeout, ""},
      {List, "when CWD|reply 250 ok|close", ConnectionReset, ""},

      {Read, kOpen + "data abc|end|reply 426 cut", ExtendedError, "426 cut"},
      {Write, "when STOR|reply 553 not here", ExtendedError, "553 not here"},
      {Write, "when STOR|reply 150 go|data |end|reply 452 full", ExtendedError, "452 full"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.script);
    Peer peer(c.script, c.tls);
    EXPECT_EQ(c.count, c.request(peer));
    EXPECT_EQ(c.code, peer.client->GetLastError()) << peer.Words();
    EXPECT_THAT(peer.Words(), AllOf(HasSubstr(c.words), Not(HasSubstr(kPassword))));
    EXPECT_EQ("as it was", peer.Local());
    EXPECT_EQ(1, peer.LocalFiles());
  }
}

TEST(FtpCurl, AServerThatIsNotThereHasItsReason) {
  Peer peer("");
  constexpr std::uint16_t kNobodys = 1;
  const struct {
    std::uint32_t code;
    const char *server, *user;
  } cases[] = {{CannotConnect, "127.0.0.1", "u"},
               {CannotConnect, "::1", "u"},
               {NameNotResolved, "", "u"},
               {NameNotResolved, "no such host", "u"},
               {NameNotResolved, "a/b", "u"},
               {NameNotResolved, "u@h", "u"},
               {NameNotResolved, "a\r\nb", "u"},
               {NameNotResolved, "h:21", "u"},
               {LoginFailure, "127.0.0.1", "\u6f22"},
               {LoginFailure, "127.0.0.1", "a\r\nDELE x"}};
  for (const auto& c : cases) {
    EXPECT_EQ(0u, peer.client->InternetConnectA(peer.internet, c.server, kNobodys, c.user, ""));
    EXPECT_EQ(c.code, peer.client->GetLastError()) << c.server << ", " << c.user;
  }
}

TEST(FtpCurl, TheBytesAreThoseOfTheWire) {
  for (const std::string answer :
       {"when SIZE|reply 213 3|", "when SIZE|reply 500 what?|", "when SIZE|reply 213 x|"}) {
    Peer peer(answer + kOpen + "data a\r\nb\nc\rd\r\r\n\xff|end|reply 226 all");
    EXPECT_TRUE(peer.Get()) << answer << peer.Words();
    EXPECT_EQ("a\r\nb\nc\rd\r\r\n\xff", peer.Local()) << answer;
    EXPECT_EQ("226 all\r\n", peer.Words());
  }
}

TEST(FtpCurl, OneConnectionServesADirectoryOfFilesWithFewCommands) {
  Peer peer("");
  EXPECT_TRUE(peer.client->FtpSetCurrentDirectoryA(peer.connection, "/in/"));
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(peer.Get("/in//a b")) << peer.Words();
  EXPECT_EQ(0u, peer.List());
  EXPECT_TRUE(peer.Get("c")) << peer.Words();
  for (const std::string& name : {"a\r\nDELE b"s, "a\tb"s, ""s, "in/"s, "\u6f22"s, "a\0b"s}) {
    EXPECT_FALSE(peer.Get(name)) << name;
    EXPECT_FALSE(peer.client->FtpDeleteFileA(peer.connection, name)) << name;
    EXPECT_EQ(ExtendedError, peer.client->GetLastError()) << name;
  }
  const std::string retrieve = "RETR /in//a b";
  EXPECT_THAT(peer.Commands(),
              ElementsAre("USER torvik", "PASS geheim", "PWD", "CWD /in/", "TYPE I", "TYPE A",
                          "SIZE /in//a b", retrieve, retrieve, retrieve, "FEAT", "TYPE A", "LIST",
                          "TYPE I", "TYPE A", "RETR c", "QUIT"));
}

TEST(FtpCurl, SizesAreAskedForUntilTheServerAnnouncesThem) {
  const std::string sent = "|data abc|end|reply 226 all|", three = sent + "when RETR|reply 150 ";
  const struct {
    const char* what;
    std::string answer, begins;
    std::vector<bool> come;
    int asked;
  } cases[] = {
      {"announced",
       "213 3",
       "(3 bytes)" + three + "(3 bytes)" + three + "a (3 bytes).",
       {1, 1, 1},
       1},
      {"not the same", "213 3", "(2 bytes)" + three + "(2 bytes)" + three + "go", {1, 1, 1}, 3},
      {"not answered", "550 no", "(3 bytes)" + three + "(4 bytes)" + three + "go", {1, 1, 1}, 1},
      {"no size", "213 3", "(3)" + three + "(3 bytes" + three + "(x bytes)", {1, 1, 1}, 3},
      {"at times", "213 3", "(3 bytes)" + three + "go" + three + "go", {1, 1, 1}, 2},
      {"cut", "213 3", "(3 bytes)" + three + "(3 bytes) (4 bytes)" + three + "", {1, 0, 1}, 1},
      {"too large", "213 3", "(3 bytes)" + three + "(99999999999999999999 bytes)", {1, 1}, 1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Peer peer("when SIZE|reply " + c.answer + "|when RETR|reply 150 " + c.begins + sent);
    for (const bool comes : c.come) EXPECT_EQ(comes, peer.Get()) << peer.Words();
    EXPECT_EQ(c.asked, std::ranges::count(peer.Commands(), "SIZE file"));
  }
}

TEST(FtpCurl, ATransferShowsItsProgressAndTheLocalFileCanFailIt) {
  Peer peer(kOpen + "data abc|hang");
  const std::pair<const char*, const char*> cases[] = {
      {"none/file", "none/file: No such file or directory"}, {"local", "local: Is a directory"}};
  for (const auto& [path, words] : cases) {
    EXPECT_FALSE(peer.Get("file", path));
    EXPECT_THAT(peer.Words(), HasSubstr(words));
  }
  EXPECT_FALSE(peer.client->FtpGetFileA(peer.connection, "file", "\\\\s\\in\\file"));
  EXPECT_THAT(peer.Words(), HasSubstr("no directory is mapped for the share"));
  EXPECT_FALSE(peer.client->FtpGetFileA(peer.connection, "file", "/dev/null"));
  EXPECT_FALSE(peer.Get());
  EXPECT_GE(peer.pumped, 5);
  EXPECT_EQ(1, std::ranges::count(peer.Commands(), "RETR file"));
}

/// Which of both comes first, the server's reply or its data connection, is chance here.
TEST(FtpCurl, ADataConnectionThatComesLateIsNotTakenForAnEmptyDirectory) {
  for (int i = 0; i < 20; ++i) {
    Peer peer(kMlst + kNoMlsd + kList + "names 2" + kListed);
    EXPECT_EQ(2u, peer.List()) << peer.Words();
  }
}

}  // namespace
}  // namespace torvik
