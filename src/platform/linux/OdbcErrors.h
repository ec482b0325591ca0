#pragma once

#include <string>
#include <vector>

#include "platform/Ado.h"

namespace torvik {

/// What the driver says about the last call on a handle (SQLGetDiagRec), in its order. Each text is
/// one line that ends in the SQLSTATE. `handleType` is SQL_HANDLE_DBC, SQL_HANDLE_STMT, ...
std::vector<ado::ProviderError> OdbcErrors(short handleType, void* handle);

/// The errors' texts in one line.
std::string InOneLine(const std::vector<ado::ProviderError>& errors);

}  // namespace torvik
