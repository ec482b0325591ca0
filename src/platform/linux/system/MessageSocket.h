#pragma once

#include <memory>
#include <string_view>
#include <utility>

#include "platform/linux/system/Posix.h"

namespace torvik {

/// One end of a connection of two processes of this machine, over which messages come whole.
class MessageSocket {
 public:
  /// Both ends; not open, and errno set, on failure.
  static std::pair<MessageSocket, MessageSocket> Pair();

  explicit MessageSocket(Descriptor socket);

  int Number() const { return socket_.Number(); }
  bool IsOpen() const { return socket_.IsOpen(); }

  /// False when the other end is closed, and for a message that is empty or longer than
  /// kLongestMessage. Waits while many messages lie there unread.
  bool Send(std::string_view message) const;

  /// Waits for a message, but no longer than that, 0 being not at all. It is valid until the next
  /// call; empty when there is none.
  std::string_view Receive(int timeoutMilliseconds);
  /// Without an end to the wait but that of the other side.
  std::string_view Receive() { return Receive(-1); }

  static constexpr std::size_t kLongestMessage = 128 * 1024;

 private:
  Descriptor socket_;
  std::unique_ptr<char[]> message_;
};

}  // namespace torvik
