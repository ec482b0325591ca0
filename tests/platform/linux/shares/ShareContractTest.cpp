// What the shell does on every kind of path: a directory, a share that is mapped to one, a share
// over SMB, and, as far as it goes, the one in memory.

#include <gmock/gmock.h>

#include <filesystem>

#include "fakes/FakeShell.h"
#include "fakes/NoThreads.h"
#include "platform/linux/settings/SettingsFile.h"
#include "platform/linux/shares/ShellByPath.h"
#include "platform/linux/text/IconvCodePages.h"
#include "servers/SambaServer.h"

namespace torvik {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

/// One server for all tests; each begins with empty shares.
SambaServer& Server() {
  static SambaServer server;
  server.Clear();
  return server;
}

std::unique_ptr<Shell> ShellOf(const std::string& settingsText) {
  static const std::unique_ptr<CodePages> codePages = NewIconvCodePages("windows-1252");
  Settings settings;
  EXPECT_EQ("", ParseSettings(settingsText, settings));
  return NewShellByPath(settings, settings.Paths(), *codePages);
}

class ShareContract : public testing::TestWithParam<const char*> {
 protected:
  bool Is(std::string_view kind) const { return kind == GetParam(); }
  Shell& Tested() { return Is("Fake") ? fake_ : *shell_; }

  std::string PathOf(const std::string& name) const {
    if (Is("Smb")) return SambaServer::Unc("in", name);
    return Is("Directory") ? server_.PathOf("in/" + name) : "\\\\Files\\in\\" + name;
  }
  void Put(const std::string& name, const std::string& bytes) {
    server_.Write("in/" + name, bytes);
    fake_.texts[PathOf(name)] = bytes;
  }

  SambaServer& server_ = Server();

 private:
  FakeShell fake_;
  const std::unique_ptr<Shell> shell_ =
      ShellOf(server_.Section() + "[paths]\nshare \\\\files\\in = " + server_.PathOf("in"));
};

TEST_P(ShareContract, AFirstLineIsReadOrItsErrorToldApart) {
  Put("status", "ready\r\nmore");
  Put("long", std::string(300, 'x'));
  Put("blank", "\nready");
  Put("open line",
      "gr\xF6\xDF"
      "e");
  Put("empty", "");
  fs::create_directory(server_.PathOf("in/below"));
  const struct {
    const char* name;
    ShareError error;
    std::string text;
    bool isForFake = true;
  } cases[] = {{"status", ShareError::None, "ready"},
               {"long", ShareError::None, std::string(256, 'x')},
               {"blank", ShareError::None, ""},
               {"absent", ShareError::FileNotFound, ""},
               {"open line", ShareError::None, "größe", false},
               {"below\\..\\status", ShareError::None, "ready", false},
               {"below\\absent", ShareError::FileNotFound, "No such file", false},
               {"empty", ShareError::Other, "past end of file", false},
               {"no\\status", ShareError::PathNotFound, "No such file", false},
               {"status\\x", ShareError::PathNotFound, "", false},
               {"below", ShareError::Other, "directory", false},
               {"", ShareError::Other, "directory", false}};
  for (const auto& c : cases) {
    if (Is("Fake") && !c.isForFake) continue;
    std::string line;
    const ShareResult read = Tested().ReadFirstLine(PathOf(c.name), 256, line);
    EXPECT_EQ(c.error, read.error) << c.name << read.description;
    EXPECT_THAT(c.error == ShareError::None ? line : read.description, HasSubstr(c.text)) << c.name;
  }
}

TEST_P(ShareContract, AStatusIsReplaced) {
  Put("status", "ready and more");
  fs::create_directory(server_.PathOf("in/below"));
  EXPECT_EQ(ShareError::None, Tested().ReplaceText(PathOf("status"), "idle ä\r\n").error);
  std::string line;
  EXPECT_EQ(ShareError::None, Tested().ReadFirstLine(PathOf("status"), 256, line).error);
  EXPECT_EQ("idle ä", line);
  if (Is("Fake")) return;
  EXPECT_EQ("idle \xE4\r\n", server_.Read("in/status"));
  EXPECT_EQ(ShareError::None, Tested().ReplaceText(PathOf("new"), "x").error);
  EXPECT_EQ(ShareError::Other, Tested().ReplaceText(PathOf("below"), "x").error);
  EXPECT_EQ(ShareError::PathNotFound, Tested().ReplaceText(PathOf("no\\status"), "x").error);
  for (const char* name : {"", "below", "below\\", "status"})
    EXPECT_TRUE(Tested().Exists(PathOf(name))) << name;
  for (const char* name : {"no", "no\\status"}) EXPECT_FALSE(Tested().Exists(PathOf(name)));
}

TEST_P(ShareContract, FilesAloneAreCopiedAndArriveComplete) {
  if (Is("Fake")) return;
  const std::string large(9'000'000, 'l');
  const std::pair<std::string, std::string> files[] = {
      {"a.csv", "new"}, {"ä b #1%41.txt", "2"}, {"empty", ""}, {"large", large}};
  for (const auto& [name, text] : files) Put(name, text);
  Put("below/c", "3");
  fs::create_symlink("nowhere", server_.PathOf("in/link to nothing"));
  const TemporaryDirectory to;
  FileOperation copy{.from = PathOf("*.*"), .to = to.Path()};
  for (const bool hasThreads : {true, false}) {
    const auto none = hasThreads ? nullptr : std::make_unique<NoThreads>();
    for (const auto& [name, text] : files) to.Write(name, "old and longer");
    EXPECT_EQ(0, Tested().SHFileOperationA(copy)) << Tested().CopyFailure();
    for (const auto& [name, text] : files) EXPECT_TRUE(to.Read(name) == text) << name;
    EXPECT_EQ(4, to.Entries()) << "nothing else is left beside them";
  }

  copy.to = to.PathOf("nowhere");
  EXPECT_NE(0, Tested().SHFileOperationA(copy));
  EXPECT_THAT(Tested().CopyFailure(), HasSubstr(to.PathOf("nowhere")));
  copy.to = to.Path();
  copy.from = PathOf("no\\*.*");
  EXPECT_NE(0, Tested().SHFileOperationA(copy));
  EXPECT_THAT(Tested().CopyFailure(), HasSubstr("No such file"));
  copy = {.from = PathOf("below\\*.*"), .to = SambaServer::Unc("open", "")};
  EXPECT_NE(0, Tested().SHFileOperationA(copy));
  EXPECT_THAT(Tested().CopyFailure(), HasSubstr("[paths]"));
  // A file that cannot take its place leaves what is there, and no part of itself.
  to.Write("taken/c/x", "");
  copy.to = to.PathOf("taken");
  EXPECT_NE(0, Tested().SHFileOperationA(copy));
  EXPECT_EQ(1, std::distance(fs::directory_iterator(copy.to), {}));
}

INSTANTIATE_TEST_SUITE_P(Kinds, ShareContract,
                         testing::Values("Fake", "Directory", "MappedShare", "Smb"),
                         [](const auto& kind) { return std::string(kind.param); });

TEST(SmbShell, WhatTheServerRefusesIsToldInWords) {
  SambaServer& server = Server();
  const TemporaryDirectory disk;
  for (const char* share : {"in", "readonly", "open"})
    server.Write(share + std::string("/status"), "ready");
  const std::string password = server.Password();
  const std::string credentials =
      "# of shares\nusername=" + server.User() + "\r\npassword = " + password + "\n";
  disk.Write("good", credentials);
  disk.Write("loose", credentials);
  disk.Write("nobody", "password = x\n");
  for (const char* name : {"good", "nobody"}) disk.SetMode(name, 0600);
  disk.SetMode("loose", 0644);
  const std::string guest = server.SectionOfGuest();
  const auto ofFile = [&](const char* name) {
    return guest + "credentials = " + disk.PathOf(name) + "\n";
  };
  const std::string wrong = guest + "user = " + server.User() + "\npassword = falsch\n";
  const struct {
    std::string settings, share;
    ShareError error;
    std::string text;
  } cases[] = {
      {ofFile("good"), "in", ShareError::None, ""},
      {guest, "open", ShareError::None, ""},
      {wrong + "[smb 127.0.0.1]\npassword = " + password, "in", ShareError::None, ""},
      {wrong, "in", ShareError::Other, "logon of user " + server.User() + " was refused"},
      {guest, "in", ShareError::Other, "add user and password, or credentials, to [smb]"},
      {ofFile("loose"), "in", ShareError::Other, "mode 0644, so that others may use it; run chmod"},
      {ofFile("nobody"), "in", ShareError::Other, "names no user"},
      {ofFile("none"), "in", ShareError::Other, "none cannot be read: No such file"},
      {guest + "port = 1\n", "in", ShareError::Other, "port 1 (Connection refused)"},
      {guest + "kerberos = yes\n", "in", ShareError::Other, "logon by Kerberos: check with klist"},
      {server.Section(), "none", ShareError::PathNotFound, "no share \"none\""},
      {server.Section(), "", ShareError::Other, "begins \\\\SERVER\\SHARE"}};
  for (const auto& c : cases) {
    std::string line;
    const auto shell = ShellOf(c.settings);
    const auto read = shell->ReadFirstLine(SambaServer::Unc(c.share, "status"), 256, line);
    EXPECT_EQ(c.error, read.error) << c.text << "\n" << read.description;
    EXPECT_THAT(read.description, HasSubstr(c.text));
    EXPECT_THAT(read.description, Not(HasSubstr(password)));
  }
  const auto refused =
      ShellOf(server.Section())->ReplaceText(SambaServer::Unc("readonly", "status"), "idle");
  EXPECT_EQ(ShareError::Other, refused.error);
  EXPECT_THAT(refused.description, HasSubstr("user " + server.User() + " has no rights there"));
  EXPECT_EQ("ready", server.Read("readonly/status"));
}

}  // namespace
}  // namespace torvik
