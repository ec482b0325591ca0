#pragma once

#include <string>

namespace torvik {

/// Which directory or link on the way to a Linux path, itself included, belongs to an ordinary user
/// who is not that of this process: "/tmp/a belongs to the user anna"; empty when there is none.
/// The way begins behind `trusted`, a directory that the path may begin with.
std::string ForeignOwner(const std::string& path, const std::string& trusted);

}  // namespace torvik
