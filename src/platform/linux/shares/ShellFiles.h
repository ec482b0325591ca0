#pragma once

#include <string>
#include <system_error>

#include "platform/CodePage.h"
#include "platform/Shell.h"

namespace torvik {

/// The first line of a file that begins with `bytes`; an empty file has none.
ShareResult FirstLineOf(const std::string& path, const std::string& bytes, const CodePage& ansi,
                        std::string& line);

/// The directory of "DIRECTORY\*.*".
std::string DirectoryOfAllFiles(const std::string& from);

/// True for the errors of a path that leads to nothing.
bool IsMissing(const std::error_code& error);

/// A missing file is told apart from a missing directory, and both from everything else.
ShareError ShareErrorOf(const std::error_code& error, bool hasDirectory);

/// The number of a failed file operation.
int NumberOf(const std::error_code& error);

}  // namespace torvik
