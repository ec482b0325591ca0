#pragma once

#include <string>

#include "platform/Ado.h"

namespace torvik {

/// A type for the column of a new table, as its server spells it.
struct ServerType {
  std::string name;  ///< Empty: the type that the column's kind has there.
  std::string loss;  ///< What of the column's own type it does not keep; empty: it keeps all.
};

/// The type of SQL Server, PostgreSQL or an embedded server, by name, that a column of one of them
/// has on another. The same server's is the column's own.
ServerType TypeByName(ado::SqlKind server, const ado::Column& column);

/// What is lost when a column that has no type by name gets `type`.
std::string LossOfKind(const ado::Column& column, const std::string& type);

}  // namespace torvik
