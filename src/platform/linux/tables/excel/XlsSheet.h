#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/CodePage.h"
#include "platform/linux/tables/excel/Workbook.h"
#include "platform/linux/tables/excel/XlsRecords.h"

namespace torvik {

enum class XlsRecordType : std::uint16_t {
  Formula = 0x0006,
  EndOfFile = 0x000A,
  DateMode = 0x0022,
  FilePassword = 0x002F,
  CodePage = 0x0042,
  BoundSheet = 0x0085,
  ManyRk = 0x00BD,
  FormattedLabel = 0x00D6,
  CellFormat = 0x00E0,
  SharedTexts = 0x00FC,
  SharedLabel = 0x00FD,
  Number = 0x0203,
  Label = 0x0204,
  BooleanOrError = 0x0205,
  FormulaText = 0x0207,
  Rk = 0x027E,
  NumberFormat = 0x041E,
  BeginOfFile = 0x0809
};

/// What the start of a workbook's stream says about its sheets.
struct XlsGlobals {
  bool isBiff8 = true;
  std::unique_ptr<CodePage> codePage;  ///< Of texts before BIFF8.
  std::vector<NumberKind> formats;     ///< Of cell formats by their position.
  std::size_t sharedTexts = 0;         ///< The first of the workbook's texts.
};

/// A text of a cell or, with a size of one byte, of a name.
std::string ReadXlsText(XlsBytes& bytes, const XlsGlobals& globals);

/// Reads the cells of the sheet that begins at `position` of the stream. Throws std::runtime_error
/// for what no sheet can hold.
void ReadXlsSheet(std::string_view stream, std::size_t position, const XlsGlobals& globals,
                  Workbook& workbook, CellGrid& cells);

}  // namespace torvik
