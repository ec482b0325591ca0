#include "platform/linux/tables/excel/XlsxSheet.h"

#include <charconv>
#include <stdexcept>
#include <utility>

#include "platform/NumberText.h"
#include "platform/Text.h"
#include "platform/linux/text/Utf16.h"

namespace torvik {
namespace {

/// The whole of `text` as a number, blanks around it aside.
template <typename Number>
bool ReadNumber(std::string_view text, Number& number) {
  const auto read = NumberOf<Number>(Trimmed(text, kWhiteSpace));
  if (read) number = *read;
  return read.has_value();
}

/// Undoes "_x000D_", by which a text holds a character that XML cannot.
std::string Unescaped(std::string text) {
  constexpr std::size_t length = 7;
  for (std::size_t at = text.find("_x"); at != std::string::npos; at = text.find("_x", at + 1)) {
    unsigned unit = 0;
    const char* digits = text.data() + at + 2;
    if (at + length > text.size() || text[at + length - 1] != '_') continue;
    const auto read = std::from_chars(digits, digits + 4, unit, 16);
    if (read.ptr != digits + 4 || unit == 0) continue;
    const auto character = static_cast<char16_t>(unit);
    text.replace(at, length, FromUtf16(std::u16string_view(&character, 1)));
  }
  return text;
}

}  // namespace

void XlsxText::Begin(std::string_view element) {
  if (element == "rPh") ++phonetic_;
  if (element == "t") isInText_ = phonetic_ == 0;
}

void XlsxText::End(std::string_view element) {
  if (element == "rPh") --phonetic_;
  if (element == "t") isInText_ = false;
}

bool XlsxText::Add(std::string_view part) {
  if (!isInText_) return true;
  if (text_.size() + part.size() > kLongestXlsxText) return false;
  text_ += part;
  return true;
}

std::string XlsxText::Take() {
  return Unescaped(std::exchange(text_, {}));
}

void XlsxSheetHandler::Begin(std::string_view element, const XmlAttributes& attributes) {
  if (element == "row" && !isInCell_) BeginRow(attributes);
  if (element == "c" && !isInCell_) BeginCell(attributes);
  if (!isInCell_) return;
  if (element == "v") isInValue_ = true;
  if (element == "is") hasInlineText_ = true;
  inlineText_.Begin(element);
}

void XlsxSheetHandler::End(std::string_view element) {
  if (!isInCell_) return;
  if (element == "v") isInValue_ = false;
  inlineText_.End(element);
  if (element == "c") EndCell();
}

void XlsxSheetHandler::Text(std::string_view part) {
  if (!isInCell_) return;
  if (isInValue_) value_ += part;
  if (!inlineText_.Add(part) || value_.size() > kLongestXlsxText)
    Refuse("its text is longer than 1 MiB");
}

/// Rows and cells without a number follow the one before them.
void XlsxSheetHandler::BeginRow(const XmlAttributes& attributes) {
  ++row_;
  column_ = -1;
  if (const char* number = attributes.Find("r")) {
    if (!ReadNumber<std::int64_t>(number, row_))
      Refuse("a row has the number \"" + std::string(number) + "\"");
    --row_;
  }
  if (row_ < 0 || row_ >= CellGrid::kRows) Refuse("a sheet has no such row");
}

void XlsxSheetHandler::BeginCell(const XmlAttributes& attributes) {
  ++column_;
  if (const char* name = attributes.Find("r")) {
    const auto place = ReadCellRange(name);
    if (!place) Refuse("a cell is called \"" + std::string(name) + "\"");
    row_ = place->firstRow;
    column_ = place->firstColumn;
  }
  if (row_ < 0 || column_ >= CellGrid::kColumns) Refuse("a sheet has no such cell");
  isInCell_ = true;
  hasInlineText_ = false;
  type_ = attributes["t"];
  value_.clear();
  format_ = 0;
  ReadNumber(attributes["s"], format_);
}

void XlsxSheetHandler::EndCell() {
  isInCell_ = false;
  std::string text = inlineText_.Take();
  if (type_ == "inlineStr" || (hasInlineText_ && value_.empty())) return AddText(std::move(text));
  if (type_ == "str") return AddText(Unescaped(value_));
  if (value_.empty() || type_ == "e") return;
  if (type_ == "s") return AddSharedText();
  if (type_ == "d") return AddDate();
  const auto row = static_cast<std::uint32_t>(row_);
  const auto column = static_cast<std::uint16_t>(column_);
  double number = 0;
  if (!ReadNumber(value_, number)) Refuse("it holds \"" + value_ + "\", which is no number");
  if (type_ == "b")
    cells_.AddBoolean(row, column, number != 0);
  else
    cells_.AddNumber(row, column, number, Format());
}

void XlsxSheetHandler::AddText(std::string text) {
  if (text.empty()) return;
  workbook_.texts.push_back(std::move(text));
  cells_.AddText(static_cast<std::uint32_t>(row_), static_cast<std::uint16_t>(column_),
                 workbook_.texts.size() - 1);
}

void XlsxSheetHandler::AddSharedText() {
  std::size_t position = 0;
  if (!ReadNumber(value_, position) || position >= sharedTexts_)
    Refuse("its text has the number \"" + value_ + "\", and the workbook has " +
           std::to_string(sharedTexts_) + " shared texts");
  if (!workbook_.texts[position].empty())
    cells_.AddText(static_cast<std::uint32_t>(row_), static_cast<std::uint16_t>(column_), position);
}

void XlsxSheetHandler::AddDate() {
  const auto date = SheetDateIn(value_, workbook_.countsFrom1904);
  if (!date) return AddText(value_);
  const bool hasTime = value_.find('T') != std::string::npos;
  cells_.AddNumber(static_cast<std::uint32_t>(row_), static_cast<std::uint16_t>(column_), *date,
                   hasTime ? NumberKind::DateTime : NumberKind::Date);
}

NumberKind XlsxSheetHandler::Format() const {
  return format_ < formats_.size() ? formats_[format_] : NumberKind::Number;
}

void XlsxSheetHandler::Refuse(const std::string& reason) const {
  throw std::runtime_error("row " + std::to_string(row_ + 1) + ", column " +
                           std::to_string(column_ + 1) + ": " + reason);
}

}  // namespace torvik
