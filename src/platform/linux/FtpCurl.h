#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/CodePage.h"
#include "platform/WinInet.h"
#include "platform/linux/PathMap.h"
#include "platform/linux/Settings.h"

namespace torvik {

/// What is called about ten times a second while the server is waited for. Either may be empty.
struct FtpWaiting {
  std::function<void()> pumpEvents = {};
  std::function<void(std::int64_t bytes)> progress = {};  ///< Of the file that is under way.
};

/// The FTP client, by libcurl. Names go to the server and come from it in the code page `ansi`,
/// which must live as long; one that it lacks is refused, like one with control characters.
/// Connections cannot be made (InternetOpenA fails) in a build without libcurl.
std::unique_ptr<wininet::Client> NewFtpCurl(const FtpSettings& settings, const PathMap& paths,
                                            const CodePage& ansi, FtpWaiting waiting = {});

}  // namespace torvik
