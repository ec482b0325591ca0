#include "platform/linux/tables/access/AccessValue.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstdio>

#include "platform/linux/tables/common/DecimalText.h"
#include "platform/linux/tables/common/LittleEndian.h"
#include "platform/linux/tables/common/SerialDate.h"
#include "platform/linux/text/Utf16.h"

namespace torvik {
namespace {

using enum AccessType;

/// The double of the same shortest text: 0.1 stays 0.1.
double Widened(float number) {
  std::array<char, 32> text;
  const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
  double wide = number;
  std::from_chars(text.data(), end, wide);
  return wide;
}

std::string CurrencyText(std::string_view bytes) {
  const auto amount = LittleEndian<std::int64_t>(bytes);
  const auto unsignedAmount = static_cast<std::uint64_t>(amount);
  std::uint64_t magnitude = amount < 0 ? 0 - unsignedAmount : unsignedAmount;
  std::string digits(sizeof magnitude, '\0');
  for (char& byte : digits) {
    byte = static_cast<char>(magnitude & 0xFF);
    magnitude >>= 8;
  }
  return DecimalText(digits, amount < 0, 4);
}

/// A sign, then four words of which the first is the highest.
std::string NumericText(std::string_view bytes, int scale) {
  constexpr std::size_t kWord = 4;
  std::string magnitude;
  for (std::size_t word = 4; word > 0; --word)
    magnitude += bytes.substr(1 + (word - 1) * kWord, kWord);
  return DecimalText(magnitude, (bytes[0] & 0x80) != 0, scale);
}

/// As SQL Server writes it: the first three groups are numbers, the lowest byte first.
std::string GuidText(std::string_view bytes) {
  constexpr int order[] = {3, 2, 1, 0, -1, 5, 4, -1, 7, 6, -1, 8, 9, -1, 10, 11, 12, 13, 14, 15};
  std::string text;
  for (const int position : order) {
    char digits[4] = "-";
    if (position >= 0)
      std::snprintf(digits, sizeof digits, "%02X",
                    static_cast<unsigned char>(bytes[static_cast<std::size_t>(position)]));
    text += digits;
  }
  return text;
}

/// Compressed text begins with a mark; each zero changes between characters of one byte and of two.
std::u16string Decompressed(std::string_view bytes) {
  std::u16string text;
  bool isCompressed = true;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    if (byte == 0) {
      isCompressed = !isCompressed;
    } else if (isCompressed) {
      text += static_cast<char16_t>(byte);
    } else if (++i < bytes.size()) {
      text += static_cast<char16_t>(byte | static_cast<unsigned char>(bytes[i]) << 8);
    }
  }
  return text;
}

std::string TextOf(std::string_view bytes, const CodePage* codePage) {
  if (codePage) return codePage->Decode(bytes);
  if (bytes.starts_with("\xFF\xFE")) return FromUtf16(Decompressed(bytes.substr(2)));
  std::u16string text;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
    text += static_cast<char16_t>(LittleEndian<std::int16_t>(bytes.substr(i)));
  return FromUtf16(text);
}

/// How many bytes a value of the type has at least.
std::size_t LeastSize(AccessType type) {
  switch (type) {
    case Byte: return 1;
    case Integer: return 2;
    case LongInteger:
    case Single:
    case Complex: return 4;
    case Currency:
    case Double:
    case DateTime:
    case BigInteger: return 8;
    case Guid: return 16;
    case Numeric: return 17;
    default: return 0;
  }
}

}  // namespace

std::string DeclaredAccessType(AccessType type, int size, int bytesPerCharacter, int precision,
                               int scale) {
  switch (type) {
    case Boolean: return "BIT";
    case Byte: return "TINYINT";
    case Integer: return "SMALLINT";
    case LongInteger:
    case Complex: return "INT";
    case Currency: return "MONEY";
    case Single: return "REAL";
    case Double: return "FLOAT";
    case DateTime: return "DATETIME";
    case Binary: return "VARBINARY(" + std::to_string(size) + ")";
    case Text: return "NVARCHAR(" + std::to_string(size / bytesPerCharacter) + ")";
    case Memo: return "NTEXT";
    case Guid: return "UNIQUEIDENTIFIER";
    case Numeric:
      return "DECIMAL(" + std::to_string(precision) + ", " + std::to_string(scale) + ")";
    case BigInteger: return "BIGINT";
    default: return "IMAGE";
  }
}

std::optional<ado::Value> AccessValue(AccessType type, std::string_view bytes, int scale,
                                      const CodePage* codePage) {
  if (bytes.size() < LeastSize(type)) return {};
  switch (type) {
    case Byte: return static_cast<unsigned char>(bytes[0]);
    case Integer: return LittleEndian<std::int16_t>(bytes);
    case LongInteger:
    case Complex: return LittleEndian<std::int32_t>(bytes);
    case BigInteger: return LittleEndian<std::int64_t>(bytes);
    case Currency: return CurrencyText(bytes);
    case Single: return Widened(std::bit_cast<float>(LittleEndian<std::int32_t>(bytes)));
    case Double: return std::bit_cast<double>(LittleEndian<std::int64_t>(bytes));
    case DateTime: return OleDateText(std::bit_cast<double>(LittleEndian<std::int64_t>(bytes)));
    case Text:
    case Memo: return TextOf(bytes, codePage);
    case Guid: return GuidText(bytes);
    case Numeric: return NumericText(bytes, scale);
    default: return ado::Blob{std::string(bytes)};
  }
}

}  // namespace torvik
