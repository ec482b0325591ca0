#pragma once

#include <algorithm>
#include <string>
#include <utility>

#include "engine/pump/PumpTools.h"
#include "engine/pump/RowBatch.h"
#include "engine/pump/RowSource.h"
#include "engine/pump/text/RowScanner.h"
#include "platform/Text.h"

namespace torvik::engine {

/// The rows that a source still has: good ones as "a|NULL/", bad ones by their line: "!3/".
inline std::string RowsInShort(RowSource& source) {
  std::string rows;
  RowBatch batch;
  ReadInOrder(
      source, batch,
      [&](std::size_t row, const RowBatch& good) { rows += Joined(good.Row(row)) + "/"; },
      [&](const BadRow& bad) { rows += "!" + std::to_string(bad.origin.position) + "/"; });
  return rows;
}

/// What the scanner has found as a row of `width` columns in UTF-8, "!" where it is none.
inline std::string ScannedRow(RowScanner& scanner, std::size_t width, char qualifier) {
  std::string row;
  if (scanner.Fields().size() != width) return "!";
  for (const RawField& field : scanner.Fields()) {
    std::string value(field.begin, field.end);
    if (value.find('\0') != value.npos || ValidUtf8Length(value) != value.size()) return "!";
    std::size_t at = 0;
    while (field.doubled && (at = value.find(qualifier, at)) != value.npos) value.erase(at++, 1);
    row += (&field == scanner.Fields().data() ? "" : "|") +
           (value.empty() && !field.quoted ? "NULL" : value);
  }
  return row;
}

/// The rows of a text in short, one after the other as RowScanner finds them: the slow way to read
/// UTF-8 of `width` columns, which are more than one. Rows end in LF; `line` is the first one's.
inline std::string ScannedRows(RowScanner& scanner, std::string text, std::size_t width,
                               char qualifier, std::int64_t line = 1) {
  std::string rows, emptyLines;
  char* const end = text.data() + text.size();
  for (char *p = text.data(), *next = p; p < end; p = next) {
    RowScan scan = scanner.Scan(p, end, true);
    std::string row = "!";
    if (scan.outcome == RowScan::Outcome::Row) row = ScannedRow(scanner, width, qualifier);
    if (scan.outcome == RowScan::Outcome::TextAfterQuote)
      scan = scanner.SkipLine(scan.at, end, true);
    next = scan.outcome == RowScan::Outcome::Row ? scan.at : end;
    if (row == "!") row += std::to_string(line);
    row += "/";
    line += std::count(p, next, '\n');
    // Empty lines at the end are no rows.
    const std::string_view bytes(p, next);
    const bool isEmpty = bytes == "\n" || bytes == "\r\n";
    if (!isEmpty) rows += std::exchange(emptyLines, "");
    (isEmpty ? emptyLines : rows) += row;
  }
  return rows;
}

}  // namespace torvik::engine
