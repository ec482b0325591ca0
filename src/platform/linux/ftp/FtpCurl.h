#pragma once

#include <functional>
#include <memory>

#include "platform/CodePage.h"
#include "platform/FetchProgress.h"
#include "platform/WinInet.h"
#include "platform/linux/settings/Settings.h"
#include "platform/linux/system/PathMap.h"

namespace torvik {

/// The FTP client, by libcurl. Names go to the server and come from it in the code page `ansi`,
/// which must live as long; one that it lacks is refused, like one with control characters.
/// `onWait` is called about ten times a second while the server is waited for, `onFetch` while the
/// files of a listing are downloaded; either may be empty. Connections cannot be made
/// (InternetOpenA fails) in a build without libcurl.
std::unique_ptr<wininet::Client> NewFtpCurl(const FtpSettings& settings, const PathMap& paths,
                                            const CodePage& ansi, std::function<void()> onWait = {},
                                            FetchObserver onFetch = {});

}  // namespace torvik
