#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string_view>

#include "platform/Bulk.h"

namespace torvik {

/// Bytes on their way to the server. Room is asked for once for a row, then written without a look
/// at its end.
class PgCopyBuffer {
 public:
  std::string_view Bytes() const { return {data_.get(), size_}; }
  void Clear() { size_ = 0; }

  /// Where the next bytes go; there is room for that many.
  char* Room(std::size_t bytes);
  void SetEnd(const char* end) { size_ = static_cast<std::size_t>(end - data_.get()); }
  void Append(std::string_view bytes);

 private:
  std::unique_ptr<char[]> data_;
  std::size_t size_ = 0, capacity_ = 0;
};

/// What stands before and behind the rows of COPY's binary format.
constexpr std::string_view kPgBinaryHead("PGCOPY\n\377\r\n\0\0\0\0\0\0\0\0\0", 19);
constexpr std::string_view kPgBinaryEnd("\377\377", 2);

/// True for a type, by its number in the catalogue, whose values AddBinaryRow can send.
bool HasPgBinaryForm(unsigned type);

/// Adds a row for columns of these types in COPY's binary format. False, and nothing is added, when
/// a value is not in the plain form of its type: the server may still read it as text.
bool AddPgBinaryRow(std::span<const unsigned> types, std::span<const ado::LoadValue> row,
                    PgCopyBuffer& out);

/// Adds a row in COPY's text format.
void AddPgTextRow(std::span<const unsigned> types, std::span<const ado::LoadValue> row,
                  PgCopyBuffer& out);

}  // namespace torvik
