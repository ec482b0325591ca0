#pragma once

#include <string>
#include <system_error>
#include <vector>

namespace torvik {

/// The names in a directory, but for "." and "..", in the order in which the system returns them.
/// The standard library's iterator ends the process when memory runs out; this throws bad_alloc.
std::vector<std::string> DirectoryEntries(const std::string& directory, std::error_code& error);

}  // namespace torvik
