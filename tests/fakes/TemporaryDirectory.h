#pragma once

#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace torvik {

/// A directory of its own for a test, removed afterwards; with plain reads and writes of its files.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    path_ = (std::filesystem::temp_directory_path() / "torvik-test-XXXXXX").string();
    if (mkdtemp(path_.data()) == nullptr) std::abort();
  }
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::string& Path() const { return path_; }
  std::string PathOf(const std::string& name) const { return path_ + "/" + name; }

  void Write(const std::string& name, const std::string& bytes) const {
    std::filesystem::create_directories(std::filesystem::path(PathOf(name)).parent_path());
    std::ofstream(PathOf(name), std::ios::binary) << bytes;
  }

  std::string Read(const std::string& name) const {
    std::ifstream file(PathOf(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  int ModeOf(const std::string& name) const {
    struct stat status {};
    return stat(PathOf(name).c_str(), &status) == 0 ? status.st_mode & 07777 : -1;
  }

  void SetMode(const std::string& name, int mode) const {
    std::filesystem::permissions(PathOf(name), static_cast<std::filesystem::perms>(mode));
  }

  /// How many entries the directory itself has.
  std::ptrdiff_t Entries() const {
    return std::distance(std::filesystem::directory_iterator(path_), {});
  }

 private:
  std::string path_;
};

}  // namespace torvik
