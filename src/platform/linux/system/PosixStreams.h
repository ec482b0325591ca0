#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <system_error>

#include "platform/Files.h"
#include "platform/linux/system/Posix.h"

namespace torvik {

/// Reads an open file from where it stands.
std::unique_ptr<FileReader> NewPosixReader(Descriptor file);

/// Writes beside the file at the Linux path and renames on Commit; what exists and is not a plain
/// file is written to directly. `append` begins with a copy of the old bytes. Null and `error` set
/// when that cannot be done.
std::unique_ptr<FileWriter> NewPosixWriter(const std::string& path, bool append, mode_t newFileMode,
                                           std::error_code& error);

}  // namespace torvik
