#pragma once

#include <string>

#include "platform/linux/system/Posix.h"

namespace torvik {

/// Whether an open file may hold a password: it belongs to the user of this process or to root, and
/// others have no rights to it. Answers the empty text, or what is wrong and what to do.
std::string CheckSecretFile(const Descriptor& file, const std::string& path);

}  // namespace torvik
