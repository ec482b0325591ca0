#pragma once

#include <string>

namespace torvik::engine {

/// A random identifier as SQL Server spells it.
std::string NewIdentifier();

}  // namespace torvik::engine
