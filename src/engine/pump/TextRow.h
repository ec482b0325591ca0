#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/pump/TextFormat.h"
#include "platform/Bulk.h"

namespace torvik::engine {

/// Writes rows as text in UTF-8, in one of the two layouts.
class TextRow {
 public:
  virtual ~TextRow() = default;

  /// Appends a row and its end. Answers why it cannot be written, empty when it was: `text` then
  /// holds part of it.
  virtual std::string Append(std::span<const ado::LoadValue> values, std::string& text) = 0;
};

/// `columns` are their names, for messages. Throws RowError when the format makes no sense.
std::unique_ptr<TextRow> NewDelimitedRow(const std::string& path, const TextFormat& format,
                                         const std::vector<std::string>& columns);
std::unique_ptr<TextRow> NewFixedRow(const std::string& path, const TextFormat& format,
                                     const std::vector<std::string>& columns);

/// What ends the rows of a file that is written.
std::string WrittenRowDelimiter(const TextFormat& format);

/// A value's text: that of a number in `room`, of NULL an empty one.
std::string_view WrittenText(const ado::LoadValue& value, std::span<char> room);
constexpr std::size_t kNumberCharacters = 32;

/// Appends the value between qualifiers, those inside doubled.
void AppendQuoted(std::string_view value, char qualifier, std::string& text);

/// `column "name": reason`.
std::string UnwritableValue(const std::string& column, const std::string& reason);

}  // namespace torvik::engine
