#pragma once

#include <memory>

#include "platform/CodePage.h"
#include "platform/FetchProgress.h"
#include "platform/Shell.h"
#include "platform/linux/system/PathMap.h"

namespace torvik {

/// The shell's work on directories; a share is the directory that the settings map for it.
/// `onFetch` is called while files are copied.
std::unique_ptr<Shell> NewPosixShell(const PathMap& paths, const CodePages& codePages,
                                     FetchObserver onFetch = {});

}  // namespace torvik
