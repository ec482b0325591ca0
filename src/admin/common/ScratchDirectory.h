#pragma once

#include <string>

namespace torvik {
class Files;
}

namespace torvik::admin {

/// A directory for temporary files that nobody else can have prepared: for the user alone, of a
/// name that was free. Removed at the end, with what is in it.
class ScratchDirectory {
 public:
  /// Throws PlatformError when it cannot be made.
  explicit ScratchDirectory(Files& files);
  ~ScratchDirectory();
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  std::string PathOf(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

}  // namespace torvik::admin
