#pragma once

#include <memory>

#include "platform/CodePage.h"
#include "platform/FetchProgress.h"
#include "platform/Shell.h"
#include "platform/linux/Settings.h"

namespace torvik {

/// The shell's work on every kind of path: a share that the settings map to no directory is reached
/// over SMB, everything else is a directory of this system. Files are copied to directories of this
/// system only; `onFetch` is called meanwhile.
std::unique_ptr<Shell> NewShellByPath(const Settings& settings, const CodePages& codePages,
                                      FetchObserver onFetch = {});

}  // namespace torvik
