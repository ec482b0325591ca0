#include "platform/linux/tables/excel/Workbook.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "platform/Text.h"

namespace torvik {
namespace {

/// Sheets are read row by row, so that a row's cells stand together.
std::pair<std::uint32_t, std::uint16_t> PlaceOf(const Cell& cell) {
  return {cell.row, cell.column};
}

/// A corner of a range; without a row it is a whole column.
struct Corner {
  std::uint16_t column;
  std::optional<std::uint32_t> row;
};

/// Takes "C10", "$C$10" or "C" off the front of `text`.
std::optional<Corner> TakeCorner(std::string_view& text) {
  const auto skipDollar = [&] { text.remove_prefix(text.starts_with('$') ? 1 : 0); };
  std::uint32_t column = 0, row = 0;
  skipDollar();
  for (; !text.empty() && LowerAscii(text[0]) >= 'a' && LowerAscii(text[0]) <= 'z';
       text.remove_prefix(1)) {
    column = column * 26 + static_cast<std::uint32_t>(LowerAscii(text[0]) - 'a' + 1);
    if (column > CellGrid::kColumns) return {};
  }
  if (column == 0) return {};
  const auto columnPosition = static_cast<std::uint16_t>(column - 1);
  skipDollar();
  const auto read = std::from_chars(text.data(), text.data() + text.size(), row);
  if (read.ec == std::errc::invalid_argument) return Corner{columnPosition, {}};
  if (read.ec != std::errc() || row == 0 || row > CellGrid::kRows) return {};
  text.remove_prefix(static_cast<std::size_t>(read.ptr - text.data()));
  return Corner{columnPosition, row - 1};
}

}  // namespace

void CellGrid::AddNumber(std::uint32_t row, std::uint16_t column, double number, NumberKind kind) {
  cells_.push_back(
      {.row = row, .column = column, .kind = static_cast<Cell::Kind>(kind), .number = number});
}

void CellGrid::AddBoolean(std::uint32_t row, std::uint16_t column, bool value) {
  cells_.push_back(
      {.row = row, .column = column, .kind = Cell::Kind::Boolean, .number = value ? 1.0 : 0.0});
}

void CellGrid::AddText(std::uint32_t row, std::uint16_t column, std::size_t text) {
  cells_.push_back({.row = row, .column = column, .kind = Cell::Kind::Text, .text = text});
}

void CellGrid::Finish() {
  if (!std::ranges::is_sorted(cells_, std::ranges::less_equal(), PlaceOf)) {
    std::ranges::stable_sort(cells_, {}, PlaceOf);
    // Reversed, the last one of a place is the first one, which unique keeps.
    std::ranges::reverse(cells_);
    const auto isDouble = [](const Cell& a, const Cell& b) { return PlaceOf(a) == PlaceOf(b); };
    cells_.erase(std::unique(cells_.begin(), cells_.end(), isDouble), cells_.end());
    std::ranges::reverse(cells_);
  }
  cells_.shrink_to_fit();
}

std::span<const Cell> CellGrid::Row(std::uint32_t row) const {
  return {std::ranges::lower_bound(cells_, row, {}, &Cell::row),
          std::ranges::upper_bound(cells_, row, {}, &Cell::row)};
}

std::span<const Cell> CellGrid::Row(std::uint32_t row, const CellRange& range) const {
  const auto cells = Row(row);
  const auto first = std::ranges::lower_bound(cells, range.firstColumn, {}, &Cell::column);
  const auto last = std::ranges::upper_bound(cells, range.lastColumn, {}, &Cell::column);
  return {first, last};
}

std::span<const Cell> CellGrid::Rows(const CellRange& range) const {
  const auto first = std::ranges::lower_bound(cells_, range.firstRow, {}, &Cell::row);
  const auto last = std::ranges::upper_bound(cells_, range.lastRow, {}, &Cell::row);
  if (first > last) return {};
  return {first, last};
}

std::optional<CellRange> CellGrid::Used(const CellRange& range) const {
  std::optional<CellRange> used;
  for (const Cell& cell : Rows(range)) {
    if (cell.column < range.firstColumn || cell.column > range.lastColumn) continue;
    if (!used) used = CellRange{cell.row, cell.row, cell.column, cell.column};
    used->lastRow = cell.row;
    used->firstColumn = std::min(used->firstColumn, cell.column);
    used->lastColumn = std::max(used->lastColumn, cell.column);
  }
  return used;
}

std::optional<CellRange> ReadCellRange(std::string_view text) {
  const auto first = TakeCorner(text);
  if (!first) return {};
  auto last = first;
  if (text.starts_with(':')) {
    text.remove_prefix(1);
    last = TakeCorner(text);
  } else if (!first->row) {
    return {};
  }
  if (!last || !text.empty() || first->row.has_value() != last->row.has_value()) return {};
  const auto [firstRow, lastRow] =
      std::minmax({first->row.value_or(0), last->row.value_or(CellGrid::kRows - 1)});
  const auto [firstColumn, lastColumn] = std::minmax({first->column, last->column});
  return CellRange{firstRow, lastRow, firstColumn, lastColumn};
}

}  // namespace torvik
