#pragma once

#include <string>
#include <string_view>

namespace torvik {

/// SQL text in which the columns that SQL Server's CREATE TABLE declares as IDENTITY number the
/// rows of an SQLite table: "id int IDENTITY(1,1)" becomes "id INTEGER", and the table's key where
/// it has none. Everything else stays as it is, and so does a table that has another key.
std::string ResolveIdentity(std::string_view sql);

}  // namespace torvik
