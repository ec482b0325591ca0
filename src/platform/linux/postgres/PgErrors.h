#pragma once

#include <string>
#include <string_view>

#include "platform/linux/postgres/PgResult.h"

namespace torvik {

/// What a server says about a statement that failed.
struct PgError {
  std::string state;    ///< The SQLSTATE; empty when the error is the library's own.
  std::string text;     ///< One line: the message, its detail and hint, the SQLSTATE.
  std::string context;  ///< Where it happened, in lines.
  int position = 0;     ///< Of the fault in the statement, in characters from 1; 0: not known.

  /// True when the same statement may succeed later.
  bool IsTransient() const;
  /// True when the fault lies in the rows that a statement was to store.
  bool IsOfARow() const;
};

/// That of a failed result.
PgError ErrorOfResult(const PGresult* result);

}  // namespace torvik
