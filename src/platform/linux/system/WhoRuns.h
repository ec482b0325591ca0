#pragma once

#include <string>

namespace torvik {

/// The machine's name; empty when the system does not tell.
std::string HostName();

/// The name of the user whose rights the process has, else his number.
std::string UserName();

}  // namespace torvik
