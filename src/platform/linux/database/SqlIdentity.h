#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace torvik {

/// How a column numbers the rows of its table.
struct SqlIdentity {
  std::int64_t seed = 1, increment = 1;
};

/// SQL text in which the columns that SQL Server's CREATE TABLE declares as IDENTITY number the
/// rows of an SQLite table: "id int IDENTITY(1,1)" becomes "id INTEGER PRIMARY KEY", for only the
/// key numbers rows there; another key becomes UNIQUE. What was declared stays as a comment, and
/// everything else as it is. Throws PlatformError for a seed below 1 and for an increment other
/// than 1.
std::string ResolveIdentity(std::string_view sql);

/// What was declared, by the text that ResolveIdentity made of a CREATE TABLE.
std::optional<SqlIdentity> IdentityIn(std::string_view create);

}  // namespace torvik
