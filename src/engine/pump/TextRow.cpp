#include "engine/pump/TextRow.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "engine/pump/RowError.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

class DelimitedRow final : public TextRow {
 public:
  DelimitedRow(const std::string& path, const TextFormat& format,
               const std::vector<std::string>& columns)
      : columns_(columns),
        columnDelimiter_(format.columnDelimiter),
        rowDelimiter_(WrittenRowDelimiter(format)),
        qualifier_(format.textQualifier),
        quoteAll_(format.quoteAll) {
    CheckDelimiters(path, format);
    if (quoteAll_ && qualifier_.empty())
      throw RowError::BadFormat(path, "\"Quote All\" needs a text qualifier");
    // Part of a delimiter at a value's end would make up a delimiter with the one behind it.
    special_ = columnDelimiter_.substr(0, 1) + rowDelimiter_.substr(0, 1) + qualifier_;
    if (format.rowDelimiter.empty()) special_ += "\r\n";
  }

  std::string Append(std::span<const ado::LoadValue> values, std::string& text) override {
    for (std::size_t column = 0; column < values.size(); ++column) {
      if (column > 0) text += columnDelimiter_;
      std::array<char, kNumberCharacters> room;
      const std::string_view value = WrittenText(values[column], room);
      if (value.find('\0') != value.npos)
        return UnwritableValue(columns_[column], "it holds a NUL character");
      const bool isSpecial =
          value.find_first_of(special_) != value.npos || value.starts_with(kByteOrderMark);
      if (isSpecial && qualifier_.empty())
        return UnwritableValue(columns_[column],
                               "it holds part of a delimiter, and there is no text qualifier");
      const bool isEmptyText = value.empty() && !values[column].IsNull();
      if (isSpecial || isEmptyText || (quoteAll_ && !values[column].IsNull()))
        AppendQuoted(value, qualifier_[0], text);
      else
        text += value;
    }
    text += rowDelimiter_;
    return "";
  }

 private:
  const std::vector<std::string> columns_;
  const std::string columnDelimiter_, rowDelimiter_, qualifier_;
  const bool quoteAll_;
  std::string special_;
};

class FixedRow final : public TextRow {
 public:
  FixedRow(const std::string& path, const TextFormat& format,
           const std::vector<std::string>& columns)
      : columns_(columns),
        lengths_(format.columnLengths),
        rowDelimiter_(WrittenRowDelimiter(format)) {
    FixedRowLength(path, format);
    if (lengths_.size() != columns.size())
      throw RowError::BadFormat(path, "there are " + std::to_string(columns.size()) +
                                          " columns and " + std::to_string(lengths_.size()) +
                                          " column lengths; give as many");
    special_ = rowDelimiter_.substr(0, 1) + std::string(1, '\0');
    if (format.rowDelimiter.empty()) special_ += '\n';
  }

  std::string Append(std::span<const ado::LoadValue> values, std::string& text) override {
    for (std::size_t column = 0; column < values.size(); ++column) {
      std::array<char, kNumberCharacters> room;
      const std::string_view value = WrittenText(values[column], room);
      const std::size_t width = CountCharacters(value);
      if (width > lengths_[column])
        return UnwritableValue(columns_[column], "it has " + std::to_string(width) +
                                                     " characters, the column has " +
                                                     std::to_string(lengths_[column]));
      if (value.find_first_of(special_) != value.npos)
        return UnwritableValue(columns_[column],
                               "it holds part of a row delimiter or a NUL character");
      text += value;
      text.append(lengths_[column] - width, ' ');
    }
    text += rowDelimiter_;
    return "";
  }

 private:
  const std::vector<std::string> columns_;
  const std::vector<std::size_t> lengths_;
  const std::string rowDelimiter_;
  std::string special_;
};

}  // namespace

std::unique_ptr<TextRow> NewDelimitedRow(const std::string& path, const TextFormat& format,
                                         const std::vector<std::string>& columns) {
  return std::make_unique<DelimitedRow>(path, format, columns);
}

std::unique_ptr<TextRow> NewFixedRow(const std::string& path, const TextFormat& format,
                                     const std::vector<std::string>& columns) {
  return std::make_unique<FixedRow>(path, format, columns);
}

std::string WrittenRowDelimiter(const TextFormat& format) {
  if (format.rowDelimiter.empty()) return "\r\n";
  const bool none = format.layout == TextLayout::Fixed && format.rowDelimiter == kNoRowDelimiter;
  return none ? "" : format.rowDelimiter;
}

std::string_view WrittenText(const ado::LoadValue& value, std::span<char> room) {
  char* const begin = room.data();
  char* const end = begin + room.size();
  switch (value.GetKind()) {
    case ado::LoadValue::Kind::Null: return {};
    case ado::LoadValue::Kind::Text: return value.Text();
    case ado::LoadValue::Kind::Integer:
      return {begin, std::to_chars(begin, end, value.Integer()).ptr};
    case ado::LoadValue::Kind::Real: return {begin, std::to_chars(begin, end, value.Real()).ptr};
  }
  return {};
}

void AppendQuoted(std::string_view value, char qualifier, std::string& text) {
  text += qualifier;
  for (const char c : value) text.append(c == qualifier ? 2 : 1, c);
  text += qualifier;
}

std::string UnwritableValue(const std::string& column, const std::string& reason) {
  return "the value of column \"" + column + "\" cannot be written: " + reason;
}

}  // namespace torvik::engine
