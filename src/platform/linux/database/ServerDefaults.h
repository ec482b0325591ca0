#pragma once

#include <optional>
#include <string>

#include "platform/Ado.h"

namespace torvik {

/// A column's default in the SQL of `server`: a number, a text, a truth value, the time or a new
/// identifier; on the same kind of server, whatever it is. Nothing when it has none or when it is
/// anything else.
std::optional<std::string> DefaultFor(ado::SqlKind server, const ado::Column& column);

/// True when the server draws the column's numbers by itself, as an identity or from a sequence.
bool NumbersRows(const ado::Column& column);

}  // namespace torvik
