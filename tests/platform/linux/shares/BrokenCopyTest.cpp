#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <future>
#include <thread>

#include "fakes/TemporaryDirectory.h"
#include "platform/linux/settings/SettingsFile.h"
#include "platform/linux/shares/SmbShell.h"
#include "platform/linux/system/CopyFiles.h"
#include "platform/linux/system/FetchCounter.h"
#include "platform/linux/text/IconvCodePages.h"
#include "servers/SambaServer.h"

namespace torvik {
namespace {

using testing::HasSubstr;
using namespace std::chrono_literals;

/// A directory with one file of "12345", whatever is told about its name and size.
struct OneFile final : SourceDirectory {
  struct Bytes final : SourceFile {
    Bytes(std::uint64_t size, bool breaks) : size(size), breaks(breaks) {}
    std::size_t Read(char* buffer, std::size_t capacity, std::error_code& error) override {
      if (breaks && left.empty()) error = std::make_error_code(std::errc::connection_reset);
      const std::size_t length = left.copy(buffer, std::min<std::size_t>(capacity, 4));
      left.remove_prefix(length);
      return length;
    }
    std::uint64_t Size(std::error_code&) override { return size; }
    std::string_view left = "12345";
    const std::uint64_t size;
    const bool breaks;
  };

  OneFile(std::string name, std::uint64_t listed, std::uint64_t told, bool breaks)
      : name(std::move(name)), listed(listed), told(told), breaks(breaks) {}
  std::vector<Entry> List(FileFailure&) override { return {{name, listed}}; }
  std::unique_ptr<SourceFile> Open(const std::string&, std::error_code&) override {
    return std::make_unique<Bytes>(told, breaks);
  }
  std::string PathOf(const std::string& file) const override { return file; }
  std::string Words(const std::string&, const std::error_code& error) const override {
    return error.message();
  }
  const std::string name;
  const std::uint64_t listed, told;
  const bool breaks;
};

TEST(CopyFiles, OnlyWhatIsWholeAndHasAGoodNameTakesItsPlace) {
  const struct {
    std::string name;
    std::uint64_t listed = 5, told = 5;
    bool breaks = false;
    std::string file = "a", text = "old", words = "refused";
  } cases[] = {{"a b", 5, 5, false, "a b", "12345", ""},
               {"...a", 5, 5, false, "...a", "12345", ""},
               {"a", 0, 5, false, "a", "12345", ""},
               {"a", 2, 5, false, "a", "12345", ""},
               {"a", 9, 5, false, "a", "12345", ""},
               {"a", 9, 9, true, "a", "old", "reset"},
               {"a", 9, 9, false, "a", "old", "5 of 9 bytes"},
               {"a", 2, 9, false, "a", "old", "5 of 9 bytes"},
               {""},
               {"."},
               {".."},
               {"../x"},
               {"/tmp/x"},
               {"..\\x"},
               {"a\nb"},
               {std::string("a\0b", 3)}};
  for (const auto& c : cases) {
    const TemporaryDirectory disk;
    disk.Write("to/a", "old");
    OneFile from(c.name, c.listed, c.told, c.breaks);
    FetchCounter counter({});
    EXPECT_THAT(CopyFiles(from, disk.PathOf("to"), counter).words, HasSubstr(c.words)) << c.name;
    EXPECT_EQ(c.text, disk.Read("to/" + c.file)) << c.name << c.listed;
    EXPECT_EQ(1, disk.Entries()) << c.name;
  }
}

TEST(SmbShell, ABrokenCopyLeavesWhatIsThereAndTheNextConnectionServes) {
  SambaServer server;
  server.Write("in/status", "ready");
  server.Write("in/below/large", "");
  std::filesystem::resize_file(server.PathOf("in/below/large"), 2'000'000'000);
  const TemporaryDirectory to;
  to.Write("large", "old");
  const auto codePages = NewIconvCodePages("windows-1252");
  Settings settings;
  ASSERT_EQ("", ParseSettings(server.Section(), settings));
  const auto shell = NewSmbShell(settings, PathMap(), *codePages);
  auto copied = std::async(std::launch::async, [&] {
    return shell->SHFileOperationA({.from = SambaServer::Unc("in", "below\\*.*"), .to = to.Path()});
  });
  while (to.Entries() < 2 && copied.wait_for(1ms) != std::future_status::ready) continue;
  server.Stop();
  EXPECT_NE(0, copied.get());
  EXPECT_THAT(shell->CopyFailure(), HasSubstr("\\in\\below\\large: the connection has broken"));
  EXPECT_EQ("old", to.Read("large"));
  EXPECT_EQ(1, to.Entries());
  // A connection that breaks between two calls is not noticed by the second one.
  std::string line;
  for (int times = 0; times < 2; ++times) {
    server.Start();
    EXPECT_EQ(ShareError::None,
              shell->ReadFirstLine(SambaServer::Unc("in", "status"), 256, line).error);
    server.Stop();
  }
}

}  // namespace
}  // namespace torvik
