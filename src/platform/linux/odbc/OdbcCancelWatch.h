#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace torvik {

/// The second resort of a cancel: closes the connection's socket under a server that has not
/// answered a while later.
class OdbcCancelWatch {
 public:
  OdbcCancelWatch() = default;
  ~OdbcCancelWatch() { End(); }
  OdbcCancelWatch(const OdbcCancelWatch&) = delete;
  OdbcCancelWatch& operator=(const OdbcCancelWatch&) = delete;

  /// Begins to wait, if it does not yet.
  void Begin(int socket);
  /// The server has answered. Begin and End must not run at once.
  void End();

  /// True when it has closed the socket.
  bool HasClosed() const { return hasClosed_; }

 private:
  std::mutex guard_;
  std::condition_variable change_;
  bool isAnswered_ = false;
  std::atomic<bool> hasClosed_ = false;
  std::thread thread_;
};

}  // namespace torvik
