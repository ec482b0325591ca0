#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/Ado.h"
#include "platform/CodePage.h"

namespace torvik {

/// The types of an Access column by their numbers in the file.
enum class AccessType : int {
  Boolean = 0x01,
  Byte = 0x02,
  Integer = 0x03,
  LongInteger = 0x04,
  Currency = 0x05,
  Single = 0x06,
  Double = 0x07,
  DateTime = 0x08,
  Binary = 0x09,
  Text = 0x0A,
  OleObject = 0x0B,
  Memo = 0x0C,
  Guid = 0x0F,
  Numeric = 0x10,
  Complex = 0x12,
  BigInteger = 0x13
};

/// The column as SQL Server would declare it. `size` is in bytes, of which a character of text has
/// `bytesPerCharacter`; precision and scale are those of a Numeric.
std::string DeclaredAccessType(AccessType type, int size, int bytesPerCharacter, int precision,
                               int scale);

/// The value of a column from the bytes that the row stores for it; those of a Memo or an OLE
/// object have been fetched. Text is in `codePage`, or in UTF-16 when that is null. Nothing when
/// these bytes cannot be a value of that type. Not for a Boolean, which has no bytes.
std::optional<ado::Value> AccessValue(AccessType type, std::string_view bytes, int scale,
                                      const CodePage* codePage);

}  // namespace torvik
