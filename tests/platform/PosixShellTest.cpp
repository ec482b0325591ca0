#include "platform/linux/PosixShell.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "fakes/TemporaryDirectory.h"
#include "platform/linux/IconvCodePages.h"

namespace torvik {
namespace {

using testing::HasSubstr;

class PosixShellTest : public testing::Test {
 protected:
  std::string Share(const std::string& name) const { return "\\\\files\\in\\" + name; }

  TemporaryDirectory disk_;
  std::unique_ptr<CodePages> codePages_ = NewIconvCodePages("windows-1252");
  std::unique_ptr<Shell> shell_ =
      NewPosixShell(PathMap({}, {{"\\\\files\\in", disk_.PathOf("share")}}, ""), *codePages_);
};

TEST_F(PosixShellTest, AFirstLineIsReadOrItsErrorToldApart) {
  disk_.Write("share/status", "ready\r\nmore");
  disk_.Write("share/long", std::string(300, 'x'));
  disk_.Write("share/empty", "");
  disk_.Write("share/blank", "\r\nready");
  const struct {
    std::string path;
    ShareError error;
    std::string text;
  } cases[] = {{Share("status"), ShareError::None, "ready"},
               {Share("long"), ShareError::None, std::string(256, 'x')},
               {Share("blank"), ShareError::None, ""},
               {Share("empty"), ShareError::Other, "past end of file"},
               {Share("absent"), ShareError::FileNotFound, "No such file"},
               {Share("no\\status"), ShareError::PathNotFound, "No such file"},
               {Share(""), ShareError::Other, "directory"},
               {"\\\\other\\in\\status", ShareError::PathNotFound, "\\\\other\\in"}};
  for (const auto& c : cases) {
    std::string line;
    const ShareResult read = shell_->ReadFirstLine(c.path, 256, line);
    EXPECT_EQ(c.error, read.error) << c.path;
    EXPECT_THAT(c.error == ShareError::None ? line : read.description, HasSubstr(c.text)) << c.path;
  }
}

TEST_F(PosixShellTest, FilesAloneAreCopiedAndArriveComplete) {
  disk_.Write("share/a.csv", "new");
  disk_.Write("share/ä b", "2");
  disk_.Write("share/below/c", "3");
  disk_.Write("in/a.csv", "old and longer");
  FileOperation copy{.from = Share("*.*"), .to = disk_.PathOf("in")};
  EXPECT_EQ(0, shell_->SHFileOperationA(copy));
  EXPECT_EQ("new", disk_.Read("in/a.csv"));
  EXPECT_EQ("2", disk_.Read("in/ä b"));
  EXPECT_FALSE(std::filesystem::exists(disk_.PathOf("in/c")));
  const auto left = std::filesystem::directory_iterator(disk_.PathOf("in"));
  EXPECT_EQ(2, std::distance(left, {})) << "nothing else is left beside them";

  copy.to = disk_.PathOf("nowhere");
  EXPECT_NE(0, shell_->SHFileOperationA(copy));
  copy.from = Share("no\\*.*");
  EXPECT_NE(0, shell_->SHFileOperationA(copy));
  // A file that cannot take its place leaves what is there, and no part of itself.
  disk_.Write("taken/a.csv/x", "");
  disk_.Write("one/a.csv", "1");
  copy = {.from = disk_.PathOf("one") + "/*.*", .to = disk_.PathOf("taken")};
  EXPECT_NE(0, shell_->SHFileOperationA(copy));
  const auto after = std::filesystem::directory_iterator(disk_.PathOf("taken"));
  EXPECT_EQ(1, std::distance(after, {}));
}

TEST_F(PosixShellTest, AStatusIsReplaced) {
  disk_.Write("share/status", "ready and more");
  EXPECT_EQ(ShareError::None, shell_->ReplaceText(Share("status"), "idle\r\n\r\n").error);
  EXPECT_EQ("idle\r\n\r\n", disk_.Read("share/status"));
  EXPECT_EQ(ShareError::PathNotFound, shell_->ReplaceText(Share("no\\status"), "x").error);
  EXPECT_TRUE(shell_->Exists(Share("")));
  EXPECT_TRUE(shell_->Exists(Share("status")));
  EXPECT_FALSE(shell_->Exists(Share("no")));
}

}  // namespace
}  // namespace torvik
