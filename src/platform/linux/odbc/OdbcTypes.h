#pragma once

#include <string>

#include "platform/Ado.h"
#include "platform/linux/odbc/OdbcDialect.h"

namespace torvik {

/// The server's type that comes closest to a column's kind and sizes. Servers limit the length of
/// texts in a key.
std::string OdbcTypeOf(OdbcServer server, const ado::Column& column);

}  // namespace torvik
