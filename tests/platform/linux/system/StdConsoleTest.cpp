#include "platform/linux/system/StdConsole.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "fakes/TemporaryDirectory.h"
#include "platform/linux/system/Posix.h"
#include "platform/linux/text/IconvCodePages.h"

namespace torvik {
namespace {

TEST(StdConsole, ALineEndsInCrLfUntilTheInputEnds) {
  const TemporaryDirectory disk;
  disk.Write("input", "one\n\r\nt\xE9o\r\n0123456789\nlast");
  const Descriptor former{dup(STDIN_FILENO)};
  dup2(OpenFile(disk.PathOf("input"), O_RDONLY).Number(), STDIN_FILENO);
  const auto codePages = NewIconvCodePages("windows-1252");
  const auto console = NewStdConsole(*codePages);
  for (const char* line : {"one\r\n", "\r\n", "t\u00e9o\r\n", "01234567", "last\r\n", "", ""})
    EXPECT_EQ(console->ReadConsole(8), line);
  dup2(former.Number(), STDIN_FILENO);
}

}  // namespace
}  // namespace torvik
