#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/linux/system/ReplaceFile.h"

namespace torvik {

/// Puts the files of one directory in place as they come: each is brought to disk first, several at
/// a time and while the next ones are written, and they appear in the order in which they were
/// taken. When one fails, the ones before it stay and the ones behind it are not put in place.
/// Where no thread can be made, each is put in place before the next one is taken.
class Arrivals {
 public:
  /// Of which file, and why.
  struct Failure {
    std::string path;
    std::error_code error;
    explicit operator bool() const { return static_cast<bool>(error); }
  };

  Arrivals() = default;
  /// Waits like Finish, whose answer is then lost.
  ~Arrivals();
  Arrivals(const Arrivals&) = delete;
  Arrivals& operator=(const Arrivals&) = delete;

  /// Takes a file that is written to its end. Waits when many are on their way. Answers the failure
  /// that there has been so far; the file's own one may come later.
  Failure Take(FileReplacement file);

  /// Waits until all are in place and their names on disk. Answers the failure, and forgets it.
  Failure Finish();

 private:
  struct Arrival {
    FileReplacement file;
    bool isBegun = false, isSynced = false;
    std::error_code error = {};
  };

  void AddWorker();
  void Work();
  void SyncOne(std::unique_lock<std::mutex>& lock, Arrival& arrival);
  void PutInPlace();
  Arrival* NextToSync();

  std::mutex mutex_;
  std::condition_variable hasCome_;  ///< Wakes one worker for each file: waking costs.
  std::condition_variable hasGone_;  ///< Wakes who takes.
  std::deque<Arrival> arrivals_;     ///< In their order.
  std::vector<std::thread> workers_;
  std::string last_;  ///< Put in place since the last Finish.
  Failure failure_;
  bool isEnding_ = false;
};

}  // namespace torvik
