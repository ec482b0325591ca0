#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/Bulk.h"

namespace torvik {
class CodePages;
class Files;
namespace ado {
class Connection;
}
}  // namespace torvik

namespace torvik::engine {

class RowBatch;

/// One row on its way through the transformations.
struct TransformedRow {
  std::span<const ado::LoadValue> source;  ///< All values of the source row.
  RowBatch& batch;                         ///< Keeps the texts that are made.
};

/// Makes a destination's value from the value so far: at first that of the source column, then what
/// the transformation before has made.
class Transformation {
 public:
  virtual ~Transformation() = default;

  /// Changes `value`; answers why it cannot ("has no date of the form dd.MM.yyyy"), empty when it
  /// can. When it cannot, `value` is what is at fault. What is not the row's fault throws
  /// PlatformError.
  virtual std::string Apply(const TransformedRow& row, ado::LoadValue& value) = 0;
};

enum class TrimSide { Both, Left, Right };
enum class LetterCase { Upper, Lower };

std::unique_ptr<Transformation> NewTrim(TrimSide side);

/// Letters of every alphabet that the C++ library's simple case mapping knows.
std::unique_ptr<Transformation> NewLetterCase(LetterCase letterCase);

/// `length` characters from the one at `start`, which counts from 1; fewer when the text ends.
std::unique_ptr<Transformation> NewSubstring(std::size_t start, std::size_t length);

/// Reads a date by one picture and writes it by another. Throws when a picture is not one.
std::unique_ptr<Transformation> NewDateTimeFormat(const std::string& from, const std::string& to);

std::unique_ptr<Transformation> NewConstant(std::string value);

/// A text that is one of `values` becomes NULL.
std::unique_ptr<Transformation> NewNullIf(std::vector<std::string> values);

/// A value looked up by a query.
struct Lookup {
  ado::Connection& connection;
  std::string sql;                ///< One `?` for each of `keys`; its first column is the answer.
  std::vector<std::size_t> keys;  ///< Positions of source columns; empty: the value so far.
  std::size_t cacheSize = 0;      ///< How many answers are remembered.
  bool mustExist = false;         ///< No row is an error, else NULL.
};
std::unique_ptr<Transformation> NewLookup(Lookup lookup);

/// Where the files of a transformation lie and what is in them.
struct ColumnFiles {
  Files& files;
  std::string directory;  ///< With a trailing separator; names may not lead out of it.
  const CodePages& codePages;
  std::string encoding;  ///< "binary": bytes as they are.
};

/// The content of the file that the value names. Throws PlatformError when the encoding is not
/// known.
std::unique_ptr<Transformation> NewReadFile(const ColumnFiles& place);

/// What is done with a file that is there already.
enum class FileMode {
  Append,   ///< What is written comes behind what it holds.
  Replace,  ///< The pump's first row for it writes it anew, the others add to it.
  Error,    ///< The row is an error.
};

/// Writes the value to the file that the source column at `nameColumn` names; the value becomes
/// that name. A value that is NULL writes nothing, and with Replace leaves no file of that name,
/// unless an earlier row has written it. Throws PlatformError when the encoding is not known.
std::unique_ptr<Transformation> NewWriteFile(const ColumnFiles& place, std::size_t nameColumn,
                                             FileMode mode);

}  // namespace torvik::engine
