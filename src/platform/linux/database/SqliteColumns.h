#pragma once

#include <string>
#include <string_view>

#include "platform/Ado.h"

namespace torvik {

/// What a column takes, by the type that its table declares: "VARCHAR(40)", "decimal(10, 2)". A
/// type that is none of the server's is text of any length.
ado::Column ColumnOfType(std::string_view declaredType);

/// The type by which a table declares such a column; ColumnOfType() reads it back alike.
std::string SqliteTypeOf(const ado::Column& column);

}  // namespace torvik
