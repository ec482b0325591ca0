#include "platform/linux/sqlite/SqliteRecord.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <utility>

#include "platform/Text.h"
#include "platform/linux/sqlite/SqliteVarint.h"

namespace torvik {
namespace {

// Serial types.
constexpr std::uint64_t kNull = 0, kInteger64 = 6, kReal = 7, kZero = 8, kBytes = 12, kText = 13;
constexpr std::size_t kNumberSizes[] = {0, 1, 2, 3, 4, 6, 8, 8, 0, 0};

std::size_t SizeOf(std::uint64_t type) {
  return type >= kBytes ? (type - kBytes) / 2 : kNumberSizes[type];
}

std::uint64_t TypeOf(std::int64_t number) {
  if (number == 0 || number == 1) return kZero + static_cast<std::uint64_t>(number);
  const int bits = 65 - std::countl_zero(static_cast<std::uint64_t>(number < 0 ? ~number : number));
  if (bits <= 32) return static_cast<std::uint64_t>(bits + 7) / 8;
  return bits <= 48 ? 5 : kInteger64;
}

/// SQLite keeps a real number without a fraction as a whole one, but for the two outermost.
bool IsKeptWhole(double real) {
  constexpr double kEnd = 9223372036854775808.0;  // 2^63
  return real > -kEnd && real < kEnd && std::trunc(real) == real;
}

/// Each answers whether the column keeps the value as it is.
struct FieldSink {
  const SqliteRecord::Column& column;
  SqliteRecord::Field& field;

  bool Null() const {
    field.type = kNull;
    return column.isNullable;
  }
  bool Integer(std::int64_t number) const {
    field.type = TypeOf(number);
    field.bits = static_cast<std::uint64_t>(number);
    // Where a column of real numbers has one that is whole, it is kept so while that saves space.
    if (column.affinity == SqliteAffinity::Real && field.type == kInteger64)
      SetReal(static_cast<double>(number));
    return column.affinity != SqliteAffinity::Text;
  }
  bool Real(double number) const {
    if (std::isnan(number)) return false;
    if (column.affinity != SqliteAffinity::None && IsKeptWhole(number))
      return Integer(static_cast<std::int64_t>(number));
    SetReal(number);
    return column.affinity != SqliteAffinity::Text;
  }
  bool Text(const char* data, std::size_t size) const {
    field = {kText + 2 * size, 0, data};
    const bool isKept =
        column.affinity == SqliteAffinity::None || column.affinity == SqliteAffinity::Text;
    return isKept || !MayBeNumber({data, size});
  }
  bool Bytes(const char* data, std::size_t size) const {
    field = {kBytes + 2 * size, 0, data};
    return true;
  }

 private:
  void SetReal(double number) const {
    field.type = kReal;
    field.bits = std::bit_cast<std::uint64_t>(number);
  }
};

}  // namespace

SqliteAffinity AffinityOf(std::string_view declaredType) {
  const std::string type = LowerAscii(declaredType);
  const auto has = [&](const char* part) { return type.find(part) != std::string::npos; };
  if (has("int")) return SqliteAffinity::Number;
  if (has("char") || has("clob") || has("text")) return SqliteAffinity::Text;
  if (has("blob") || type.empty()) return SqliteAffinity::None;
  if (has("real") || has("floa") || has("doub")) return SqliteAffinity::Real;
  return SqliteAffinity::Number;
}

bool MayBeNumber(std::string_view text) {
  constexpr std::string_view kOthers = "+-.eE \t\n\v\f\r";
  bool hasDigit = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (IsDigit(c)) {
      hasDigit = true;
    } else if (kOthers.find(c) == std::string_view::npos ||
               ((c == '-' || c == '+') && i > 0 && IsDigit(text[i - 1]))) {
      return false;
    }
  }
  return hasDigit;
}

SqliteRecord::SqliteRecord(std::vector<Column> columns)
    : columns_(std::move(columns)), fields_(columns_.size()) {}

bool SqliteRecord::Take(std::span<const ado::LoadValue> row) {
  std::size_t types = 0, body = 0;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    const Column& column = columns_[i];
    if (!StoreValue(row[column.value], column.storage, FieldSink{column, fields_[i]})) return false;
    types += SqliteVarintSize(fields_[i].type);
    body += SizeOf(fields_[i].type);
  }
  // The header's size counts itself.
  headerSize_ = types + SqliteVarintSize(types);
  if (SqliteVarintSize(headerSize_) > SqliteVarintSize(types)) ++headerSize_;
  size_ = headerSize_ + body;
  return true;
}

unsigned char* SqliteRecord::WriteTo(unsigned char* at) const {
  at = WriteSqliteVarint(headerSize_, at);
  for (const Field& field : fields_) at = WriteSqliteVarint(field.type, at);
  for (const Field& field : fields_) {
    const std::size_t size = SizeOf(field.type);
    if (field.type < kBytes) {
      at = WriteSqliteNumber(field.bits, size, at);
    } else if (size > 0) {
      std::memcpy(at, field.data, size);
      at += size;
    }
  }
  return at;
}

}  // namespace torvik
