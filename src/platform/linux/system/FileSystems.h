#pragma once

#include <string>

namespace torvik {

/// The nearest place on the way up that is there.
std::string PlaceThere(const std::string& path);

/// The kind of the file system that a path lies on, or will lie on, when other machines may have it
/// too ("NFS", "CIFS", "Lustre"; by statfs(2)); empty for a disk of this machine.
std::string NetworkFileSystemOf(const std::string& path);

}  // namespace torvik
