#pragma once

#include <cstdint>
#include <string>

namespace torvik {

namespace ado {
class Connection;
}
class DropDown;

/// Refills the list with the names of a SQL Server's databases, in their order, and shows again the
/// one that was shown before, as the server spells it; none when it is no longer there. Throws
/// PlatformError when the names cannot be read: with the list as it was when the query failed, else
/// with the names that came and none of them chosen.
void ListSQLDatabases(ado::Connection& connection, DropDown& list);

/// The same with the schemas of an Oracle server.
void ListOracleSchemas(ado::Connection& connection, DropDown& list);

/// The position of the first entry that equals the text as a whole, letter case aside; -1 when none
/// does.
std::int16_t SelectComboEntry(const DropDown& list, const std::string& text);

}  // namespace torvik
