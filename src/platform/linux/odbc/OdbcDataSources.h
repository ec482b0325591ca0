#pragma once

#include <string>
#include <vector>

namespace torvik {

/// The names of the user's and the system's ODBC data sources.
std::vector<std::string> OdbcDataSources();

}  // namespace torvik
