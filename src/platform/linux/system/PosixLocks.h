#pragma once

#include <memory>

#include "platform/Locks.h"
#include "platform/linux/system/PathMap.h"

namespace torvik {

/// A file is locked by flock(2); a name by a socket of the abstract namespace, which leaves nothing
/// behind and holds where the file is replaced or missing.
std::unique_ptr<Locks> NewPosixLocks(const PathMap& paths);

}  // namespace torvik
