#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "fakes/FakeFiles.h"
#include "fakes/TemporaryDirectory.h"
#include "platform/linux/shares/PosixShell.h"
#include "platform/linux/system/PosixFiles.h"
#include "platform/linux/text/IconvCodePages.h"

namespace torvik {
namespace {

using testing::UnorderedElementsAre;

class FilesContract : public testing::TestWithParam<const char*> {
 protected:
  FilesContract() { fake_.MakeDirectory("C:\\work"); }

  std::string At(const std::string& name) const {
    return (isFake_ ? "C:\\work\\" : disk_.Path() + "/") + name;
  }
  std::string Read(const std::string& name) const {
    return isFake_ ? fake_.Text(At(name)) : disk_.Read(name);
  }
  std::vector<std::string> List(const std::string& directory) {
    std::vector<std::string> names = {"before"};
    EXPECT_FALSE(files_.ListFiles(At(directory), names)) << directory;
    return names;
  }

  const bool isFake_ = GetParam() == std::string("Fake");
  TemporaryDirectory disk_;
  std::unique_ptr<CodePages> codePages_ = NewIconvCodePages("windows-1252");
  FakeFiles fake_;
  std::unique_ptr<Files> posix_ = NewPosixFiles(PathMap(), *codePages_, disk_.Path());
  Files& files_ = isFake_ ? fake_ : *posix_;
};

INSTANTIATE_TEST_SUITE_P(, FilesContract, testing::Values("Fake", "Posix"),
                         [](const auto& tested) { return std::string(tested.param); });

TEST_P(FilesContract, TextIsAppendedAndReplaced) {
  EXPECT_FALSE(files_.AppendText(At("log.txt"), "one\r\n"));
  EXPECT_FALSE(files_.AppendText(At("log.txt"), "two\r\n"));
  EXPECT_EQ(Read("log.txt"), "one\r\ntwo\r\n");
  EXPECT_FALSE(files_.ReplaceText(At("log.txt"), "3"));
  EXPECT_EQ(Read("log.txt"), "3");
  EXPECT_THAT(List(""), UnorderedElementsAre("log.txt"));
  EXPECT_FALSE(files_.Sync(At("log.txt")));
}

TEST_P(FilesContract, AFileIsWrittenOnceItIsCommitted) {
  std::error_code error;
  const auto none = Compression::None;
  for (const bool append : {false, true}) {
    auto left = files_.OpenWrite(At("f"), append, none, error);
    EXPECT_FALSE(left->Write("left"));
    left.reset();
    auto writer = files_.OpenWrite(At("f"), append, none, error);
    EXPECT_FALSE(writer->Write("one "));
    EXPECT_FALSE(writer->Write("two "));
    EXPECT_EQ(Read("f"), append ? "one two " : "");
    EXPECT_FALSE(writer->Commit());
  }
  EXPECT_EQ(Read("f"), "one two one two ");
  EXPECT_THAT(List(""), UnorderedElementsAre("f"));
  const auto reader = files_.OpenUnpacked(At("f"), Compression::Auto, error);
  char bytes[9];
  EXPECT_EQ(reader->Read(bytes, sizeof bytes, error), sizeof bytes);
  EXPECT_EQ(std::string(bytes, sizeof bytes), "one two o");
  EXPECT_FALSE(files_.OpenUnpacked(At("missing"), Compression::Auto, error));
  EXPECT_EQ(error, std::errc::no_such_file_or_directory);
}

TEST_P(FilesContract, OnlyPlainFilesHaveALengthAndAreReadable) {
  ASSERT_FALSE(files_.ReplaceText(At("five"), "12345"));
  ASSERT_FALSE(files_.MakeDirectory(At("folder")));
  std::uint64_t length = 99;
  EXPECT_FALSE(files_.Size(At("five"), length));
  EXPECT_FALSE(files_.CheckReadable(At("five")));
  for (const std::string& path : {At("missing"), At("folder"), At("five/x"), std::string()}) {
    EXPECT_TRUE(files_.Size(path, length)) << path;
    EXPECT_TRUE(files_.CheckReadable(path)) << path;
    EXPECT_TRUE(files_.Sync(path)) << path;
    EXPECT_TRUE(files_.Remove(path)) << path;
  }
  EXPECT_EQ(length, 5u);
  EXPECT_TRUE(files_.AppendText(At("folder"), "x"));
}

TEST_P(FilesContract, BothSpellingsLeadToOneFile) {
  ASSERT_FALSE(files_.MakeDirectory(At("a\\b\\c\\")));
  EXPECT_FALSE(files_.MakeDirectory(At("a/b/c")));  // it is there already
  ASSERT_FALSE(files_.AppendText(At("a/b\\c/x.txt"), "text"));
  EXPECT_EQ(Read("a/b/c/x.txt"), "text");
  EXPECT_TRUE(files_.IsSameFile(At("a\\b/c\\x.txt"), At("a/b/c/x.txt")));
  EXPECT_FALSE(files_.IsSameFile(At("a/x.txt"), At("a/x.txt")));  // there is none
  EXPECT_THAT(List("a\\b\\c\\"), UnorderedElementsAre("x.txt"));
  EXPECT_THAT(List("a"), UnorderedElementsAre());  // directories are not listed
}

TEST_P(FilesContract, CopiesAndAppendsFiles) {
  ASSERT_FALSE(files_.ReplaceText(At("a"), "aaa"));
  ASSERT_FALSE(files_.ReplaceText(At("b"), "b"));
  EXPECT_FALSE(files_.Copy(At("b"), At("a")));
  EXPECT_EQ(Read("a"), "b");
  EXPECT_FALSE(files_.AppendFile(At("b"), At("a")));
  EXPECT_FALSE(files_.AppendFile(At("b"), At("new")));
  EXPECT_EQ(Read("new"), "b");
  EXPECT_FALSE(files_.Copy(At("a"), At("a")));
  EXPECT_TRUE(files_.AppendFile(At("a"), At("a")));
  EXPECT_TRUE(files_.Copy(At("missing"), At("a")));
  EXPECT_TRUE(files_.AppendFile(At("missing"), At("other")));
  EXPECT_EQ(Read("a"), "bb");
  EXPECT_THAT(List(""), UnorderedElementsAre("a", "b", "new"));
}

TEST_P(FilesContract, FilesArriveWholeOrNotAtAll) {
  ASSERT_FALSE(files_.ReplaceText(At("a"), "aaaa"));
  ASSERT_FALSE(files_.ReplaceText(At("old"), "old"));
  ASSERT_FALSE(files_.MakeDirectory(At("folder")));
  FileStatus before, after;
  EXPECT_FALSE(files_.Status(At("old"), before));
  EXPECT_EQ(before.bytes, 3u);
  for (const bool isMove : {false, true}) {
    const auto bring = [&](const std::string& from, const std::string& to, bool overwrite) {
      return isMove ? files_.Move(At(from), At(to), overwrite)
                    : files_.CopyWhole(At(from), At(to), overwrite);
    };
    EXPECT_EQ(bring("a", "old", false), std::errc::file_exists);
    EXPECT_EQ(bring("a", "folder", true), std::errc::is_a_directory);
    EXPECT_EQ(bring("a", "no/b", true), std::errc::no_such_file_or_directory);
    EXPECT_EQ(bring("missing", "b", true), std::errc::no_such_file_or_directory);
    EXPECT_EQ(bring("folder", "b", true), std::errc::is_a_directory);
    EXPECT_EQ(Read("a") + Read("old"), "aaaaold");
    EXPECT_FALSE(bring("a", isMove ? "folder/new" : "b", false));
  }
  EXPECT_EQ(Read("b") + Read("folder/new"), "aaaaaaaa");
  EXPECT_FALSE(files_.Move(At("b"), At("old"), true));
  EXPECT_TRUE(files_.Move(At("old"), At("old"), true));
  EXPECT_FALSE(files_.Status(At("old"), after));
  EXPECT_NE(before, after);
  EXPECT_TRUE(files_.Status(At("folder"), after));
  EXPECT_THAT(List(""), UnorderedElementsAre("old"));
}

TEST_P(FilesContract, AnEmptyFileIsReadAsOneWithoutBytes) {
  ASSERT_FALSE(files_.ReplaceText(At("empty"), ""));
  for (const std::size_t capacity : {std::size_t{1}, std::size_t{1} << 20}) {
    std::error_code error;
    const auto file = files_.OpenUnpacked(At("empty"), Compression::Auto, error);
    std::string buffer(capacity, ' ');
    EXPECT_EQ(file->Read(buffer.data(), capacity, error), 0u);
    EXPECT_FALSE(error) << error.message();
  }
}

TEST_P(FilesContract, WhatCannotBeDoneSaysWhy) {
  ASSERT_FALSE(files_.ReplaceText(At("file"), "kept"));
  const auto missing = std::errc::no_such_file_or_directory;
  EXPECT_EQ(files_.AppendText(At("no/log"), "x"), missing);
  EXPECT_EQ(files_.ReplaceText(At("no/log"), "x"), missing);
  EXPECT_EQ(files_.Copy(At("file"), At("no/log")), missing);
  EXPECT_EQ(files_.Remove(At("missing")), missing);
  std::vector<std::string> names = {"before"};
  EXPECT_EQ(files_.ListFiles(At("missing"), names), missing);
  EXPECT_TRUE(names.empty());
  names = {"before"};
  EXPECT_EQ(files_.ListDirectories(At("missing"), names), missing);
  EXPECT_TRUE(names.empty());
  EXPECT_FALSE(files_.MakeDirectory(At("below/deeper")));
  EXPECT_FALSE(files_.ListDirectories(At(""), names));
  EXPECT_EQ(names, std::vector<std::string>{"below"});
  EXPECT_FALSE(files_.Remove(At("file")));
  EXPECT_TRUE(files_.CheckReadable(At("file")));
}

class PosixFilesTest : public testing::Test {
 protected:
  std::string At(const std::string& name) const { return disk_.PathOf(name); }

  TemporaryDirectory disk_;
  std::unique_ptr<CodePages> codePages_ = NewIconvCodePages("windows-1252");
  std::unique_ptr<Files> files_ =
      NewPosixFiles(PathMap({}, {}, At("state/drives")), *codePages_, At("state/tmp"));
};

TEST_F(PosixFilesTest, WhatIsForAllIsReadableWhateverTheUmaskSays) {
  const mode_t before = umask(077);
  EXPECT_FALSE(files_->ReplaceBytes(At("metrics"), "1"));
  umask(before);
  EXPECT_EQ(disk_.ModeOf("metrics"), 0600);
  EXPECT_FALSE(files_->LetAllRead(At("metrics")));
  EXPECT_EQ(disk_.ModeOf("metrics"), 0644);
  EXPECT_EQ(files_->LetAllRead(At("none")), std::errc::no_such_file_or_directory);
}

TEST_F(PosixFilesTest, TextIsInTheCodePageOnDisk) {
  EXPECT_FALSE(files_->AppendText(At("log"), "\u00e9 \u20ac \u6f22\r\n"));
  EXPECT_EQ(disk_.Read("log"), "\xE9 \x80 ?\r\n");
  EXPECT_FALSE(files_->ReplaceText(At("log"), "\u00e9"));
  EXPECT_EQ(disk_.Read("log"), "\xE9");
  std::error_code error;
  const auto reader = files_->OpenRead(At("log"), error);
  char bytes[9];
  EXPECT_EQ(reader->Read(bytes, sizeof bytes, error), 1u);
  EXPECT_EQ(bytes[0], '\xE9');
  EXPECT_EQ(reader->Read(bytes, sizeof bytes, error), 0u);
}

TEST_F(PosixFilesTest, AFileThatGetsShorterWhileItIsReadSaysSo) {
  disk_.Write("log", "123456");
  std::error_code error;
  const auto reader = files_->OpenRead(At("log"), error);
  char bytes[4];
  EXPECT_EQ(reader->Read(bytes, 4, error), 4u);
  std::filesystem::resize_file(At("log"), 3);
  EXPECT_EQ(reader->Read(bytes, 4, error), 0u);
  EXPECT_EQ(error.message(), "the file was truncated while it was read");
}

TEST_F(PosixFilesTest, APipeIsReadAndWritten) {
  disk_.Write("beside", "");
  ASSERT_EQ(mkfifo(At("pipe").c_str(), 0600), 0);
  std::thread writing([this] {
    std::error_code error;
    const auto writer = files_->OpenWrite(At("pipe"), false, Compression::Gzip, error);
    EXPECT_FALSE(writer->Write("text"));
    EXPECT_FALSE(writer->Commit());
  });
  std::error_code error;
  const auto reader = files_->OpenUnpacked(At("pipe"), Compression::Auto, error);
  char bytes[9];
  EXPECT_EQ(reader->Read(bytes, sizeof bytes, error), 4u) << error.message();
  EXPECT_EQ(reader->Read(bytes, sizeof bytes, error), 0u);
  EXPECT_FALSE(error) << error.message();
  writing.join();
}

/// What would take for ever is given up, and a reader who is there gets all of it.
TEST_F(PosixFilesTest, APipeWithoutAnotherEndIsGivenUp) {
  disk_.Write("from", "text");
  ASSERT_EQ(mkfifo(At("pipe").c_str(), 0600), 0);
  const auto noReader = std::errc::no_such_device_or_address;
  EXPECT_EQ(files_->ReplaceText(At("pipe"), "ok"), noReader);
  EXPECT_EQ(files_->AppendText(At("pipe"), "ok"), noReader);
  EXPECT_EQ(files_->Copy(At("from"), At("pipe")), noReader);
  EXPECT_EQ(files_->AppendFile(At("from"), At("pipe")), noReader);
  std::string line;
  const auto shell = NewPosixShell(PathMap(), *codePages_);
  EXPECT_EQ(shell->ReadFirstLine(At("pipe"), 9, line).error, ShareError::Other);
  std::atomic<bool> cancelled = false;
  std::thread later([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    cancelled = true;
  });
  std::error_code error;
  char byte;
  const auto reader = files_->OpenUnpacked(At("pipe"), Compression::Auto, error);
  ASSERT_TRUE(reader) << error.message();
  reader->EndOn(&cancelled);
  EXPECT_EQ(reader->Read(&byte, 1, error), 0u);
  EXPECT_EQ(error, std::errc::operation_canceled);
  later.join();
  ASSERT_EQ(mkfifo(At("other").c_str(), 0600), 0);
  const auto writer = files_->OpenWrite(At("other"), false, Compression::None, error);
  ASSERT_TRUE(writer) << error.message();
  writer->EndOn(&cancelled);
  EXPECT_EQ(writer->Write("text"), std::errc::operation_canceled);
}

TEST_F(PosixFilesTest, AReaderOfAPipeGetsTheWord) {
  ASSERT_EQ(mkfifo(At("pipe").c_str(), 0600), 0);
  std::string word;
  std::thread reader([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));  // he comes late
    word = disk_.Read("pipe");
  });
  EXPECT_FALSE(files_->ReplaceText(At("pipe"), "ok\r\n"));
  reader.join();
  EXPECT_EQ(word, "ok\r\n");
}

/// Another owner's file must stay his: he could not write to it any more. Only root has files of
/// several users; for others the directory refuses a new file.
TEST_F(PosixFilesTest, AWordThatRenamingWouldTakeFromItsOwnerIsWrittenInPlace) {
  constexpr uid_t kProvider = 65533, kRunner = 65534;
  const bool isRoot = geteuid() == 0;
  disk_.Write("shared/status", "ready");
  disk_.SetMode("", 0755);
  disk_.SetMode("shared", isRoot ? 0777 : 0555);
  disk_.SetMode("shared/status", 0666);
  if (isRoot) {
    ASSERT_EQ(chown(At("shared/status").c_str(), kProvider, kProvider), 0);
  }
  struct stat before {
  }, after{};
  ASSERT_EQ(stat(At("shared/status").c_str(), &before), 0);
  const auto shell = NewPosixShell(PathMap(), *codePages_);
  if (isRoot) {
    ASSERT_EQ(seteuid(kRunner), 0);
  }
  EXPECT_FALSE(files_->ReplaceText(At("shared/status"), "running"));
  const std::string first = disk_.Read("shared/status");
  EXPECT_EQ(shell->ReplaceText(At("shared/status"), "idle").error, ShareError::None);
  if (isRoot) {
    ASSERT_EQ(seteuid(0), 0);
  }
  EXPECT_EQ(first, "running");
  EXPECT_EQ(disk_.Read("shared/status"), "idle");
  ASSERT_EQ(stat(At("shared/status").c_str(), &after), 0);
  EXPECT_EQ(after.st_ino, before.st_ino);
  EXPECT_EQ(after.st_uid, before.st_uid);
  EXPECT_EQ(after.st_gid, before.st_gid);
  disk_.SetMode("shared", 0755);
}

/// The number of a process that was, and is no more.
pid_t GoneProcess() {
  const pid_t child = fork();
  if (child == 0) _exit(0);
  waitpid(child, nullptr, 0);
  return child;
}

TEST_F(PosixFilesTest, WhatAKilledProcessLeftBesideIsRemovedByTheNextWrite) {
  const std::string gone = ".torvik-" + std::to_string(GoneProcess()) + "-7";
  const std::string alive = ".torvik-" + std::to_string(getppid()) + "-1";
  const std::string locked = ".torvik-" + std::to_string(getpid()) + "-900000";
  for (const std::string& name : {gone, alive, locked, gone + "x", std::string(".torvik-notes")})
    disk_.Write(name, "DTSPwd=...");
  const int elsewhere = open((disk_.Path() + "/" + locked).c_str(), O_RDONLY);
  flock(elsewhere, LOCK_EX);
  EXPECT_FALSE(files_->ReplaceText(disk_.Path() + "/status", "ok"));
  std::vector<std::string> names;
  files_->ListFiles(disk_.Path(), names);
  EXPECT_THAT(names, UnorderedElementsAre("status", alive, locked, gone + "x", ".torvik-notes"));
  close(elsewhere);
}

TEST_F(PosixFilesTest, OrdinaryUsersWhoOwnThePlaceAreTold) {
  if (geteuid() != 0) return;  // only root can give files away
  const std::string& base = disk_.Path();
  for (const char* directory : {"/own", "/hers", "/hers/below"})
    files_->MakeDirectory(base + directory);
  ASSERT_EQ(symlink((base + "/own").c_str(), (base + "/link").c_str()), 0);
  for (const char* given : {"/hers", "/link"})
    ASSERT_EQ(lchown((base + given).c_str(), 4711, 0), 0);
  const struct {
    const char* path;
    std::string owner;
  } cases[] = {{"/own", ""},
               {"/own/not/there/yet", ""},
               {"/hers", base + "/hers belongs to the user 4711"},
               {"/hers/below/", base + "/hers belongs to the user 4711"},
               {"/link/logs", base + "/link belongs to the user 4711"}};
  for (const auto& c : cases) EXPECT_EQ(files_->ForeignOwner(base + c.path), c.owner) << c.path;
  // What the settings map is trusted; what lies below it is looked at.
  const auto mapped = NewPosixFiles(PathMap({{"l", base + "/hers"}}, {}, ""), *codePages_, base);
  EXPECT_EQ(mapped->ForeignOwner("L:\\below"), "");
  ASSERT_EQ(lchown((base + "/hers/below").c_str(), 4712, 0), 0);
  EXPECT_EQ(mapped->ForeignOwner("L:\\below"), base + "/hers/below belongs to the user 4712");
}

TEST_F(PosixFilesTest, ALinkToARootIsARoot) {
  ASSERT_EQ(symlink("/", (disk_.Path() + "/top").c_str()), 0);
  EXPECT_TRUE(files_->IsRoot(disk_.Path() + "/top"));
  EXPECT_FALSE(files_->IsRoot(disk_.Path()));
}

TEST_F(PosixFilesTest, ReplacingKeepsModeAndLinksAndLeavesNothingBeside) {
  disk_.Write("real/status", "old");
  disk_.SetMode("real/status", 0604);
  std::filesystem::create_symlink("real/status", At("link"));
  std::filesystem::create_symlink("real/later", At("dangling"));
  EXPECT_FALSE(files_->ReplaceText(At("link"), "new"));
  EXPECT_FALSE(files_->ReplaceText(At("dangling"), "later"));
  EXPECT_TRUE(files_->ReplaceText(At("real"), "x"));
  EXPECT_TRUE(std::filesystem::is_symlink(At("link")));
  EXPECT_EQ(disk_.Read("real/status"), "new");
  EXPECT_EQ(disk_.ModeOf("real/status"), 0604);
  EXPECT_EQ(disk_.Read("real/later"), "later");
  EXPECT_EQ(disk_.Entries(), 3);
}

TEST_F(PosixFilesTest, WithoutASecondFileTheFirstIsWrittenInPlace) {
  disk_.Write("shared/status", "running");
  disk_.Write("shared/closed", "running");
  disk_.SetMode("shared/status", 0666);
  disk_.SetMode("shared/closed", 0444);
  disk_.SetMode("shared", 0555);
  disk_.SetMode("", 0755);
  const bool isRoot = geteuid() == 0;  // who may do everything
  ASSERT_TRUE(!isRoot || seteuid(65534) == 0);
  EXPECT_FALSE(files_->ReplaceText(At("shared/status"), "ok"));
  EXPECT_TRUE(files_->ReplaceText(At("shared/closed"), "ok"));
  EXPECT_TRUE(files_->ReplaceText(At("shared/new"), "ok"));
  ASSERT_TRUE(!isRoot || seteuid(0) == 0);
  EXPECT_EQ(disk_.Read("shared/status"), "ok");
  EXPECT_EQ(disk_.Read("shared/closed"), "running");
  disk_.SetMode("shared", 0755);
}

TEST_F(PosixFilesTest, WhatIsNotAPlainFileIsWrittenInPlace) {
  EXPECT_FALSE(files_->ReplaceText("/dev/null", "ok"));
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
  EXPECT_TRUE(files_->CheckReadable("/dev/null"));
}

TEST_F(PosixFilesTest, ACopyIsAsPrivateAsItsOriginal) {
  disk_.Write("job.etl", "text");
  disk_.SetMode("job.etl", 0600);
  EXPECT_FALSE(files_->Copy(At("job.etl"), At("copy.etl")));
  EXPECT_EQ(disk_.ModeOf("copy.etl"), 0600);
  EXPECT_TRUE(files_->MakeDirectory(At("job.etl/below")));
}

TEST_F(PosixFilesTest, AFileMovesToAnotherFileSystemAsItWas) {
  const std::string away = "/dev/shm/torvik-test-" + std::to_string(getpid());
  ASSERT_FALSE(files_->MakeDirectory(away));
  const std::string target = away + "/target";
  for (const bool isLink : {false, true}) {
    disk_.Write("real", "text");
    disk_.SetMode("real", 0640);
    const auto time = std::filesystem::last_write_time(At("real")) - std::chrono::hours(1);
    std::filesystem::last_write_time(At("real"), time);
    std::filesystem::create_symlink("real", At("link"));
    EXPECT_EQ(files_->Move(At(isLink ? "link" : "real"), target, isLink), std::error_code());
    EXPECT_EQ(std::filesystem::last_write_time(target), time);
    EXPECT_EQ(std::filesystem::status(target).permissions(), std::filesystem::perms(0640));
    EXPECT_EQ(disk_.Entries(), 1) << "what was moved is gone";
    EXPECT_EQ(disk_.Read("real"), isLink ? "text" : "") << "a link's file stays";
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(away), {}), 1);
    std::filesystem::remove(At("link"));
  }
  std::filesystem::remove_all(away);
}

TEST_F(PosixFilesTest, DrivesAndTemporaryFilesAreInTheStateForTheUserAlone) {
  EXPECT_FALSE(files_->AppendText("D:\\err.txt", "text"));
  EXPECT_EQ(disk_.Read("state/drives/d/err.txt"), "text");
  EXPECT_EQ(disk_.ModeOf("state/drives/d"), 0700);
  EXPECT_THAT(files_->AppendText("\\\\Files\\In\\x", "text").message(),
              testing::HasSubstr("for the share \\\\Files\\In; add it to [paths]"));
  for (int time = 0; time < 2; ++time) EXPECT_EQ(files_->TempDirectory(), At("state/tmp/"));
  EXPECT_EQ(disk_.ModeOf("state/tmp"), 0700);
}

TEST_F(PosixFilesTest, AFileThatNoPathCanNameIsNotListed) {
  disk_.Write("logs/a.log", "");
  disk_.Write("logs/..\\a.log", "");  // as a path, a file outside of the directory
  std::filesystem::create_symlink("nowhere", At("logs/dangling"));
  std::vector<std::string> names;
  EXPECT_FALSE(files_->ListFiles(At("logs"), names));
  EXPECT_THAT(names, testing::ElementsAre("a.log"));
}

}  // namespace
}  // namespace torvik
