#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/Ado.h"
#include "platform/linux/sqlite/SqliteRecord.h"

struct sqlite3_value;

namespace torvik {

/// Whether a column keeps a value of a column of the same affinity just as it lies there, when it
/// is loaded like any other one: SQLite itself keeps whatever it is given, of any type and length.
class SqliteFit {
 public:
  /// `column` is the one that is loaded. Nothing for a type of which that cannot be said.
  static std::optional<SqliteFit> Of(const ado::Column& column);

  /// False also where it is not sure. Texts are in UTF-8.
  bool Holds(sqlite3_value* value) const;

 private:
  SqliteFit(const ado::Column& column, SqliteAffinity affinity);

  bool HoldsWhole(std::int64_t number) const;
  bool HoldsReal(double number) const;
  bool HoldsText(std::string_view text) const;
  bool HasRoomFor(std::string_view text) const;

  ado::ColumnKind kind_;
  SqliteAffinity affinity_;
  bool isNullable_;
  ado::TextUnit unit_;
  std::size_t room_;                   ///< In such units; 0: any text.
  int sureBytes_ = -1;                 ///< A text of so many fits: it has no more units than bytes.
  std::int64_t lowest_, highest_ = 0;  ///< Of whole numbers.
  bool hasScale_;
  int scale_;
  double leastReal_ = 0, endOfReals_ = 0;  ///< Of real numbers without their sign.
};

}  // namespace torvik
