#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/pump/TextFormat.h"
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

  /// Replaces the batch's rows by the next ones, bad ones among them; false when there are none
  /// left. A row that cannot be read is one of the batch's bad rows.
  virtual bool Fetch(RowBatch& batch) = 0;

  /// Where a row of the last batches stands, for messages: "airports.csv, line 12". May be asked
  /// while another thread fetches.
  virtual std::string PlaceOf(const RowBatch& batch, std::size_t row) const = 0;

  /// The bytes that name the columns, as they stand before the first row, so that rows put behind
  /// them can be read again; empty when the source has none.
  virtual std::string Header() const { return {}; }
  /// The bytes that a row ends with.
  virtual std::string RowEnd() const { return "\n"; }

  /// The rows as a query that nothing has been fetched from yet; null when they come from
  /// elsewhere.
  virtual ado::BulkRead* Query() { return nullptr; }

  /// True when Fetch may run on a thread of its own while the destination loads.
  virtual bool CanReadAhead() const = 0;
};

/// Opens a text file, which may be compressed or a pipe, and reads its header line or first row.
///
/// Delimited: an unquoted empty value is NULL, a quoted one the empty text. Fixed-width: blanks at
/// a value's end are none of it, a value of blanks alone is NULL; a row may end behind any column,
/// then the others are NULL, or inside the last one.
///
/// A row that cannot be read becomes a bad row of its batch, which may then have no others. It goes
/// on behind the next row delimiter, whatever quotes say; a qualifier that is never closed takes
/// all that follows; of a row longer than 16 MiB the first 64 KiB are kept. Empty lines at the
/// file's end (up to a thousand) are none, unless the file has one column: there every empty line
/// is a row whose value is NULL.
///
/// A column whose header is empty gets its number for a name, as Col003. A file without header
/// line, columnNames and rows has no columns. Throws RowError when the file, its header line or
/// every row of its first block cannot be read and for a format that makes no sense.
std::unique_ptr<RowSource> OpenTextSource(Files& files, const CodePages& codePages,
                                          const std::string& path, const TextFormat& format);

/// The rows of a query, which the server begins to read with the first one. `connection` must
/// outlive the source. `alongside`: it runs other statements while the rows are read, so that all
/// of this belongs on one thread.
std::unique_ptr<RowSource> OpenQuerySource(ado::Connection& connection, const std::string& sql,
                                           bool alongside);

}  // namespace torvik::engine
