#pragma once

#include <memory>

#include "platform/CodePage.h"
#include "platform/FetchProgress.h"
#include "platform/Shell.h"
#include "platform/linux/settings/Settings.h"

namespace torvik {

/// The shell's work on every kind of path: a share that `paths` leads to no directory is reached
/// over SMB, as the settings say; everything else is a directory of this system, and so is where
/// files are copied to. `onFetch` is called meanwhile.
std::unique_ptr<Shell> NewShellByPath(const Settings& settings, const PathMap& paths,
                                      const CodePages& codePages, FetchObserver onFetch = {});

}  // namespace torvik
