#pragma once

#include <string>
#include <vector>

namespace torvik {

/// The names of the user's and the system's ODBC data sources; none in a build without unixODBC.
std::vector<std::string> OdbcDataSources();

}  // namespace torvik
