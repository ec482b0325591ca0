#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/tables/common/SerialDate.h"

namespace torvik {

/// One cell that is not empty. Rows and columns count from 0.
struct Cell {
  /// Begins as NumberKind does.
  enum class Kind : std::uint8_t { Number, Date, DateTime, Boolean, Text };

  std::uint32_t row;
  std::uint16_t column;
  Kind kind;
  union {
    double number;       ///< A Boolean is 1 or 0.
    std::uint64_t text;  ///< A position in the workbook's texts.
  };
};

/// Part of a sheet, its last row and column included.
struct CellRange {
  std::uint32_t firstRow = 0, lastRow = 0;
  std::uint16_t firstColumn = 0, lastColumn = 0;
};

/// The cells of a sheet. They are added in any order, best row by row; of two in one place the
/// later one stays.
class CellGrid {
 public:
  static constexpr std::uint32_t kRows = 1'048'576;
  static constexpr std::uint32_t kColumns = 16'384;

  void AddNumber(std::uint32_t row, std::uint16_t column, double number, NumberKind kind);
  void AddBoolean(std::uint32_t row, std::uint16_t column, bool value);
  void AddText(std::uint32_t row, std::uint16_t column, std::size_t text);
  /// To be called once, when all cells have been added.
  void Finish();

  /// The cells of one row from left to right.
  std::span<const Cell> Row(std::uint32_t row) const;
  /// Those of a row that lie in the range's columns.
  std::span<const Cell> Row(std::uint32_t row, const CellRange& range) const;
  /// All cells of the range's rows.
  std::span<const Cell> Rows(const CellRange& range) const;

  /// The part of `range` that its cells span; nothing when they all are empty.
  std::optional<CellRange> Used(const CellRange& range) const;

 private:
  std::vector<Cell> cells_;
};

struct Sheet {
  std::string name;
  CellGrid cells;
};

/// What a workbook says, without how it looks.
struct Workbook {
  std::vector<Sheet> sheets;
  std::vector<std::string> texts;
  bool countsFrom1904 = false;
};

/// Reads "A2:C10", "B7" or, for whole columns, "A:C"; letter case does not matter, and a '$' before
/// a letter or a number says nothing.
std::optional<CellRange> ReadCellRange(std::string_view text);

}  // namespace torvik
