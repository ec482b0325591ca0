#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "datalinks/DataWarehouse.h"

namespace torvik {

namespace ado {
class Connection;
class Provider;
}  // namespace ado
struct ComboBox;
class AsideWork;
class DropDown;
class ListedNames;
class Messages;

/// Chooses the entry that equals the text, letter case aside; without one the text itself is shown.
void Select(ComboBox& box, const std::string& text);

/// A server's names for a drop-down list.
struct NamesOfServer {
  std::int32_t etlType;
  std::function<ServerLogon()> logon;  ///< As the form has it.
  /// ListSQLDatabases or ListOracleSchemas.
  void (*list)(ado::Connection& connection, DropDown& names);
  std::string title;  ///< Of the message box that says why there are none.
};

/// Has a server list its names, aside; `names` is for the thread that does so until this returns.
/// False when it cannot be reached, or not asked, which a message box says, and when the form has
/// another logon by now; a list that has broken off names nothing then.
bool ListFromServer(AsideWork& aside, ado::Provider& databases, Messages& messages,
                    const NamesOfServer& server, ListedNames& names);

}  // namespace torvik
