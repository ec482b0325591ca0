#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/Ado.h"

namespace torvik::engine {

class RowBatch;

/// The highest value of a column that earlier loads have brought: a row is new when its value is
/// beyond it. Whole and decimal numbers, dates and times can be told apart so; the text of a value
/// is the one that conversions give it. Rows may be kept by one thread while another notes them.
class Watermark {
 public:
  /// `column` is one of the destination's, as it is spelled in the settings; `mark` a value of it,
  /// or nothing before the first load.
  Watermark(std::string column, std::optional<std::string> mark);

  const std::string& Column() const { return column_; }

  /// The column as the destination declares it, and its place among a row's values. Throws
  /// PlatformError for a type whose values have no order that is the same everywhere.
  void Resolve(const ado::Column& column, std::size_t position);

  /// Drops the rows of a mapped batch that are not beyond the mark; they count as skipped. The
  /// column must have no NULL.
  void Keep(RowBatch& batch) const;

  /// A row that was loaded.
  void Note(std::span<const ado::LoadValue> row);

  /// The highest value of all loads, these rows included; nothing while there was no row.
  std::optional<std::string> Highest() const;

 private:
  struct Mark {
    std::string text;
    std::optional<std::int64_t> number;
  };
  static Mark MarkOf(std::string text);
  bool IsBeyond(const ado::LoadValue& value, const Mark& mark) const;

  const std::string column_;
  const std::optional<Mark> mark_;
  std::optional<Mark> highest_;
  bool isNumber_ = false;
  std::size_t position_ = 0;
};

/// Below, at or above 0 as decimal number `a` is less than `b`, the same, or more: "-12.50".
int CompareDecimals(std::string_view a, std::string_view b);

}  // namespace torvik::engine
