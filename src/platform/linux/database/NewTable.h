#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "platform/Ado.h"

namespace torvik {

/// How a server writes the columns of a new table.
struct TableWriter {
  ado::SqlKind server;
  std::function<std::string(const std::string&)> quoted;  ///< A column's name.
  /// The type that a column's kind has on the server.
  std::function<std::string(const ado::Column&)> typeOfKind;
};

/// What stands between the brackets of CREATE TABLE.
struct NewTable {
  std::string columns;
  std::vector<std::string> losses;  ///< What of the columns it does not keep: "column a: ...".
};

/// Columns with types, NOT NULL, defaults and numbering as far as the server has them, and the key.
NewTable WriteTable(const TableWriter& writer, std::span<const ado::Column> columns);

}  // namespace torvik
