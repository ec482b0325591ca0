#pragma once

#include <memory>

#include "platform/FileDialogs.h"
#include "platform/ShellBrowser.h"

namespace torvik {

/// Without a display nobody can choose: every dialog is cancelled at once.
std::unique_ptr<ShellBrowser> NewNoShellBrowser();
std::unique_ptr<FileDialogs> NewNoFileDialogs();

}  // namespace torvik
