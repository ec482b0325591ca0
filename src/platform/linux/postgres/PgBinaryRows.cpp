// COPY's binary format: each value as its length and its bytes, numbers in network byte order.

#include <endian.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "platform/NumberText.h"
#include "platform/Text.h"
#include "platform/linux/postgres/PgCopyRows.h"

namespace torvik {
namespace {

constexpr std::size_t kRoomOfNumber = 40;
constexpr std::size_t kMostDigits = 1000;
constexpr std::uint32_t kNull = 0xFFFFFFFF;

char* Put16(char* to, std::uint16_t value) {
  value = htobe16(value);
  std::memcpy(to, &value, sizeof value);
  return to + sizeof value;
}
char* Put32(char* to, std::uint32_t value) {
  value = htobe32(value);
  std::memcpy(to, &value, sizeof value);
  return to + sizeof value;
}
char* Put64(char* to, std::uint64_t value) {
  value = htobe64(value);
  std::memcpy(to, &value, sizeof value);
  return to + sizeof value;
}

template <typename Number>
bool ReadNumber(std::string_view text, Number& number) {
  const auto read = NumberOf<Number>(text);
  if (read) number = *read;
  return read.has_value();
}

/// The number that `count` digits make; below 0 when one of them is none.
int Digits(const char* text, int count) {
  int number = 0;
  for (int i = 0; i < count; ++i) {
    if (!IsDigit(text[i])) return -1;
    number = number * 10 + (text[i] - '0');
  }
  return number;
}

/// Days from 1 January 2000, for "2001-01-08".
bool ReadDay(std::string_view text, std::int64_t& day) {
  using namespace std::chrono;
  if (text.size() != 10 || text[4] != '-' || text[7] != '-') return false;
  const int y = Digits(text.data(), 4), m = Digits(text.data() + 5, 2),
            d = Digits(text.data() + 8, 2);
  if (y < 1 || m < 1 || d < 1) return false;
  const year_month_day date{year(y), month(static_cast<unsigned>(m)),
                            std::chrono::day(static_cast<unsigned>(d))};
  if (!date.ok()) return false;
  day = (sys_days(date) - sys_days(2000y / 1 / 1)).count();
  return true;
}

/// Microseconds from 1 January 2000, for "2001-01-08 09:10:11.25" and for a day alone.
bool ReadMoment(std::string_view text, std::int64_t& moment) {
  std::int64_t day = 0;
  if (!ReadDay(text.substr(0, 10), day)) return false;
  moment = day * 86'400'000'000;
  if (text.size() == 10) return true;
  if (text.size() < 19 || (text[10] != ' ' && text[10] != 'T') || text[13] != ':' ||
      text[16] != ':')
    return false;
  const int h = Digits(text.data() + 11, 2), m = Digits(text.data() + 14, 2),
            s = Digits(text.data() + 17, 2);
  if (h < 0 || h > 23 || m < 0 || m > 59 || s < 0 || s > 59) return false;
  moment += (h * 3600LL + m * 60 + s) * 1'000'000;
  if (text.size() == 19) return true;
  const std::size_t digits = text.size() - 20;
  if (text[19] != '.' || digits < 1 || digits > 6) return false;
  int fraction = Digits(text.data() + 20, static_cast<int>(digits));
  if (fraction < 0) return false;
  for (std::size_t i = digits; i < 6; ++i) fraction *= 10;
  moment += fraction;
  return true;
}

bool ReadTruth(std::string_view text, bool& truth) {
  truth = text == "1" || text == "t" || text == "true";
  return truth || text == "0" || text == "f" || text == "false";
}

/// A decimal in groups of four digits; null when the text is none.
char* PutDecimal(char* to, std::string_view text) {
  const bool isNegative = !text.empty() && text[0] == '-';
  if (isNegative) text.remove_prefix(1);
  const std::size_t point = std::min(text.find('.'), text.size());
  std::string_view whole = text.substr(0, point);
  const std::string_view fraction = text.substr(std::min(point + 1, text.size()));
  if (whole.empty() || text.size() > kMostDigits || (point < text.size() && fraction.empty()) ||
      !std::all_of(whole.begin(), whole.end(), IsDigit) ||
      !std::all_of(fraction.begin(), fraction.end(), IsDigit))
    return nullptr;
  whole.remove_prefix(std::min(whole.find_first_not_of('0'), whole.size()));
  const std::size_t wholeGroups = (whole.size() + 3) / 4, groups = (fraction.size() + 3) / 4;
  to = Put32(to, static_cast<std::uint32_t>(8 + 2 * (wholeGroups + groups)));
  to = Put16(to, static_cast<std::uint16_t>(wholeGroups + groups));
  to = Put16(to, static_cast<std::uint16_t>(wholeGroups - 1));
  to = Put16(to, isNegative ? 0x4000 : 0);
  to = Put16(to, static_cast<std::uint16_t>(fraction.size()));
  for (std::size_t at = 0; at < whole.size();) {
    const std::size_t count = (whole.size() - at - 1) % 4 + 1;
    to = Put16(to, static_cast<std::uint16_t>(Digits(whole.data() + at, static_cast<int>(count))));
    at += count;
  }
  for (std::size_t at = 0; at < fraction.size(); at += 4) {
    const int count = static_cast<int>(std::min<std::size_t>(4, fraction.size() - at));
    int group = Digits(fraction.data() + at, count);
    for (int i = count; i < 4; ++i) group *= 10;
    to = Put16(to, static_cast<std::uint16_t>(group));
  }
  return to;
}

template <typename Number>
char* PutInteger(char* to, std::int64_t number) {
  if (number < std::numeric_limits<Number>::min() || number > std::numeric_limits<Number>::max())
    return nullptr;
  to = Put32(to, sizeof(Number));
  if constexpr (sizeof(Number) == 2) return Put16(to, static_cast<std::uint16_t>(number));
  if constexpr (sizeof(Number) == 4) return Put32(to, static_cast<std::uint32_t>(number));
  return Put64(to, static_cast<std::uint64_t>(number));
}

template <typename Real, typename Bits>
char* PutReal(char* to, Real number) {
  if (!std::isfinite(number)) return nullptr;
  Bits bits = 0;
  std::memcpy(&bits, &number, sizeof bits);
  to = Put32(to, sizeof bits);
  if constexpr (sizeof bits == 4) return Put32(to, bits);
  return Put64(to, bits);
}

char* PutSingle(char* to, float number) {
  return PutReal<float, std::uint32_t>(to, number);
}
char* PutDouble(char* to, double number) {
  return PutReal<double, std::uint64_t>(to, number);
}

char* PutTruth(char* to, bool truth) {
  to = Put32(to, 1);
  *to++ = truth ? 1 : 0;
  return to;
}

char* PutBytes(char* to, std::string_view bytes) {
  to = Put32(to, static_cast<std::uint32_t>(bytes.size()));
  if (!bytes.empty()) std::memcpy(to, bytes.data(), bytes.size());
  return to + bytes.size();
}

char* PutText(char* to, unsigned type, std::string_view text) {
  std::int64_t count = 0;
  bool truth = false;
  float single = 0;
  double real = 0;
  switch (type) {
    case 16: return ReadTruth(text, truth) ? PutTruth(to, truth) : nullptr;
    case 20: return ReadNumber(text, count) ? PutInteger<std::int64_t>(to, count) : nullptr;
    case 21: return ReadNumber(text, count) ? PutInteger<std::int16_t>(to, count) : nullptr;
    case 23: return ReadNumber(text, count) ? PutInteger<std::int32_t>(to, count) : nullptr;
    case 700: return ReadNumber(text, single) ? PutSingle(to, single) : nullptr;
    case 701: return ReadNumber(text, real) ? PutDouble(to, real) : nullptr;
    case 1082:
      if (!ReadDay(text, count)) return nullptr;
      return Put32(Put32(to, 4), static_cast<std::uint32_t>(count));
    case 1114:
      if (!ReadMoment(text, count)) return nullptr;
      return Put64(Put32(to, 8), static_cast<std::uint64_t>(count));
    case 1700: return PutDecimal(to, text);
    default: return PutBytes(to, text);
  }
}

template <typename Number>
char* PutNumberText(char* to, unsigned type, Number number) {
  char text[kRoomOfNumber];
  const auto end = std::to_chars(text, text + sizeof text, number).ptr;
  return PutText(to, type, {text, static_cast<std::size_t>(end - text)});
}

char* PutWhole(char* to, unsigned type, std::int64_t number) {
  switch (type) {
    case 20: return PutInteger<std::int64_t>(to, number);
    case 21: return PutInteger<std::int16_t>(to, number);
    case 23: return PutInteger<std::int32_t>(to, number);
    case 701: return PutDouble(to, static_cast<double>(number));
    default: return PutNumberText(to, type, number);
  }
}

/// Null when the value is not in the plain form of its type.
char* PutBinary(char* to, unsigned type, const ado::LoadValue& value) {
  switch (value.GetKind()) {
    case ado::LoadValue::Kind::Null: return Put32(to, kNull);
    case ado::LoadValue::Kind::Text: return PutText(to, type, value.Text());
    case ado::LoadValue::Kind::Integer: return PutWhole(to, type, value.Integer());
    case ado::LoadValue::Kind::Real: break;
  }
  return type == 701 ? PutDouble(to, value.Real()) : PutNumberText(to, type, value.Real());
}

}  // namespace

bool HasPgBinaryForm(unsigned type) {
  switch (type) {
    case 16:
    case 17:
    case 20:
    case 21:
    case 23:
    case 25:
    case 700:
    case 701:
    case 1042:
    case 1043:
    case 1082:
    case 1114:
    case 1700: return true;
    default: return false;
  }
}

bool AddPgBinaryRow(std::span<const unsigned> types, std::span<const ado::LoadValue> row,
                    PgCopyBuffer& out) {
  std::size_t room = sizeof(std::uint16_t);
  for (const ado::LoadValue& value : row)
    room += kRoomOfNumber + (value.IsText() ? value.Text().size() : 0);
  char* to = Put16(out.Room(room), static_cast<std::uint16_t>(row.size()));
  for (std::size_t i = 0; i < row.size(); ++i) {
    to = PutBinary(to, types[i], row[i]);
    if (to == nullptr) return false;
  }
  out.SetEnd(to);
  return true;
}

}  // namespace torvik
