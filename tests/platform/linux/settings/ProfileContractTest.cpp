#include <gmock/gmock.h>

#include <functional>
#include <stdexcept>

#include "fakes/FakeProfile.h"
#include "fakes/TemporaryDirectory.h"
#include "platform/linux/settings/ProfileFiles.h"
#include "platform/linux/text/IconvCodePages.h"

namespace torvik {
namespace {

/// A profile with a file [S] a=1, b=1, another name for a file, and one that cannot be written.
struct ProfileUnderTest {
  virtual ~ProfileUnderTest() = default;
  virtual Profile& Get() = 0;
  std::string file, other, unwritable, unreadable;
};

struct InMemory final : ProfileUnderTest {
  InMemory() {
    file = "a.ini", other = "b.ini", unwritable = "c.ini", unreadable = "d.ini";
    profile.unwritableFile = unwritable, profile.unreadableFile = unreadable;
    for (const char* key : {"a", "b"}) profile.entries.push_back({file, "S", key, "1"});
  }
  Profile& Get() override { return profile; }
  FakeProfile profile;
};

struct OnDisk final : ProfileUnderTest {
  OnDisk() {
    file = disk.PathOf("a.ini"), other = disk.PathOf("b.ini");
    unwritable = disk.PathOf("none/c.ini"), unreadable = disk.Path();
    disk.Write("a.ini", "; kept\n[S]\na=1\nelse\nb=1\n");
  }
  Profile& Get() override { return *profile; }
  const TemporaryDirectory disk;
  const std::unique_ptr<CodePages> codePages = NewIconvCodePages("windows-1252");
  const std::unique_ptr<Profile> profile = NewProfileFiles(PathMap(), *codePages);
};

class ProfileContract : public testing::TestWithParam<bool> {
 protected:
  std::string Read(const char* key, const std::string& file) {
    return test_->Get().GetPrivateProfileStringA("S", key, "none", 100, file);
  }
  void Write(const char* key, const char* value, const std::string& file) {
    EXPECT_NE(test_->Get().WritePrivateProfileStringA("S", key, value, file), 0);
  }
  const std::unique_ptr<ProfileUnderTest> test_ =
      GetParam() ? std::unique_ptr<ProfileUnderTest>(std::make_unique<OnDisk>())
                 : std::make_unique<InMemory>();
};

TEST_P(ProfileContract, ASectionListsItsKeysInTheirOrder) {
  Profile& profile = test_->Get();
  Write("c d", "\"x \"", test_->file);
  profile.WritePrivateProfileStringA("T", "a", "2", test_->file);
  const auto keys = profile.GetPrivateProfileSectionA("s", test_->file);
  ASSERT_EQ(keys.size(), 3U);
  EXPECT_EQ(keys[1], std::pair(std::string("b"), std::string("1")));
  EXPECT_EQ(keys[2].first, "c d");
  EXPECT_TRUE(profile.GetPrivateProfileSectionA("U", test_->file).empty());
  EXPECT_TRUE(profile.GetPrivateProfileSectionA("S", test_->other).empty());
}

TEST_P(ProfileContract, KeysThatAreWrittenTogetherComeTogetherOrNotAtAll) {
  Profile& profile = test_->Get();
  const auto writeTwo = [&] {
    for (const char* key : {"a", "b"}) Write(key, "2", test_->file);
    EXPECT_EQ(Read("b", test_->file), "2");
  };
  EXPECT_THROW(profile.Together(test_->file, [&] { writeTwo(), throw std::runtime_error(""); }),
               std::runtime_error);
  EXPECT_EQ(Read("a", test_->file) + Read("b", test_->file), "11");
  EXPECT_FALSE(profile.Together(test_->file, [&] { writeTwo(), Write("c", "3", test_->other); }));
  EXPECT_EQ(Read("a", test_->file) + Read("b", test_->file), "22");
  EXPECT_EQ(Read("c", test_->other), "3");
  EXPECT_TRUE(profile.Together(test_->unreadable, [] { ADD_FAILURE() << "nothing is read"; }));
  EXPECT_TRUE(profile.Together(test_->unwritable, [&] { Write("a", "2", test_->unwritable); }));
  EXPECT_EQ(Read("a", test_->unwritable), "none");
}

INSTANTIATE_TEST_SUITE_P(Profiles, ProfileContract, testing::Bool(),
                         [](const auto& test) { return test.param ? "OnDisk" : "InMemory"; });

TEST(ProfileFiles, WritesWhatWasWrittenTogetherAtTheEndAndLeavesTheRest) {
  OnDisk test;
  EXPECT_FALSE(test.profile->Together(test.file, [&] {
    for (const char* key : {"b", "new", "a"})
      test.profile->WritePrivateProfileStringA("S", key, "2", test.file);
    EXPECT_EQ(test.disk.Read("a.ini"), "; kept\n[S]\na=1\nelse\nb=1\n");
  }));
  EXPECT_EQ(test.disk.Read("a.ini"), "; kept\n[S]\na=2\nelse\nb=2\nnew=2\n");
}

}  // namespace
}  // namespace torvik
