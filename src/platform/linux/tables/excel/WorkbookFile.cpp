#include "platform/linux/tables/excel/WorkbookFile.h"

#include <algorithm>
#include <sstream>
#include <utility>

#include "platform/Text.h"
#include "platform/linux/tables/excel/SheetTable.h"

namespace torvik {
namespace {

constexpr std::string_view kSurroundings = " \t\"'";

constexpr CellRange kWholeSheet{.firstRow = 0,
                                .lastRow = CellGrid::kRows - 1,
                                .firstColumn = 0,
                                .lastColumn = CellGrid::kColumns - 1};

/// A table's name as the provider for such files lists it when it holds a blank: 'My Sales$'.
std::string_view WithoutQuotes(std::string_view name) {
  const bool isQuoted = name.size() > 1 && name.front() == '\'' && name.back() == '\'';
  return isQuoted ? name.substr(1, name.size() - 2) : name;
}

class WorkbookFile final : public TableFile {
 public:
  WorkbookFile(Workbook workbook, const WorkbookOptions& options)
      : workbook_(std::move(workbook)), options_(options) {
    for (const Sheet& sheet : workbook_.sheets)
      sheets_.push_back(NewSheetTable(sheet.name + "$", workbook_, sheet, kWholeSheet, options_));
  }

  std::vector<const FileTable*> Tables() const override {
    std::vector<const FileTable*> tables;
    for (const auto& sheet : sheets_) tables.push_back(sheet.get());
    return tables;
  }

  const FileTable* FindByOtherName(const std::string& name) override {
    const std::string_view text = WithoutQuotes(name);
    if (const FileTable* sheet = SheetOf(text)) return sheet;
    for (std::size_t at = text.find('$'); at != std::string_view::npos; at = text.find('$', at + 1))
      if (const FileTable* part = PartOf(text.substr(0, at), text.substr(at + 1), name))
        return part;
    return nullptr;
  }

 private:
  std::size_t PositionOf(std::string_view sheet) const {
    const auto found = std::ranges::find_if(
        workbook_.sheets, [&](const Sheet& one) { return EqualsIgnoringCase(one.name, sheet); });
    return static_cast<std::size_t>(found - workbook_.sheets.begin());
  }

  /// By "Sales" or "Sales$".
  const FileTable* SheetOf(std::string_view name) const {
    std::size_t position = PositionOf(name);
    if (position == sheets_.size() && name.ends_with('$'))
      position = PositionOf(name.substr(0, name.size() - 1));
    return position < sheets_.size() ? sheets_[position].get() : nullptr;
  }

  const FileTable* PartOf(std::string_view sheet, std::string_view range, const std::string& name) {
    const std::size_t position = PositionOf(sheet);
    const auto cells = ReadCellRange(range);
    if (position == sheets_.size() || !cells) return nullptr;
    parts_.push_back(NewSheetTable(name, workbook_, workbook_.sheets[position], *cells, options_));
    return parts_.back().get();
  }

  const Workbook workbook_;
  const WorkbookOptions options_;
  std::vector<std::unique_ptr<FileTable>> sheets_;  ///< In the workbook's order.
  std::vector<std::unique_ptr<FileTable>> parts_;   ///< Those asked for so far.
};

bool IsYes(const std::string& property, const std::string& value, std::string_view yes,
           std::string_view no) {
  if (EqualsIgnoringCase(value, yes)) return true;
  if (EqualsIgnoringCase(value, no)) return false;
  throw PlatformError(0,
                      "the extended property " + property + "=" + value + " is not known; " +
                          property + " is " + std::string(yes) + " or " + std::string(no),
                      "workbook");
}

}  // namespace

WorkbookOptions ReadWorkbookOptions(const std::string& extendedProperties) {
  WorkbookOptions options;
  std::istringstream properties{std::string(Trimmed(extendedProperties, kSurroundings))};
  for (std::string property; std::getline(properties, property, ';');) {
    const std::size_t equals = std::min(property.find('='), property.size());
    const std::string_view name =
        Trimmed(std::string_view(property).substr(0, equals), kSurroundings);
    const std::string value(Trimmed(
        std::string_view(property).substr(std::min(equals + 1, property.size())), kSurroundings));
    if (EqualsIgnoringCase(name, "HDR")) options.hasHeader = IsYes("HDR", value, "YES", "NO");
    // 2 reads as 0 does; it would write as well.
    if (EqualsIgnoringCase(name, "IMEX"))
      options.mixedAsText = value != "2" && IsYes("IMEX", value, "1", "0");
  }
  return options;
}

std::unique_ptr<TableFile> NewWorkbookFile(Workbook workbook, const WorkbookOptions& options) {
  return std::make_unique<WorkbookFile>(std::move(workbook), options);
}

}  // namespace torvik
