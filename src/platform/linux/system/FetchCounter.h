#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "platform/FetchProgress.h"

namespace torvik {

/// Counts what is fetched of a directory, and tells an observer, which may be empty, now and then.
class FetchCounter {
 public:
  explicit FetchCounter(FetchObserver observer) : observer_(std::move(observer)) {}

  void BeginDirectory();
  void BeginFile(std::string_view name);
  /// Takes back the bytes of the file that was begun last.
  void BeginFileAgain();
  void Add(std::size_t bytes);
  void EndFile();
  void EndDirectory();

 private:
  void TellNowAndThen();
  void Tell();

  FetchObserver observer_;
  std::string file_;
  FetchProgress progress_;
  std::int64_t before_ = 0;  ///< The bytes of the files before this one.
  std::chrono::steady_clock::time_point lastTold_;
};

}  // namespace torvik
