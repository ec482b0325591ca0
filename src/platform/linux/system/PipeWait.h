#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/linux/system/Posix.h"

namespace torvik {

/// When a wait for the other end of a pipe is given up: as soon as nobody wants it any more, or
/// when it takes too long. Without either it takes as long as it takes.
struct Patience {
  const std::atomic<bool>* cancelled = nullptr;
  std::optional<std::chrono::milliseconds> atMost = {};

  /// For a line or a word, which a reader takes at once when there is one: he may be between two.
  static Patience ForAWord() { return {.atMost = std::chrono::seconds(2)}; }
};

/// Waits until an open pipe or device has something to read (POLLIN) or takes something (POLLOUT),
/// or has lost its other end. The error is operation_canceled or timed_out when the wait is given
/// up.
std::error_code WaitForPipe(int descriptor, short events, const Patience& patience);

/// Opens a file to write to it; a pipe that nobody reads is waited for.
Descriptor OpenToWrite(const std::string& path, int flags, mode_t mode, const Patience& patience,
                       std::error_code& error);

/// Writes all of `bytes` to what OpenToWrite has opened.
std::error_code WritePatiently(int descriptor, std::string_view bytes, const Patience& patience);

}  // namespace torvik
