#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Ado.h"
#include "platform/PlatformError.h"

namespace torvik {

/// The rows of one table of a file, read one after the other. Columns count from 0. What cannot be
/// read throws PlatformError.
class FileRows {
 public:
  virtual ~FileRows() = default;

  /// Goes on to the next row, at first to the first one; false when there is none.
  virtual bool Step() = 0;

  /// A value of the row gone to.
  virtual ado::Value Column(int column) = 0;

  /// Where the row gone to stands. It stays the same as long as the file is not written.
  virtual std::int64_t Place() const = 0;
  virtual void GoTo(std::int64_t place) = 0;
};

/// One table of a file. Rows that are read at the same time do not disturb each other.
class FileTable {
 public:
  virtual ~FileTable() = default;

  virtual const std::string& Name() const = 0;
  /// At least one, no two of the same name, letter case aside. The declared types are those that
  /// ColumnOfType takes.
  virtual const std::vector<ado::Column>& Columns() const = 0;
  /// About how many rows there are.
  virtual std::int64_t RowEstimate() const = 0;
  virtual std::unique_ptr<FileRows> Open() const = 0;
};

/// A file that holds tables, open for reading.
class TableFile {
 public:
  virtual ~TableFile() = default;

  /// The tables that a list of the file's tables shows.
  virtual std::vector<const FileTable*> Tables() const = 0;

  /// A table by another name than its own, letter case aside: a part of one, or a shorter name.
  /// Null when the name means nothing here. It lives as long as the file.
  virtual const FileTable* FindByOtherName(const std::string& name) = 0;
};

/// An error about a file of tables: "PATH REASON".
PlatformError TableFileError(const std::string& path, const std::string& reason);

}  // namespace torvik
