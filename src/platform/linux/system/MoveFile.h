#pragma once

#include <string>
#include <system_error>

namespace torvik {

/// Makes `to` a copy of the plain file `from`, of its mode and times: written beside it, brought to
/// disk and renamed. Unless `overwrite` is set, a `to` that exists stays, and the error is
/// file_exists. Both are Linux paths. A failure leaves nothing beside `to`.
std::error_code CopyWholeFile(const std::string& from, const std::string& to, bool overwrite);

/// The same by renaming where that can be done, else by copying and removing. A symbolic link is
/// copied as what it leads to, and the link is removed.
std::error_code MoveFile(const std::string& from, const std::string& to, bool overwrite);

}  // namespace torvik
