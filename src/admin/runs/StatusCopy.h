#pragma once

#include <string>

namespace torvik {
class Files;
}

namespace torvik::admin {

/// A file that shows a run's word while the run goes on and after it. It says "running" from here
/// on, so that the word of an earlier run is never taken for this one's.
class StatusCopy {
 public:
  /// An empty path: there is no such file. Throws PlatformError when it cannot be written.
  StatusCopy(Files& files, std::string path);

  /// Leaves the run's last word; without one the file is removed. What fails is warned of.
  void Leave(const std::string& word);

 private:
  Files& files_;
  const std::string path_;
};

}  // namespace torvik::admin
