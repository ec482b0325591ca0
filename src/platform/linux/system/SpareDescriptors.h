#pragma once

#include <array>
#include <mutex>
#include <system_error>

#include "platform/linux/system/Posix.h"

namespace torvik {

/// Descriptors that are given up when the process may have no further one, so that a line of the
/// log and the word in a status file are written all the same. They are taken with the first of
/// those: what comes before, like the job file, has all descriptors for itself.
class SpareDescriptors {
 public:
  /// Does it, and when a descriptor was missing, once more with those that were kept.
  template <typename Action>
  std::error_code Try(const Action& action) {
    std::error_code error = action();
    const std::lock_guard lock(mutex_);
    if (error == std::errc::too_many_files_open) {
      for (Descriptor& spare : spares_) spare.Close();
      error = action();
    }
    for (Descriptor& spare : spares_)
      if (!spare.IsOpen()) spare = OpenFile("/dev/null", O_RDONLY);
    return error;
  }

 private:
  std::mutex mutex_;
  std::array<Descriptor, 2> spares_;  // a copy has two ends
};

}  // namespace torvik
