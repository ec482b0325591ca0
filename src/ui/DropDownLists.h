#pragma once

#include <cstdint>
#include <string>

namespace torvik {

namespace ado {
class Connection;
class Provider;
}  // namespace ado
struct ComboBox;
class DropDown;
class Messages;
struct ServerLogon;

/// Chooses the entry that equals the text, letter case aside; without one the text itself is shown.
void Select(ComboBox& box, const std::string& text);

/// Lists what a server has in a drop-down list, by `list` (ListSQLDatabases or ListOracleSchemas).
/// When the server cannot be reached, or not asked, a message box of that title says why and the
/// answer is false; a list that has broken off shows nothing then.
bool FillFromServer(ado::Provider& databases, Messages& messages, std::int32_t etlType,
                    const ServerLogon& logon, DropDown& box, const std::string& title,
                    void (*list)(ado::Connection& connection, DropDown& box));

}  // namespace torvik
