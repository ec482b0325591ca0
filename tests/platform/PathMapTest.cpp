#include "platform/linux/PathMap.h"

#include <gtest/gtest.h>

namespace torvik {
namespace {

TEST(PathMap, LeadsFromEitherSpellingToALinuxPath) {
  const PathMap paths({{"c", "/srv/c"}}, {{"\\\\files\\incoming", "/mnt/in"}}, "/proc/none");
  const struct {
    const char *path, *linuxPath;
  } cases[] = {
      {"", ""},
      {"jobs\\a b.etl", "jobs/a b.etl"},
      {"/var\\log/x", "/var/log/x"},
      {"//files/incoming/x", "//files/incoming/x"},
      {"\\tmp\\x", "/tmp/x"},
      {"C:\\Logs\\Err.txt", "/srv/c/Logs/Err.txt"},
      {"c:/Logs\\", "/srv/c/Logs/"},
      {"C:err.txt", "/srv/c/err.txt"},
      {"C:", "/srv/c"},
      {"D:\\x", "/proc/none/d/x"},
      {"1:\\x", "1:/x"},
      {"CD:\\x", "CD:/x"},
      {"\\\\FILES\\Incoming\\Sub\\X.csv", "/mnt/in/Sub/X.csv"},
      {"\\\\files/incoming", "/mnt/in"},
      {"\\\\files\\incoming\\", "/mnt/in/"},
  };
  for (const auto& c : cases) {
    std::error_code error = std::make_error_code(std::errc::io_error);
    EXPECT_EQ(paths.ToLinux(c.path, error), c.linuxPath) << c.path;
    EXPECT_FALSE(error) << c.path << ": " << error.message();
  }
}

TEST(PathMap, NamesWhatIsNotMapped) {
  const PathMap paths;
  const PathMap copy = paths;
  const struct {
    std::string path, message;
  } cases[] = {
      {"\\\\Srv\\Out\\x",
       "no directory is mapped for the share \\\\Srv\\Out; add it to [paths] of "
       "torvik.conf"},
      {"\\\\Srv", "no directory is mapped for the share \\\\Srv; add it to [paths] of torvik.conf"},
      {"X:\\a", "no directory is mapped for the drive X:; add it to [paths] of torvik.conf"},
      {std::string("a\0b", 3), "Invalid argument"},
  };
  std::vector<std::error_code> errors;
  for (const auto& c : cases) {
    errors.emplace_back();
    EXPECT_EQ(copy.ToLinux(c.path, errors.back()), "") << c.path;
  }
  for (std::size_t i = 0; i < errors.size(); ++i) {
    EXPECT_EQ(errors[i].message(), cases[i].message) << cases[i].path;
  }
}

}  // namespace
}  // namespace torvik
