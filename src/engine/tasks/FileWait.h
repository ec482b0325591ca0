#pragma once

#include <atomic>
#include <chrono>
#include <string>
#include <vector>

namespace torvik {

class Clock;
class Files;

namespace engine {

/// The plain files that a path leads to, by name: one, or those of a directory when the last part
/// is a pattern. Empty when there is none, or no such directory. Throws, with the path, when that
/// cannot be seen.
std::vector<std::string> FindFiles(Files& files, const std::string& path);

struct FileWanted {
  std::string path;  ///< Its last part may be a pattern: one file is enough.
  /// For so long size and time of every file that is there must have stayed the same.
  std::chrono::seconds settled;
  std::chrono::seconds timeout;
  bool notEmpty;  ///< Every file that is there must have bytes.
};

/// Returns when the file is there. Throws when `timeout` has passed before, and within 0.2 seconds
/// of `cancelled` becoming true.
void WaitForFile(Files& files, Clock& clock, const FileWanted& wanted,
                 const std::atomic<bool>& cancelled);

}  // namespace engine
}  // namespace torvik
