#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/Ado.h"

namespace torvik {
class CodePages;
class Files;
}  // namespace torvik

namespace torvik::engine {

class RowBatch;

/// Where a pump's rows come from. What fails throws PlatformError, whose text names the file, line,
/// column and reason, or holds the driver's own words.
class RowSource {
 public:
  virtual ~RowSource() = default;

  /// The columns that every row has, in their order.
  virtual const std::vector<std::string>& Columns() const = 0;

  /// Replaces the batch's rows by the next ones; false when there are none left.
  virtual bool Fetch(RowBatch& batch) = 0;

  /// Where a row of the last batches stands, for messages: "airports.csv, line 12". May be asked
  /// while another thread fetches.
  virtual std::string PlaceOf(const RowBatch& batch, std::size_t row) const = 0;

  /// True when Fetch may run on a thread of its own while the destination loads.
  virtual bool CanReadAhead() const = 0;
};

/// How a delimited text file is written.
struct DelimitedFormat {
  std::string columnDelimiter = ",";
  std::string rowDelimiter = {};     ///< Empty: LF or CR LF, whichever a line ends in.
  std::string textQualifier = "\"";  ///< One character, doubled inside a value; empty: none.
  bool firstRowColumnName = false;
  int skipRows = 0;  ///< Lines before the header line or the first row.
  std::vector<std::string> columnNames =
      {};                          ///< Of a file without a header line; empty: Col001, Col002, ...
  std::string encoding = "utf-8";  ///< "utf-8" (byte-order mark or not), "windows-1252".
};

/// Opens a delimited text file and reads its header line or first row. An unquoted empty value is
/// NULL, a quoted one the empty text. Empty lines at the file's end are none, unless the file has
/// one column: there every empty line is a row whose value is NULL. A column whose header is empty
/// gets its number for a name, as Col003. A file without header line, columnNames and rows has no
/// columns.
std::unique_ptr<RowSource> OpenDelimitedText(Files& files, const CodePages& codePages,
                                             const std::string& path,
                                             const DelimitedFormat& format);

/// The rows of a query. `connection` must outlive the source.
std::unique_ptr<RowSource> OpenQuerySource(ado::Connection& connection, const std::string& sql);

}  // namespace torvik::engine
