#pragma once

#include <string>

#include "platform/Ping.h"

namespace torvik {

/// Where a call goes: "/start" or "/fail" behind the URL's path, its query behind that.
std::string UrlOf(PingKind kind, const std::string& url);

/// Host and port of a URL, for messages: what stands before and behind them may be secret.
std::string HostOf(const std::string& url);

}  // namespace torvik
