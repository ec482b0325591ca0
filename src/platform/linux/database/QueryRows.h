#pragma once

#include <string>

#include "platform/Ado.h"

namespace torvik {

/// The rows of a running query, read one after the other. Columns count from 0.
class QueryRows {
 public:
  virtual ~QueryRows() = default;

  virtual int ColumnCount() const = 0;
  virtual std::string ColumnName(int column) const = 0;

  /// Goes on to the next row; false when there is none.
  virtual bool Step() = 0;

  /// A value of the row gone to.
  virtual ado::Value Column(int column) const = 0;
};

}  // namespace torvik
