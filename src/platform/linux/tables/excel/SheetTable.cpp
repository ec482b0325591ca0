#include "platform/linux/tables/excel/SheetTable.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/database/SqliteColumns.h"

namespace torvik {
namespace {

/// SQLite's tables have no more columns.
constexpr int kMostColumns = 2000;

/// Whole numbers up to here are told apart by a cell.
constexpr double kBehindWholeNumbers = 9007199254740992;

bool IsWhole(double number) {
  return std::abs(number) < kBehindWholeNumbers && std::trunc(number) == number;
}

/// A number as a cell shows it: rounded to 15 digits, so that 0.1 + 0.2 is 0.3.
std::string NumberText(double number) {
  char text[32];
  std::snprintf(text, sizeof text, "%.15g", number);
  return text;
}

/// What a column's cells are made into.
struct ColumnForm {
  bool allText = false;
  bool datesHaveTime = false;
};

class CellReader {
 public:
  explicit CellReader(const Workbook& workbook) : workbook_(workbook) {}

  ado::Value Value(const Cell& cell, const ColumnForm& form) const {
    if (cell.kind == Cell::Kind::Text) return workbook_.texts[cell.text];
    if (IsDate(cell)) {
      const bool withTime = form.datesHaveTime || cell.kind == Cell::Kind::DateTime;
      if (auto date = SheetDateText(cell.number, workbook_.countsFrom1904, withTime)) return *date;
    }
    if (form.allText) return NumberText(cell.number);
    if (IsWhole(cell.number)) return static_cast<std::int64_t>(cell.number);
    return cell.number;
  }

  std::string Text(const Cell& cell) const {
    return std::get<std::string>(Value(cell, {.allText = true}));
  }

  static bool IsDate(const Cell& cell) {
    return cell.kind == Cell::Kind::Date || cell.kind == Cell::Kind::DateTime;
  }

 private:
  const Workbook& workbook_;
};

/// Which kinds of values a column has.
struct KindsSeen {
  bool wholeNumber = false, number = false, date = false, dateTime = false, boolean = false,
       text = false;

  void Add(const Cell& cell) {
    switch (cell.kind) {
      case Cell::Kind::Number: (IsWhole(cell.number) ? wholeNumber : number) = true; break;
      case Cell::Kind::Date: (IsWhole(cell.number) ? date : dateTime) = true; break;
      case Cell::Kind::DateTime: dateTime = true; break;
      case Cell::Kind::Boolean: boolean = true; break;
      case Cell::Kind::Text: text = true; break;
    }
  }

  bool AreMixed() const {
    return (wholeNumber || number) + (date || dateTime) + boolean + text > 1;
  }

  const char* DeclaredType() const {
    if (AreMixed() || text) return "TEXT";
    if (number) return "FLOAT";
    if (wholeNumber) return "BIGINT";
    if (boolean) return "BIT";
    return dateTime ? "DATETIME" : date ? "DATE" : "TEXT";
  }
};

/// What the rows of a sheet's table share.
struct TablePart {
  const Sheet& sheet;
  CellReader reader;
  CellRange rows;  ///< Without the header.
  bool isEmpty;
  std::vector<ColumnForm> forms;
};

class SheetRows final : public FileRows {
 public:
  explicit SheetRows(const TablePart& part) : part_(part) {}

  bool Step() override {
    const std::int64_t next = place_ < 0 ? part_.rows.firstRow : place_ + 1;
    if (part_.isEmpty || next > part_.rows.lastRow) return false;
    GoTo(next);
    return true;
  }

  ado::Value Column(int column) override {
    const auto sheetColumn = static_cast<std::uint16_t>(part_.rows.firstColumn + column);
    const auto cell = std::ranges::lower_bound(cells_, sheetColumn, {}, &Cell::column);
    if (cell == cells_.end() || cell->column != sheetColumn) return ado::Null{};
    return part_.reader.Value(*cell, part_.forms[static_cast<std::size_t>(column)]);
  }

  std::int64_t Place() const override { return place_; }
  void GoTo(std::int64_t place) override {
    place_ = place;
    cells_ = part_.sheet.cells.Row(static_cast<std::uint32_t>(place), part_.rows);
  }

 private:
  const TablePart& part_;
  std::int64_t place_ = -1;  ///< The row in the sheet.
  std::span<const Cell> cells_;
};

class SheetTable final : public FileTable {
 public:
  SheetTable(const std::string& name, const Workbook& workbook, const Sheet& sheet,
             const CellRange& range, bool columnsAreThoseOfRange, const WorkbookOptions& options)
      : name_(name), part_{sheet, CellReader(workbook), range, true, {}} {
    const auto used = sheet.cells.Used(range);
    if (used) TakeRows(*used, options.hasHeader);
    if (!columnsAreThoseOfRange) TakeColumns(used);
    width_ = part_.rows.lastColumn - part_.rows.firstColumn + 1;
    columns_.resize(static_cast<std::size_t>(std::min(width_, kMostColumns)));
    if (used && options.hasHeader) TakeHeader(used->firstRow);
    NameOtherColumns();
    FindTypes(options.mixedAsText);
  }

  const std::string& Name() const override { return name_; }
  const std::vector<ado::Column>& Columns() const override { return columns_; }
  std::int64_t RowEstimate() const override {
    return part_.isEmpty ? 0 : part_.rows.lastRow - part_.rows.firstRow + 1;
  }
  std::unique_ptr<FileRows> Open() const override {
    if (width_ > kMostColumns)
      throw PlatformError(0,
                          "the table " + name_ + " has " + std::to_string(width_) +
                              " columns, and at most " + std::to_string(kMostColumns) +
                              " can be read at a time; name a part of it, such as [Sheet1$A1:Z500]",
                          "workbook");
    return std::make_unique<SheetRows>(part_);
  }

 private:
  void TakeRows(const CellRange& used, bool hasHeader) {
    part_.rows.firstRow = used.firstRow + (hasHeader ? 1 : 0);
    part_.rows.lastRow = used.lastRow;
    part_.isEmpty = part_.rows.firstRow > part_.rows.lastRow;
  }

  /// An empty sheet has one column, as a table must.
  void TakeColumns(const std::optional<CellRange>& used) {
    part_.rows.firstColumn = used ? used->firstColumn : 0;
    part_.rows.lastColumn = used ? used->lastColumn : 0;
  }

  void TakeHeader(std::uint32_t row) {
    for (const Cell& cell : part_.sheet.cells.Row(row, part_.rows))
      TakeName(static_cast<std::size_t>(cell.column - part_.rows.firstColumn),
               part_.reader.Text(cell));
  }

  void NameOtherColumns() {
    for (std::size_t position = 0; position < columns_.size(); ++position)
      for (std::string name = "F" + std::to_string(position + 1); columns_[position].name.empty();
           name += "_")
        TakeName(position, name);
  }

  /// Gives the column the name unless that is blank or another one has it.
  void TakeName(std::size_t position, const std::string& name) {
    if (position >= columns_.size() || name.find_first_not_of(" \t\r\n") == std::string::npos)
      return;
    const bool isTaken = std::ranges::any_of(
        columns_, [&](const ado::Column& column) { return EqualsIgnoringCase(column.name, name); });
    if (!isTaken) columns_[position].name = name;
  }

  void FindTypes(bool mixedAsText) {
    std::vector<KindsSeen> kinds(columns_.size());
    for (const Cell& cell : part_.sheet.cells.Rows(part_.rows))
      if (const auto column = static_cast<std::size_t>(cell.column - part_.rows.firstColumn);
          cell.column >= part_.rows.firstColumn && column < kinds.size() && !part_.isEmpty)
        kinds[column].Add(cell);
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      ado::Column column = ColumnOfType(kinds[i].DeclaredType());
      column.name = columns_[i].name;
      columns_[i] = std::move(column);
      part_.forms.push_back(
          {.allText = mixedAsText && kinds[i].AreMixed(), .datesHaveTime = kinds[i].dateTime});
    }
  }

  const std::string name_;
  TablePart part_;
  std::vector<ado::Column> columns_;
  int width_ = 0;
};

}  // namespace

std::unique_ptr<FileTable> NewSheetTable(const std::string& name, const Workbook& workbook,
                                         const Sheet& sheet, const CellRange& range,
                                         const WorkbookOptions& options) {
  const bool isPart = range.lastColumn + 1U < CellGrid::kColumns;
  return std::make_unique<SheetTable>(name, workbook, sheet, range, isPart, options);
}

}  // namespace torvik
