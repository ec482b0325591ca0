#include "platform/linux/system/Arrivals.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "fakes/NoThreads.h"
#include "fakes/TemporaryDirectory.h"

namespace torvik {
namespace {

FileReplacement Written(const std::string& path, std::string_view text) {
  FileReplacement file;
  EXPECT_FALSE(file.Open(path, 0644));
  EXPECT_FALSE(file.Write(text));
  return file;
}

std::ptrdiff_t FilesIn(const TemporaryDirectory& disk) {
  return std::distance(std::filesystem::directory_iterator(disk.Path()), {});
}

TEST(Arrivals, FilesAppearInTheirOrderAndReplaceTheOldOnes) {
  TemporaryDirectory disk;
  disk.Write("99", "old");
  Arrivals arrivals;
  constexpr int kFiles = 200;
  for (int i = 0; i < kFiles; ++i) {
    const std::string large(i % 20 == 0 ? 1 << 20 : 10, 'x');
    EXPECT_FALSE(arrivals.Take(Written(disk.PathOf(std::to_string(i)), large)));
    // From the last one on, since more appear meanwhile.
    bool isThere = false;
    for (int before = i; before >= 0; --before) {
      const bool isThisThere = std::filesystem::exists(disk.PathOf(std::to_string(before)));
      EXPECT_TRUE(isThisThere || !isThere) << before << " is late";
      isThere = isThere || (isThisThere && before != 99);
    }
  }
  EXPECT_FALSE(arrivals.Finish());
  EXPECT_EQ(kFiles, FilesIn(disk));
  EXPECT_EQ("xxxxxxxxxx", disk.Read("99"));
}

TEST(Arrivals, AFailureKeepsTheFilesBeforeItAndNoneBehind) {
  TemporaryDirectory disk;
  disk.Write("last", "as it was");
  Arrivals arrivals;
  arrivals.Take(Written(disk.PathOf("first"), "1"));
  FileReplacement blocked = Written(disk.PathOf("blocked"), "2");
  disk.Write("blocked/by", "a directory");
  arrivals.Take(std::move(blocked));
  arrivals.Take(Written(disk.PathOf("last"), "3"));
  const Arrivals::Failure failure = arrivals.Finish();
  EXPECT_EQ(disk.PathOf("blocked"), failure.path);
  EXPECT_EQ(std::errc::is_a_directory, failure.error);
  EXPECT_EQ("1", disk.Read("first"));
  EXPECT_EQ("as it was", disk.Read("last"));
  EXPECT_EQ(3, FilesIn(disk)) << "nothing is left beside them";
  EXPECT_FALSE(arrivals.Take(Written(disk.PathOf("last"), "4")));
  EXPECT_FALSE(arrivals.Finish());
  EXPECT_EQ("4", disk.Read("last"));
}

TEST(Arrivals, WithoutThreadsEachFileIsInPlaceWhenItHasBeenTaken) {
  const NoThreads none;
  TemporaryDirectory disk;
  Arrivals arrivals;
  for (const char* name : {"a", "b"}) {
    EXPECT_FALSE(arrivals.Take(Written(disk.PathOf(name), name)));
    EXPECT_EQ(name, disk.Read(name));
  }
  FileReplacement blocked = Written(disk.PathOf("blocked"), "2");
  disk.Write("blocked/by", "a directory");
  EXPECT_EQ(disk.PathOf("blocked"), arrivals.Take(std::move(blocked)).path);
  EXPECT_TRUE(arrivals.Finish());
}

}  // namespace
}  // namespace torvik
