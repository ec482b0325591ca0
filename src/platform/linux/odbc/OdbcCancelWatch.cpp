#include "platform/linux/odbc/OdbcCancelWatch.h"

#include <sys/socket.h>

#include <chrono>

namespace torvik {
namespace {

constexpr std::chrono::seconds kGrace(3);

}  // namespace

void OdbcCancelWatch::Begin(int socket) {
  if (thread_.joinable()) return;
  isAnswered_ = false;
  thread_ = std::thread([this, socket] {
    std::unique_lock lock(guard_);
    if (change_.wait_for(lock, kGrace, [this] { return isAnswered_; })) return;
    hasClosed_ = true;
    shutdown(socket, SHUT_RDWR);  // the driver still has the number, and finds its end
  });
}

void OdbcCancelWatch::End() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock(guard_);
    isAnswered_ = true;
  }
  change_.notify_all();
  thread_.join();
}

}  // namespace torvik
