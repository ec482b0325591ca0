#include "engine/pump/TextFormat.h"

#include <algorithm>

#include "engine/pump/RowError.h"

namespace torvik::engine {
namespace {

/// So that a row of the longest characters can be read.
constexpr std::size_t kMaxRowCharacters = std::size_t{4} << 20;

}  // namespace

void CheckDelimiters(const std::string& path, const TextFormat& format) {
  const std::string& column = format.columnDelimiter;
  const std::string& row = format.rowDelimiter;
  const std::string& qualifier = format.textQualifier;
  const char rowStart = row.empty() ? '\n' : row[0];
  if (column.empty()) throw RowError::BadFormat(path, "the column delimiter is empty");
  if (column == row || (row.empty() && (column == "\n" || column == "\r\n")))
    throw RowError::BadFormat(path, "the column delimiter also ends rows");
  if (qualifier.size() > 1 || (!qualifier.empty() && (qualifier[0] & 0x80) != 0))
    throw RowError::BadFormat(path, "the text qualifier is not one ASCII character");
  if (!qualifier.empty() && (column[0] == qualifier[0] || rowStart == qualifier[0]))
    throw RowError::BadFormat(path, "the text qualifier also begins a delimiter");
}

std::size_t FixedRowLength(const std::string& path, const TextFormat& format) {
  const std::vector<std::size_t>& lengths = format.columnLengths;
  if (lengths.empty())
    throw RowError::BadFormat(path, "fixed-width text needs the property \"Column Lengths\"");
  if (!format.columnNames.empty() && format.columnNames.size() != lengths.size())
    throw RowError::BadFormat(path, "there are " + std::to_string(format.columnNames.size()) +
                                        " column names and " + std::to_string(lengths.size()) +
                                        " column lengths; give as many of both");
  std::size_t length = 0;
  for (const std::size_t one : lengths) {
    length += std::min(one, kMaxRowCharacters + 1);
    if (one == 0 || length > kMaxRowCharacters)
      throw RowError::BadFormat(path, "a column length of " + std::to_string(one) +
                                          " cannot be; a row has up to " +
                                          std::to_string(kMaxRowCharacters) + " characters");
  }
  return length;
}

}  // namespace torvik::engine
