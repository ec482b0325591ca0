#pragma once

#include <memory>

#include "platform/Ping.h"

namespace torvik {

/// Over HTTP, by libcurl; a proxy as the environment says (https_proxy, no_proxy).
std::unique_ptr<Pinger> NewPingCurl();

}  // namespace torvik
