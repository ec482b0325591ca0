#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/Bulk.h"

namespace torvik::engine {

struct TransformedRow;

/// What becomes of a row: DTSTransformStatus of the package object model, by its numbers.
enum TransformStatus : unsigned {
  kTransformOk = 1,
  kTransformSkipRow = 2,         ///< The row is left out.
  kTransformSkipFetch = 4,       ///< The same row comes again.
  kTransformSkipInsert = 8,      ///< Nothing is inserted this time.
  kTransformInsertQuery = 0x10,  ///< The row is for this query of a data-driven query.
  kTransformUpdateQuery = 0x20,
  kTransformDeleteQuery = 0x40,
  kTransformUserQuery = 0x80,
  kTransformError = 0x2000,  ///< The row is rejected.
  kTransformExceptionRow = 0x100,
  kTransformAbortPump = 0x4000,   ///< The pump fails.
  kTransformNoMoreRows = 0x8000,  ///< The pump ends well; this row is left out.
};

/// Makes the values of several destination columns from a row of the source.
class RowScript {
 public:
  virtual ~RowScript() = default;

  /// Fills `values`, NULL before the call, one for each of its destinations; answers a
  /// TransformStatus. What is wrong with the row throws RowScriptError, all else PlatformError.
  virtual unsigned Run(const TransformedRow& row, std::span<ado::LoadValue> values) = 0;
};

/// A script that cannot make anything of a row.
struct RowScriptError {
  long number;
  std::string reason;
};

/// A script and the destination columns that it fills.
struct ScriptMapping {
  std::shared_ptr<RowScript> script;
  std::vector<std::string> destinations;
  unsigned flags = 0;  ///< TransformFlags.
};

}  // namespace torvik::engine
