#pragma once

#include <string>
#include <vector>

namespace torvik {

/// The names of the computers that answer when the network is asked who offers shares, in order. It
/// may take many seconds, and asks as a guest, in the old way too (SMB 1), which is why no other
/// session may be in the same process. Throws PlatformError when the library cannot be used.
std::vector<std::string> BrowseSmbComputers();

}  // namespace torvik
