#pragma once

#include <memory>
#include <string>

#include "platform/Files.h"
#include "platform/linux/system/PathMap.h"

namespace torvik {

class CodePages;

/// The file system of the machine. `codePages` must outlive it. `temporaryDirectory` is a Linux
/// path; it is made, for the user alone, when it is first asked for and missing. A new file may be
/// read by everyone (0644) less the umask; a copy has the mode of its original.
std::unique_ptr<Files> NewPosixFiles(const PathMap& paths, const CodePages& codePages,
                                     std::string temporaryDirectory);

}  // namespace torvik
