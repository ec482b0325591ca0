#pragma once

#include <memory>
#include <string>

#include "platform/CodePage.h"
#include "platform/FetchProgress.h"
#include "platform/Shell.h"
#include "platform/linux/settings/Settings.h"
#include "platform/linux/system/PathMap.h"

namespace torvik {

/// The shell's work on shares over SMB. Every path is "\\server\share\..." but the directory that
/// files are copied to, which `paths` leads to. `readerProgram` is torvik-admin, by which many
/// small files come faster; it may be empty. `onFetch` is called while files are copied.
std::unique_ptr<Shell> NewSmbShell(const Settings& settings, const PathMap& paths,
                                   const CodePages& codePages,
                                   const std::string& readerProgram = {},
                                   FetchObserver onFetch = {});

}  // namespace torvik
