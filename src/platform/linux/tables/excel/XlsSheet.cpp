#include "platform/linux/tables/excel/XlsSheet.h"

#include <bit>
#include <optional>
#include <stdexcept>
#include <utility>

namespace torvik {
namespace {

using enum XlsRecordType;

struct Place {
  std::uint32_t row;
  std::uint16_t column;
};

/// A number packed into 30 bits: a whole one or the front of a floating one, either of them in
/// hundredths if it says so.
double RkNumber(std::uint32_t packed) {
  constexpr std::uint32_t kHundredths = 1, kWhole = 2;
  const double number = packed & kWhole
                            ? static_cast<double>(static_cast<std::int32_t>(packed) >> 2)
                            : std::bit_cast<double>(static_cast<std::uint64_t>(packed & ~3U) << 32);
  return packed & kHundredths ? number / 100 : number;
}

class SheetReader {
 public:
  SheetReader(const XlsGlobals& globals, Workbook& workbook, CellGrid& cells)
      : globals_(globals), workbook_(workbook), cells_(cells) {}

  void Take(XlsRecordType type, XlsBytes bytes) {
    switch (type) {
      case Number: TakeNumber(bytes, [&] { return bytes.Double(); }); break;
      case Rk: TakeNumber(bytes, [&] { return RkNumber(bytes.Long()); }); break;
      case ManyRk: TakeManyRk(bytes); break;
      case Label:
      case FormattedLabel: TakeLabel(bytes); break;
      case SharedLabel: TakeSharedLabel(bytes); break;
      case BooleanOrError: TakeBoolean(bytes); break;
      case Formula: TakeFormula(bytes); break;
      case FormulaText:
        if (formula_) AddText(*std::exchange(formula_, {}), ReadXlsText(bytes, globals_));
        break;
      default: break;
    }
  }

 private:
  static Place TakePlace(XlsBytes& bytes) {
    const std::uint32_t row = bytes.Word();
    return {row, bytes.Word()};
  }

  NumberKind TakeFormat(XlsBytes& bytes) {
    const std::size_t format = bytes.Word();
    return format < globals_.formats.size() ? globals_.formats[format] : NumberKind::Number;
  }

  template <typename Value>
  void TakeNumber(XlsBytes& bytes, const Value& value) {
    const Place place = TakePlace(bytes);
    const NumberKind format = TakeFormat(bytes);
    cells_.AddNumber(place.row, place.column, value(), format);
  }

  void TakeManyRk(XlsBytes& bytes) {
    constexpr std::size_t kLastColumn = 2, kCell = 6;
    for (Place place = TakePlace(bytes); bytes.Left() >= kCell + kLastColumn; ++place.column) {
      const NumberKind format = TakeFormat(bytes);
      cells_.AddNumber(place.row, place.column, RkNumber(bytes.Long()), format);
    }
  }

  void TakeLabel(XlsBytes& bytes) {
    const Place place = TakePlace(bytes);
    TakeFormat(bytes);
    AddText(place, ReadXlsText(bytes, globals_));
  }

  void TakeSharedLabel(XlsBytes& bytes) {
    const Place place = TakePlace(bytes);
    TakeFormat(bytes);
    const std::size_t text = bytes.Long();
    if (text >= globals_.sharedTexts)
      throw std::runtime_error("a cell's text has the number " + std::to_string(text) +
                               ", and the workbook has " + std::to_string(globals_.sharedTexts) +
                               " shared texts");
    if (!workbook_.texts[text].empty()) cells_.AddText(place.row, place.column, text);
  }

  void TakeBoolean(XlsBytes& bytes) {
    const Place place = TakePlace(bytes);
    TakeFormat(bytes);
    const bool value = bytes.Byte() != 0;
    const bool isError = bytes.Byte() != 0;
    if (!isError) cells_.AddBoolean(place.row, place.column, value);
  }

  /// The last result is stored behind the place: a number, or a mark in its two last bytes.
  void TakeFormula(XlsBytes& bytes) {
    constexpr std::uint64_t kMark = 0xFFFF;
    enum : unsigned { Text = 0, Boolean = 1 };
    const Place place = TakePlace(bytes);
    const NumberKind format = TakeFormat(bytes);
    const std::uint64_t result = bytes.Quad();
    formula_.reset();
    if (result >> 48 != kMark)
      cells_.AddNumber(place.row, place.column, std::bit_cast<double>(result), format);
    else if ((result & 0xFF) == Text)
      formula_ = place;
    else if ((result & 0xFF) == Boolean)
      cells_.AddBoolean(place.row, place.column, (result >> 16 & 0xFF) != 0);
  }

  void AddText(const Place& place, std::string text) {
    if (text.empty()) return;
    workbook_.texts.push_back(std::move(text));
    cells_.AddText(place.row, place.column, workbook_.texts.size() - 1);
  }

  const XlsGlobals& globals_;
  Workbook& workbook_;
  CellGrid& cells_;
  std::optional<Place> formula_;  ///< That whose text comes in a record of its own.
};

}  // namespace

std::string ReadXlsText(XlsBytes& bytes, const XlsGlobals& globals) {
  if (globals.isBiff8) return bytes.Text();
  const std::size_t size = bytes.Word();
  return globals.codePage->Decode(bytes.Bytes(size));
}

void ReadXlsSheet(std::string_view stream, std::size_t position, const XlsGlobals& globals,
                  Workbook& workbook, CellGrid& cells) {
  SheetReader reader(globals, workbook, cells);
  // A chart in the sheet is a file inside it.
  for (int depth = 0;;) {
    const auto record = TakeXlsRecord(stream, position);
    if (!record) throw std::runtime_error("a sheet does not end");
    const auto type = static_cast<XlsRecordType>(record->type);
    if (type == BeginOfFile) ++depth;
    if (depth == 0) throw std::runtime_error("a sheet does not begin where it should");
    if (type == EndOfFile && --depth == 0) break;
    if (depth == 1) reader.Take(type, XlsBytes(record->pieces));
  }
  cells.Finish();
}

}  // namespace torvik
