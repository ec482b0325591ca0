#pragma once

#include <memory>
#include <string>

#include "platform/CodePage.h"
#include "platform/FetchProgress.h"
#include "platform/Shell.h"
#include "platform/linux/settings/Settings.h"

namespace torvik {

/// The shell's work on every kind of path: a share that `paths` leads to no directory is reached
/// over SMB, as the settings say; everything else is a directory of this system, and so is where
/// files are copied to. `readerProgram` is torvik-admin, by which many small files of a share come
/// faster; it may be empty. `onFetch` is called while files are copied.
std::unique_ptr<Shell> NewShellByPath(const Settings& settings, const PathMap& paths,
                                      const CodePages& codePages,
                                      const std::string& readerProgram = {},
                                      const FetchObserver& onFetch = {});

}  // namespace torvik
