#include "platform/linux/shares/ServerReach.h"

#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <memory>

#include "platform/linux/system/Posix.h"

namespace torvik {
namespace {

std::error_code TryToConnect(const addrinfo& address, int timeoutSeconds) {
  const Descriptor socket(
      ::socket(address.ai_family, address.ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!socket.IsOpen()) return LastSystemError();
  if (connect(socket.Number(), address.ai_addr, address.ai_addrlen) == 0) return {};
  if (errno != EINPROGRESS) return LastSystemError();
  pollfd waiting{socket.Number(), POLLOUT, 0};
  int ready = 0;
  do ready = poll(&waiting, 1, timeoutSeconds * 1000);
  while (ready < 0 && errno == EINTR);
  if (ready < 0) return LastSystemError();
  if (ready == 0) return std::make_error_code(std::errc::timed_out);
  int error = 0;
  socklen_t length = sizeof error;
  getsockopt(socket.Number(), SOL_SOCKET, SO_ERROR, &error, &length);
  return {error, std::generic_category()};
}

}  // namespace

std::string WhyUnreachable(const std::string& server, int port, int timeoutSeconds) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* list = nullptr;
  const int result = getaddrinfo(server.c_str(), std::to_string(port).c_str(), &hints, &list);
  if (result != 0) return gai_strerror(result);
  const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owned(list, &freeaddrinfo);
  std::error_code error;
  for (const addrinfo* address = list; address != nullptr; address = address->ai_next) {
    error = TryToConnect(*address, timeoutSeconds);
    if (!error) return {};
  }
  return error.message();
}

}  // namespace torvik
