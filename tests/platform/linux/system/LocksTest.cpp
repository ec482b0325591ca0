#include "platform/Locks.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "fakes/FakeLocks.h"
#include "fakes/TemporaryDirectory.h"
#include "platform/linux/system/PosixLocks.h"

namespace torvik {
namespace {

using testing::HasSubstr;

class LocksContract : public testing::TestWithParam<const char*> {
 protected:
  LocksContract() { disk_.Write("job.etl", ""); }
  std::unique_ptr<Locks> NewLocks() const {
    if (GetParam() == std::string("Fake")) return std::make_unique<FakeLocks>();
    return NewPosixLocks(PathMap());
  }
  TemporaryDirectory disk_;
};

INSTANTIATE_TEST_SUITE_P(, LocksContract, testing::Values("Fake", "Posix"),
                         [](const auto& tested) { return std::string(tested.param); });

TEST_P(LocksContract, OneHoldsALockUntilHeGivesItBack) {
  const auto locks = NewLocks();
  for (const bool isName : {false, true}) {
    const std::string path = disk_.PathOf("job.etl");
    const auto take = [&] { return isName ? locks->LockName(path) : locks->LockFile(path); };
    LockAnswer first = take();
    ASSERT_TRUE(first.lock) << first.error.message();
    EXPECT_FALSE(take().lock);
    EXPECT_NE(take().holder, "");
    EXPECT_FALSE(take().error);
    first.lock.reset();
    EXPECT_TRUE(take().lock);
  }
}

TEST(PosixLocks, TheHolderIsNamedADirectoryLockedAndWhatIsMissingSaysSo) {
  const TemporaryDirectory disk;
  const auto locks = NewPosixLocks(PathMap());
  const LockAnswer held = locks->LockFile(disk.Path());
  ASSERT_TRUE(held.lock);
  EXPECT_THAT(locks->LockFile(disk.Path() + "/").holder,
              HasSubstr("process " + std::to_string(getpid()) + " (platform_tests), which runs"));
  EXPECT_EQ(locks->LockFile(disk.PathOf("none")).error, std::errc::no_such_file_or_directory);
  EXPECT_EQ(locks->LockName(disk.PathOf("none/s")).error, std::errc::no_such_file_or_directory);
  EXPECT_TRUE(locks->LockName(disk.PathOf("none")).lock) << "a name needs no file";
  const LockAnswer device = locks->LockName("/dev/null");
  EXPECT_TRUE(device.lock && locks->LockName("/dev/null").lock) << "nobody has a device";
}

TEST(PosixLocks, ALinkToADirectoryLeadsToTheSameName) {
  const TemporaryDirectory disk;
  disk.Write("real/s.txt", "");
  std::filesystem::create_symlink("real", disk.PathOf("link"));
  const auto locks = NewPosixLocks(PathMap());
  const LockAnswer held = locks->LockName(disk.PathOf("real/s.txt"));
  EXPECT_FALSE(locks->LockName(disk.PathOf("link/s.txt")).lock);
  EXPECT_TRUE(locks->LockName(disk.PathOf("link/t.txt")).lock);
}

TEST(PosixLocks, AKilledProcessHoldsNothing) {
  const TemporaryDirectory disk;
  disk.Write("job.etl", "");
  const std::string path = disk.PathOf("job.etl");
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t child = fork();
  if (child == 0) {
    const auto locks = NewPosixLocks(PathMap());
    const LockAnswer file = locks->LockFile(path), name = locks->LockName(path);
    const char isHeld = file.lock && name.lock ? 'y' : 'n';
    if (write(ready[1], &isHeld, 1) == 1) pause();
    _exit(1);
  }
  char isHeld = 'n';
  EXPECT_EQ(read(ready[0], &isHeld, 1), 1);
  EXPECT_EQ(isHeld, 'y');
  const auto locks = NewPosixLocks(PathMap());
  EXPECT_THAT(locks->LockFile(path).holder, HasSubstr("process " + std::to_string(child)));
  EXPECT_FALSE(locks->LockName(path).lock);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_TRUE(locks->LockFile(path).lock);
  EXPECT_TRUE(locks->LockName(path).lock);
  close(ready[0]), close(ready[1]);
}

}  // namespace
}  // namespace torvik
