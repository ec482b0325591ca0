#pragma once

#include <memory>

#include "platform/Profile.h"
#include "platform/linux/system/PathMap.h"

namespace torvik {

class CodePages;

/// Initialisation files on disk, in the code page that `codePages` calls the system's; it must
/// outlive them. A change is written beside the file and renamed over it. A value, section or key
/// that holds CR, LF or NUL cannot be written.
std::unique_ptr<Profile> NewProfileFiles(const PathMap& paths, const CodePages& codePages);

}  // namespace torvik
