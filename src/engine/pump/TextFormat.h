#pragma once

#include <atomic>
#include <cstddef>
#include <string>
#include <vector>

#include "platform/Files.h"

namespace torvik::engine {

enum class TextLayout { Delimited, Fixed };

/// As a row delimiter of fixed-width text: the rows follow each other without one.
inline constexpr char kNoRowDelimiter[] = "none";
/// As an encoding: that of the file's byte-order mark, else utf-8.
inline constexpr char kDetectEncoding[] = "auto";

/// How a text file is written.
struct TextFormat {
  std::string columnDelimiter = ",";
  /// Empty: LF or CR LF, whichever a line ends in; a file that is written gets CR LF.
  std::string rowDelimiter = {};
  std::string textQualifier = "\"";  ///< One character, doubled inside a value; empty: none.
  bool firstRowColumnName = false;
  int skipRows = 0;  ///< Lines before the header line or the first row.
  /// Of a file without a header line; empty: Col001, Col002, ...
  std::vector<std::string> columnNames = {};
  std::string encoding = "utf-8";  ///< Any that the platform knows, or kDetectEncoding.
  TextLayout layout = TextLayout::Delimited;
  std::vector<std::size_t> columnLengths = {};  ///< Of fixed-width text, in characters.
  Compression compression = Compression::Auto;
  bool quoteAll = false;  ///< Writing: a qualifier around every value that is not NULL.
  bool append = false;    ///< Writing: behind what the file holds already.
  /// Gives a wait for the other end of a pipe up; null: nobody does.
  const std::atomic<bool>* cancelled = nullptr;
};

/// Throws RowError when the delimiters and the qualifier cannot be told apart.
void CheckDelimiters(const std::string& path, const TextFormat& format);

/// How many characters a row of fixed-width text has. Throws RowError when the lengths are missing,
/// 0, or so many that a row could not be read.
std::size_t FixedRowLength(const std::string& path, const TextFormat& format);

}  // namespace torvik::engine
