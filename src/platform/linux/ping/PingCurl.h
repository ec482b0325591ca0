#pragma once

#include <memory>

#include "platform/Ping.h"

namespace torvik {

class PathMap;

/// Over HTTP, by libcurl; a proxy as the environment says (https_proxy, no_proxy).
std::unique_ptr<Pinger> NewPingCurl(const PathMap& paths);

}  // namespace torvik
