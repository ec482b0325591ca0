#pragma once

#include <string>

#include "platform/linux/system/Posix.h"

namespace torvik {

/// Makes a file in `directory` for text that will take another one's place, and keeps it locked
/// while it is open: ".torvik-PID-N", whose name goes to `path`. Not open, and errno set, on
/// failure. The first one that a process makes in a directory takes away what processes that are
/// gone have left there.
Descriptor CreateBesideFile(const std::string& directory, mode_t mode, std::string& path);

}  // namespace torvik
