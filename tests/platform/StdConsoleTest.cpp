#include "platform/linux/StdConsole.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "fakes/TemporaryDirectory.h"
#include "platform/linux/IconvCodePages.h"
#include "platform/linux/Posix.h"

namespace torvik {
namespace {

class StdConsoleTest : public testing::Test {
 protected:
  ~StdConsoleTest() override { dup2(formerInput_.Number(), STDIN_FILENO); }

  void SetInput(const std::string& bytes) {
    disk_.Write("input", bytes);
    dup2(OpenFile(disk_.PathOf("input"), O_RDONLY).Number(), STDIN_FILENO);
  }

  TemporaryDirectory disk_;
  Descriptor formerInput_{dup(STDIN_FILENO)};
  std::unique_ptr<CodePages> codePages_ = NewIconvCodePages("windows-1252");
  std::unique_ptr<Console> console_ = NewStdConsole(*codePages_);
};

TEST_F(StdConsoleTest, ALineEndsInCrLfUntilTheInputEnds) {
  SetInput("one\n\r\nt\xE9o\r\n0123456789\nlast");
  for (const char* line : {"one\r\n", "\r\n", "t\u00e9o\r\n", "01234567", "last\r\n", "", ""}) {
    EXPECT_EQ(console_->ReadConsole(8), line);
  }
}

}  // namespace
}  // namespace torvik
