#include "platform/linux/system/PipeWait.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <thread>

namespace torvik {
namespace {

using Steady = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kPipeSlice(20);

class PipeWaiting {
 public:
  explicit PipeWaiting(const Patience& patience) : patience_(patience) {}

  std::error_code GivenUp() const {
    if (patience_.cancelled != nullptr && *patience_.cancelled)
      return std::make_error_code(std::errc::operation_canceled);
    if (patience_.atMost && Steady::now() - begin_ >= *patience_.atMost)
      return std::make_error_code(std::errc::timed_out);
    return {};
  }

 private:
  const Patience& patience_;
  const Steady::time_point begin_ = Steady::now();
};

bool IsPlainOrNew(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode);
}

}  // namespace

std::error_code WaitForPipe(int descriptor, short events, const Patience& patience) {
  const PipeWaiting wait(patience);
  for (;;) {
    pollfd wanted{descriptor, events, 0};
    const int ready = poll(&wanted, 1, static_cast<int>(kPipeSlice.count()));
    if (ready > 0) return {};
    if (ready < 0 && errno != EINTR) return LastSystemError();
    if (const auto error = wait.GivenUp()) return error;
  }
}

Descriptor OpenToWrite(const std::string& path, int flags, mode_t mode, const Patience& patience,
                       std::error_code& error) {
  const PipeWaiting wait(patience);
  const int more = IsPlainOrNew(path) ? 0 : O_NONBLOCK;
  for (;;) {
    Descriptor file = OpenFile(path, flags | more, mode);
    if (file.IsOpen()) return file;
    error = LastSystemError();
    // This is a pipe without a reader.
    if (error != std::errc::no_such_device_or_address || more == 0) return file;
    if (wait.GivenUp()) {
      if (patience.cancelled != nullptr && *patience.cancelled) error = wait.GivenUp();
      return file;
    }
    error.clear();
    std::this_thread::sleep_for(kPipeSlice);
  }
}

std::error_code WritePatiently(int descriptor, std::string_view bytes, const Patience& patience) {
  while (!bytes.empty()) {
    const ssize_t written = write(descriptor, bytes.data(), bytes.size());
    if (written >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
      continue;
    }
    if (errno == EINTR) continue;
    if (errno != EAGAIN) return LastSystemError();
    if (const auto error = WaitForPipe(descriptor, POLLOUT, patience)) return error;
  }
  return {};
}

}  // namespace torvik
