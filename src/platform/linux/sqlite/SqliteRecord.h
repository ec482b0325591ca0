#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "platform/Ado.h"
#include "platform/linux/sqlite/SqliteLoadValue.h"

namespace torvik {

/// What SQLite turns a column's values into before it keeps them
/// (https://sqlite.org/datatype3.html, section 3); those of INTEGER and NUMERIC become the same.
enum class SqliteAffinity : unsigned char { None, Text, Number, Real };

/// That of a column declared so.
SqliteAffinity AffinityOf(std::string_view declaredType);

/// False only for what SQLite would surely not read as a number: text with a letter or the like, or
/// with a sign behind a digit, as dates have.
bool MayBeNumber(std::string_view text);

/// A row in the record format of SQLite's files (https://sqlite.org/fileformat2.html, 2.1). It
/// takes only what SQLite would keep as it is given, so that a record is the same as SQLite's own.
class SqliteRecord {
 public:
  struct Column {
    std::size_t value;  ///< Its place in the rows that are taken.
    SqliteStorage storage;
    SqliteAffinity affinity;
    bool isNullable;
  };

  /// `columns`: all of the table's, in its order.
  explicit SqliteRecord(std::vector<Column> columns);

  /// Takes a row, whose bytes must stay where they are until it is written. False when one of its
  /// values is for SQLite to look at: a missing one that must not be, a text that may be a number.
  bool Take(std::span<const ado::LoadValue> row);

  /// In bytes.
  std::size_t Size() const { return size_; }

  /// Writes the row that was taken last; answers where it ends.
  unsigned char* WriteTo(unsigned char* at) const;

  /// A value as its serial type says. Of a number its bits, else where its bytes are.
  struct Field {
    std::uint64_t type = 0;
    std::uint64_t bits = 0;
    const char* data = nullptr;
  };

 private:
  const std::vector<Column> columns_;
  std::vector<Field> fields_;
  std::size_t headerSize_ = 0, size_ = 0;
};

}  // namespace torvik
