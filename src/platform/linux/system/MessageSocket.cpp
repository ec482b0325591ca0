#include "platform/linux/system/MessageSocket.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>

namespace torvik {

std::pair<MessageSocket, MessageSocket> MessageSocket::Pair() {
  int ends[] = {-1, -1};
  socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends);
  return {MessageSocket(Descriptor(ends[0])), MessageSocket(Descriptor(ends[1]))};
}

MessageSocket::MessageSocket(Descriptor socket)
    : socket_(std::move(socket)),
      message_(std::make_unique_for_overwrite<char[]>(kLongestMessage)) {}

bool MessageSocket::Send(std::string_view message) const {
  if (message.empty() || message.size() > kLongestMessage) return false;
  ssize_t sent = 0;
  do sent = send(socket_.Number(), message.data(), message.size(), MSG_NOSIGNAL);
  while (sent < 0 && errno == EINTR);
  return sent == static_cast<ssize_t>(message.size());
}

std::string_view MessageSocket::Receive(int timeoutMilliseconds) {
  pollfd waiting{socket_.Number(), POLLIN, 0};
  ssize_t got = 0;
  do {
    const int ready = poll(&waiting, 1, timeoutMilliseconds);
    if (ready == 0) return {};
    got = ready < 0 ? ready : recv(socket_.Number(), message_.get(), kLongestMessage, 0);
  } while (got < 0 && errno == EINTR);
  return {message_.get(), got > 0 ? static_cast<std::size_t>(got) : 0};
}

}  // namespace torvik
