#pragma once

#include <string>

namespace torvik {

/// Why no connection can be made to a TCP port, in words; empty when one can. Waits at most that
/// long for each of the server's addresses, the look-up of its name aside.
std::string WhyUnreachable(const std::string& server, int port, int timeoutSeconds);

}  // namespace torvik
