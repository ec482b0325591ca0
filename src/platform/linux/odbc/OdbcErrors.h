#pragma once

#include <string>
#include <vector>

#include "platform/Ado.h"
#include "platform/linux/text/ErrorText.h"

namespace torvik {

/// One of the things that a driver says about a call.
struct OdbcDiagnostic {
  ado::ProviderError error;  ///< The text is one line that ends in the SQLSTATE.
  std::string state;         ///< SQLSTATE, five characters.
  long row = 0;              ///< Of an array, from 1; not above 0: the driver does not say.
};

/// What the driver says about the last call on a handle (SQLGetDiagRec), in its order.
/// `handleType` is SQL_HANDLE_DBC, SQL_HANDLE_STMT, ...
std::vector<OdbcDiagnostic> OdbcDiagnostics(short handleType, void* handle);

/// One that repeats the one before it is left out.
std::vector<ado::ProviderError> ErrorsOf(const std::vector<OdbcDiagnostic>& diagnostics);

/// True when the same call may succeed a little later: the first error, from which the others
/// follow, is a lost connection, a time-out, a lock or a deadlock.
bool IsTransient(const std::vector<OdbcDiagnostic>& diagnostics);

/// True when a row that was to be stored is at fault, and not the table, the statement, the rights,
/// the transaction or the connection.
bool IsRefusal(const OdbcDiagnostic& diagnostic);

}  // namespace torvik
