// What the client makes of a server that fails it.

#include "platform/linux/FtpCurl.h"

#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <sstream>

#include "fakes/TemporaryDirectory.h"
#include "ftp/PythonServer.h"
#include "platform/linux/IconvCodePages.h"

namespace torvik {
namespace {

using namespace wininet;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const std::string kPassword = "geheim";
const std::string kOpen = "when RETR\nreply 150 here it is (3 bytes)\n";

/// A client, and a server that follows a script.
class Peer {
 public:
  explicit Peer(const std::string& script, FtpSettings settings = {.timeoutSeconds = 1}) {
    disk_.Write("script", script);
    disk_.Write("log", "");
    disk_.Write("local/file", "as it was");
    server_ = std::make_unique<PythonServer>(
        "ftp-peer.py", std::vector{disk_.PathOf("script"), disk_.PathOf("log")});
    client = NewFtpCurl(settings, PathMap(), codePages_->Ansi(), [this] { ++pumped; });
  }

  Handle Connect(const std::string& server = "127.0.0.1") {
    const Handle internet = client->InternetOpenA("Torvik");
    return client->InternetConnectA(internet, server, server_->Port(), "torvik", kPassword);
  }
  bool Get(Handle connection, const std::string& name = "file") {
    return client->FtpGetFileA(connection, name, disk_.PathOf("local/file"));
  }
  std::string Words() const {
    std::string text;
    client->InternetGetLastResponseInfoA(text);
    return text;
  }
  std::string Local() const { return disk_.Read("local/file"); }
  std::ptrdiff_t LocalFiles() const {
    return std::distance(std::filesystem::directory_iterator(disk_.PathOf("local")), {});
  }
  std::string PathOf(const std::string& name) const { return disk_.PathOf(name); }

  /// The commands that the server was sent.
  std::vector<std::string> Log() const {
    std::vector<std::string> lines;
    std::istringstream log(disk_.Read("log"));
    for (std::string line; std::getline(log, line);) lines.push_back(line.substr(0, 12));
    return lines;
  }

  int pumped = 0;
  std::unique_ptr<Client> client;

 private:
  TemporaryDirectory disk_;
  std::unique_ptr<CodePages> codePages_ = NewIconvCodePages("windows-1252");
  std::unique_ptr<PythonServer> server_;
};

TEST(FtpCurl, ALogonThatFailsHasItsReason) {
  const struct {
    const char* script;
    std::uint32_t code;
    const char* words;
    FtpSettings settings = {.timeoutSeconds = 1};
  } cases[] = {
      {"when PASS\nreply 530 not with geheim\n", IncorrectPassword, "530 not with ***"},
      {"when PASS\nreply 530-not\nreply  530 so\nreply 530 at all\n", IncorrectPassword, "at all"},
      {"when PASS\nreply 421 full\n", ExtendedError, "421 full"},
      {"when USER\nreply 530 nobody\n", LoginFailure, "530 nobody"},
      {"when connect\nreply 421 too many\nclose\n", ExtendedError, "421 too many"},
      {"when connect\nhang\n", Timeout, ""},
      {"when PASS\nhang\n", Timeout, ""},
      {"when connect\nclose\n", ConnectionAborted, ""},
      {"when PASS\nreset\n", ConnectionReset, ""},
      {"when connect\nreply SSH-2.0-x\nclose\n", ConnectionAborted, ""},
      {"when AUTH\nreply 502 no\n",
       ExtendedError,
       "502 no",
       {.tls = FtpSettings::Tls::Require, .timeoutSeconds = 1}},
      {"when AUTH\nreply 502 no\n",
       NoError,
       "257 \"/\"",
       {.tls = FtpSettings::Tls::Try, .timeoutSeconds = 1}},
      {"when AUTH\nreply 234 yes\nreply no handshake\n",
       ExtendedError,
       "SSL",
       {.tls = FtpSettings::Tls::Try, .timeoutSeconds = 1}}};
  for (const auto& c : cases) {
    Peer peer(c.script, c.settings);
    EXPECT_EQ(c.code == NoError, peer.Connect() != 0) << c.script;
    EXPECT_EQ(c.code, peer.client->GetLastError()) << c.script << peer.Words();
    EXPECT_THAT(peer.Words(), AllOf(HasSubstr(c.words), Not(HasSubstr(kPassword)))) << c.script;
  }
}

TEST(FtpCurl, AServerThatIsNotThereHasItsReason) {
  Peer peer("");
  const int unused = socket(AF_INET, SOCK_STREAM, 0);  // bound, but nobody listens
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  ASSERT_EQ(0, bind(unused, reinterpret_cast<sockaddr*>(&address), length));
  getsockname(unused, reinterpret_cast<sockaddr*>(&address), &length);
  auto& client = *peer.client;
  const Handle internet = client.InternetOpenA("Torvik");
  const auto codeOf = [&](const std::string& server, const std::string& user) {
    const std::uint16_t port = ntohs(address.sin_port);
    EXPECT_EQ(0u, client.InternetConnectA(internet, server, port, user, "")) << server;
    return client.GetLastError();
  };
  EXPECT_EQ(CannotConnect, codeOf("127.0.0.1", "u"));
  EXPECT_EQ(CannotConnect, codeOf("::1", "u"));
  for (const std::string server : {"", "no such host", "a/b", "u@h", "a\r\nb", "h:21"})
    EXPECT_EQ(NameNotResolved, codeOf(server, "u")) << server;
  for (const std::string user : {"a\r\nDELE x", "\u6f22", "a\nb"})
    EXPECT_EQ(LoginFailure, codeOf("127.0.0.1", user)) << user;
  EXPECT_EQ(0u, client.InternetConnectA(99, "127.0.0.1", 21, "u", ""));
  EXPECT_EQ(IncorrectHandleType, client.GetLastError());
  close(unused);
}

TEST(FtpCurl, ABrokenDownloadLeavesTheOldFile) {
  const struct {
    std::string script;
    std::uint32_t code;
    const char* words;
  } cases[] = {
      {"when RETR\nreply 550 none\n", ExtendedError, "550 none"},
      {"when RETR\nreply 450 busy\n", ExtendedError, "450 busy"},
      {"when RETR\nreply 425 cannot open\n", ExtendedError, "425 cannot open"},
      {"when TYPE A\nreply 504 never\n", ExtendedError, "504 never"},
      {"when EPRT\nreply 500 no\nwhen PORT\nreply 501 nor that\n", ExtendedError, "501 nor that"},
      {kOpen + "data abc\nend\nreply 426 broken\n", ExtendedError, "426 broken"},
      {kOpen + "data abc\nend\nreply 451-disk\nreply 451 error\n", ExtendedError,
       "451-disk\r\n451"},
      {kOpen + "data abc\ncut\nreply 426 broken\n", ConnectionReset, ""},
      {kOpen + "data abc\nend\nclose\n", ConnectionAborted, ""},
      {kOpen + "data abc\nend\nreset\n", ConnectionReset, ""},
      {kOpen + "hang\n", Timeout, ""},
      {kOpen + "data abc\nhang\n", Timeout, ""},
      {kOpen + "data abc\nend\nhang\n", Timeout, ""},
      {"when SIZE\nreply 213 9\n" + kOpen + "data abc\nend\nreply 226 all\n", ExtendedError,
       "file: the server told 9 bytes and sent 3"}};
  for (const auto& c : cases) {
    Peer peer(c.script);
    EXPECT_FALSE(peer.Get(peer.Connect())) << c.script;
    EXPECT_EQ(c.code, peer.client->GetLastError()) << c.script << peer.Words();
    EXPECT_THAT(peer.Words(), HasSubstr(c.words)) << c.script;
    EXPECT_EQ("as it was", peer.Local()) << c.script;
    EXPECT_EQ(1, peer.LocalFiles()) << c.script;
  }
}

TEST(FtpCurl, TheBytesAreThoseOfTheWire) {
  const std::string answers[] = {"when SIZE\nreply 213 3\n", "when SIZE\nreply 500 what?\n",
                                 "when EPRT\nreply 500 what?\nwhen SIZE\nreply 213 x\n"};
  for (const std::string& answer : answers) {
    Peer peer(answer + kOpen + "data a\\r\\nb\\nc\\rd\\r\\r\\n\\xff\nend\nreply 226 all\n");
    EXPECT_TRUE(peer.Get(peer.Connect())) << answer << peer.Words();
    EXPECT_EQ("a\r\nb\nc\rd\r\r\n\xff", peer.Local()) << answer;
    EXPECT_EQ("226 all\r\n", peer.Words());
  }
}

TEST(FtpCurl, OneConnectionServesADirectoryOfFiles) {
  Peer peer("");
  Handle connection = peer.Connect();
  FindData entry;
  EXPECT_TRUE(peer.client->FtpSetCurrentDirectoryA(connection, "/in/"));
  EXPECT_EQ(0u, peer.client->FtpFindFirstFileA(connection, entry));
  EXPECT_EQ(NoMoreFiles, peer.client->GetLastError());
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(peer.Get(connection, "/in//a b")) << peer.Words();
  for (const char* name : {"a\r\nDELE b", "a\tb", "", "in/", "\u6f22"}) {
    EXPECT_FALSE(peer.Get(connection, name)) << name;
    EXPECT_FALSE(peer.client->FtpDeleteFileA(connection, name)) << name;
    EXPECT_EQ(ExtendedError, peer.client->GetLastError()) << name;
  }
  EXPECT_FALSE(peer.Get(connection, std::string("a\0b", 3)));
  peer.client->InternetCloseHandle(connection);
  std::vector<std::string> sent = peer.Log();
  std::erase_if(sent, [](const std::string& line) { return line.starts_with("EPRT"); });
  EXPECT_THAT(sent, ElementsAre("USER torvik", "PASS geheim", "PWD", "CWD /in/", "FEAT", "TYPE A",
                                "LIST", "TYPE I", "TYPE A", "SIZE /in//a ", "RETR /in//a ",
                                "TYPE A", "RETR /in//a ", "TYPE A", "RETR /in//a ", "QUIT"));
}

TEST(FtpCurl, ATransferShowsItsProgressAndTheLocalFileCanFailIt) {
  Peer peer(kOpen + "data abc\nhang\n");
  const Handle connection = peer.Connect();
  const std::pair<std::string, const char*> cases[] = {
      {"none/file", "none/file: No such file or directory"}, {"local", "local: Is a directory"}};
  for (const auto& [path, words] : cases) {
    EXPECT_FALSE(peer.client->FtpGetFileA(connection, "file", peer.PathOf(path)));
    EXPECT_THAT(peer.Words(), HasSubstr(words));
  }
  EXPECT_FALSE(peer.client->FtpGetFileA(connection, "file", "\\\\s\\in\\file"));
  EXPECT_THAT(peer.Words(), HasSubstr("no directory is mapped for the share"));
  EXPECT_FALSE(peer.client->FtpGetFileA(connection, "file", "/dev/null"));
  EXPECT_THAT(peer.Log(), Not(testing::Contains(HasSubstr("RETR"))));
  EXPECT_FALSE(peer.Get(connection));
  EXPECT_GE(peer.pumped, 5);
}

TEST(FtpCurl, AListingIsReadWholeOrRefused) {
  const std::string list = "when LIST\nreply 150 go\n", end = "end\nreply 226 done\n";
  const std::string line = "-rw-r--r-- 1 o g 5 Jan  8 10:20 ";
  const std::string mlst = "when FEAT\nreply 211-Features\nreply  MLST type*;\nreply 211 End\n";
  const struct {
    std::string script;
    std::size_t count;
    std::uint32_t code;
    const char* words;
  } cases[] = {
      {list + "names 100000\n" + end, 100000, NoMoreFiles, ""},
      {list + "data total 0\\r\\n\n" + end, 0, NoMoreFiles, ""},
      {"when LIST\nreply 450 nothing\n", 0, NoMoreFiles, ""},
      {mlst + "when MLSD\nreply 500 what?\n" + list + "names 2\n" + end, 2, NoMoreFiles, ""},
      {mlst + "when MLSD\nreply 550 no\n", 0, ExtendedError, "550 no"},
      {mlst + "when MLSD\nreply 150 go\ndata type=file; \\xe4\\r\\n\n" + end, 1, NoMoreFiles, ""},
      {list + "names 2\ndata " + line + "../x\\r\\n\n" + end, 0, ExtendedError, "\"../x\": this"},
      {list + "data " + line + "a\\rb\\r\\n\n" + end, 0, ExtendedError, "not understood"},
      {list + "data " + line + "a\\x00b\\r\\n\n" + end, 0, ExtendedError, "\"a?b\": this cannot"},
      {list + "names 2\nend\nreply 426 cut\n", 0, ExtendedError, "426 cut"},
      {list + "names 2\ncut\n", 0, ConnectionReset, ""},
      {list + "names 2\nhang\n", 0, Timeout, ""},
      {"when CWD\nreply 250 ok\nclose\n", 0, ConnectionReset, ""}};
  for (const auto& c : cases) {
    Peer peer(c.script);
    auto& client = *peer.client;
    const Handle connection = peer.Connect();
    EXPECT_TRUE(client.FtpSetCurrentDirectoryA(connection, "/in")) << c.script << peer.Words();
    FindData entry;
    std::size_t count = 0;
    const Handle listing = client.FtpFindFirstFileA(connection, entry);
    for (bool isThere = listing != 0; isThere; ++count)
      isThere = client.InternetFindNextFileA(listing, entry);
    EXPECT_EQ(c.count, count) << c.script;
    EXPECT_EQ(c.code, client.GetLastError()) << c.script << peer.Words();
    EXPECT_THAT(peer.Words(), HasSubstr(c.words)) << c.script;
  }
}

/// Which of both comes first, the server's reply or its data connection, is chance here.
TEST(FtpCurl, ADataConnectionThatComesLateIsNotTakenForAnEmptyDirectory) {
  Peer peer(
      "when FEAT\nreply 211-Features\nreply  MLST type*;\nreply 211 End\n"
      "when MLSD\nreply 500 what?\n"
      "when LIST\nreply 150 go\nnames 2\nend\nreply 226 done\n");
  for (int i = 0; i < 20; ++i) {
    const Handle connection = peer.Connect();
    FindData entry;
    const Handle listing = peer.client->FtpFindFirstFileA(connection, entry);
    EXPECT_NE(0u, listing) << peer.client->GetLastError() << peer.Words();
    EXPECT_EQ("file 0", entry.fileName);
    EXPECT_TRUE(peer.client->InternetFindNextFileA(listing, entry));
    peer.client->InternetCloseHandle(connection);
  }
}

TEST(FtpCurl, AFileThatIsOpenFailsAsItsTransferDoes) {
  Peer peer(kOpen + "data " + std::string(100, 'x') +
            "\nend\nreply 426 cut\nwhen STOR no\nreply 553 not here\n"
            "when STOR full\nreply 150 go\ndata \nend\nreply 452 full\n");
  auto& client = *peer.client;
  Handle connection = peer.Connect();
  std::string text;
  const Handle file = client.FtpOpenFileA(connection, "a", FileAccess::Read);
  EXPECT_NE(0u, file) << peer.Words();
  for (int i = 0; i < 2; ++i) {
    EXPECT_FALSE(client.InternetReadFile(file, 256, text));
    EXPECT_EQ(ExtendedError, client.GetLastError()) << peer.Words();
  }
  EXPECT_FALSE(client.InternetWriteFile(file, "x"));
  EXPECT_EQ(IncorrectHandleType, client.GetLastError());
  connection = peer.Connect();
  EXPECT_EQ(0u, client.FtpOpenFileA(connection, "no", FileAccess::Write));
  EXPECT_THAT(peer.Words(), HasSubstr("553 not here"));
  const Handle full = client.FtpOpenFileA(connection, "full", FileAccess::Write);
  EXPECT_NE(0u, full) << peer.Words();
  client.InternetWriteFile(full, "idle\r\n");
  client.InternetCloseHandle(full);
  EXPECT_NE(NoError, client.GetLastError());
  EXPECT_THAT(peer.Words(), HasSubstr("452 full"));
}

}  // namespace
}  // namespace torvik
