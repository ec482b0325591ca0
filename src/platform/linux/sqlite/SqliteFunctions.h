#pragma once

#include <string>

struct sqlite3;

namespace torvik {

/// The view of a server's databases, with the columns `name` and `dbid`, and the SQL that makes it
/// in the schema temp.
inline constexpr const char* kDatabaseList = "sysdatabases";
inline constexpr const char* kCreateDatabaseList =
    "CREATE TEMP VIEW sysdatabases AS"
    " SELECT value AS name, key + 1 AS dbid FROM json_each(torvik_databases())";

/// Gives a handle the functions that a server's SQL may use, GETDATE() and LEN(text), and the one
/// that the view needs to list the databases of `directory`. That text must outlive the handle.
void AddServerFunctions(sqlite3* handle, const std::string& directory);

}  // namespace torvik
