#include "platform/linux/sqlite/SqliteLoadValue.h"

#include <cmath>

#include "platform/NumberText.h"

namespace torvik {
SqliteStorage SqliteStorageOf(ado::ColumnKind kind) {
  switch (kind) {
    case ado::ColumnKind::Integer:
    case ado::ColumnKind::Boolean: return SqliteStorage::Integer;
    case ado::ColumnKind::Decimal:
    case ado::ColumnKind::Real: return SqliteStorage::Number;
    case ado::ColumnKind::Binary: return SqliteStorage::Bytes;
    default: return SqliteStorage::Text;
  }
}

bool ReadNumber(std::string_view text, std::int64_t& number) {
  const auto read = NumberOf<std::int64_t>(text);
  if (read) number = *read;
  return read.has_value();
}

bool ReadNumber(std::string_view text, double& number) {
  const auto read = NumberOf<double>(text);
  if (!read || !std::isfinite(*read)) return false;
  number = *read;
  return true;
}

}  // namespace torvik
