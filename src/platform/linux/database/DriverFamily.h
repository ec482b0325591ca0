#pragma once

#include <string>

namespace torvik {

/// The drivers whose keywords or servers differ from what ODBC defines.
enum class DriverFamily { FreeTds, MicrosoftSqlServer, PostgreSql, Oracle, Other };

/// By the name or the library of a driver.
DriverFamily FamilyOf(const std::string& driver);

}  // namespace torvik
