#include "platform/linux/odbc/OdbcCopyRule.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "platform/Text.h"
#include "platform/linux/odbc/OdbcLoadValue.h"

namespace torvik {
namespace {

/// Calls `takes` with a value as text; a number's is made for that.
template <class Takes>
bool TakesAsText(const ado::LoadValue& value, const Takes& takes) {
  return value.IsText() ? takes(value.Text()) : takes(TextOf(value));
}

/// Characters that code page 1252 has where Unicode has them: the driver and the server do not
/// agree on what stands for others.
bool IsLatin(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte < 0x80) continue;
    if (byte != 0xC2 && byte != 0xC3) return false;
    if (++i == text.size() || (byte == 0xC2 && static_cast<unsigned char>(text[i]) < 0xA0))
      return false;
  }
  return true;
}

bool IsPlain(std::string_view text) {
  return std::ranges::none_of(text, [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
}

}  // namespace

OdbcCopyRule::Type OdbcCopyRule::TypeOf(const ado::Column& column) {
  static constexpr struct {
    const char* name;
    Type type;
  } kTypes[] = {{"tinyint", Type::Byte},
                {"smallint", Type::Whole},
                {"int", Type::Whole},
                {"bigint", Type::Whole},
                {"bit", Type::Truth},
                {"real", Type::Real},
                {"float", Type::Double},
                {"decimal", Type::Decimal},
                {"numeric", Type::Decimal},
                {"money", Type::Money},
                {"smallmoney", Type::SmallMoney},
                {"date", Type::Date},
                {"datetime", Type::DateTime},
                {"smalldatetime", Type::SmallDateTime},
                {"datetime2", Type::DateTime2},
                {"nchar", Type::WideText},
                {"nvarchar", Type::WideText},
                {"char", Type::NarrowText},
                {"varchar", Type::NarrowText}};
  const std::string name = LowerAscii(column.declaredType.substr(0, column.declaredType.find('(')));
  const auto* found = std::ranges::find(kTypes, name, [](const auto& one) { return one.name; });
  if (found == std::end(kTypes)) return Type::None;
  // Without a limit the driver would set the longest value's room aside for each.
  const bool isText = found->type == Type::WideText || found->type == Type::NarrowText;
  return isText && column.size == 0 ? Type::None : found->type;
}

OdbcCopyRule::OdbcCopyRule(const ado::Column& column)
    : type_(TypeOf(column)),
      kind_(column.kind),
      nullable_(column.nullable),
      size_(static_cast<std::size_t>(column.size)),
      precision_(column.precision),
      scale_(column.scale),
      codePage_(column.codePage) {}

bool OdbcCopyRule::Takes(const ado::LoadValue& value) const {
  if (value.IsNull()) return nullable_;
  switch (type_) {
    case Type::None: return false;
    case Type::Whole:
    case Type::Byte:
    case Type::Truth: return TakesWhole(value);
    case Type::Real:
    case Type::Double: return TakesReal(value);
    case Type::Decimal:
    case Type::Money:
    case Type::SmallMoney:
      return TakesAsText(value, [this](std::string_view text) { return TakesDecimal(text); });
    case Type::Date:
    case Type::DateTime:
    case Type::SmallDateTime:
    case Type::DateTime2:
      return TakesAsText(value, [this](std::string_view text) { return TakesMoment(text); });
    case Type::WideText:
    case Type::NarrowText:
      return TakesAsText(value, [this](std::string_view text) { return TakesText(text); });
  }
  return false;
}

bool OdbcCopyRule::TakesWhole(const ado::LoadValue& value) const {
  std::int64_t number = 0;
  if (!ReadNumber(value, number)) return false;
  if (type_ == Type::Truth) return number == 0 || number == 1;
  if (type_ == Type::Byte) return number >= 0 && number <= 255;
  const std::size_t bits = 8 * size_ - 1;
  return size_ == 8 || (number >= -(1LL << bits) && number < (1LL << bits));
}

/// The server has neither infinities nor numbers below the normal ones.
bool OdbcCopyRule::TakesReal(const ado::LoadValue& value) const {
  double number = 0;
  if (!ReadNumber(value, number)) return false;
  const double size = std::abs(number);
  const bool isSingle = type_ == Type::Real;
  const double least = isSingle ? static_cast<double>(std::numeric_limits<float>::min())
                                : std::numeric_limits<double>::min();
  const double most = isSingle ? static_cast<double>(std::numeric_limits<float>::max())
                               : std::numeric_limits<double>::max();
  return size == 0 || (size >= least && size <= most);
}

bool OdbcCopyRule::TakesDecimal(std::string_view text) const {
  if (text.starts_with('-')) text.remove_prefix(1);
  const std::size_t point = std::min(text.find('.'), text.size());
  const std::string_view whole = text.substr(0, point);
  const std::string_view fraction = text.substr(std::min(point + 1, text.size()));
  // The largest amounts of money do not reach to the last digit's nine.
  const int room = precision_ - scale_ - (type_ == Type::Decimal ? 0 : 1);
  return !whole.empty() && std::ranges::all_of(whole, IsDigit) &&
         std::ranges::all_of(fraction, IsDigit) && static_cast<int>(whole.size()) <= room &&
         static_cast<int>(fraction.size()) <= scale_;
}

/// "2001-01-08", and for a moment "2001-01-08 09:10:11.25" too. The driver reads no years before
/// the Gregorian calendar came to England, and cuts where the server rounds.
bool OdbcCopyRule::TakesMoment(std::string_view text) const {
  const bool isDay = text.size() == 10;
  if (!isDay && (type_ == Type::Date || text.size() < 19 || text.size() > 23 || text[10] != ' '))
    return false;
  if (text[4] != '-' || text[7] != '-' || text < "1753") return false;
  std::string_view fraction = text.substr(std::min<std::size_t>(20, text.size()));
  while (fraction.ends_with('0')) fraction.remove_suffix(1);
  switch (type_) {
    case Type::DateTime:  // in steps of 1/300 s, which it shows as 0, 3 and 7 thousandths
      return fraction.size() < 3 || fraction[2] == '3' || fraction[2] == '7';
    case Type::SmallDateTime:
      return text >= "1900" && text < "2079-06-06" && fraction.empty() &&
             (isDay || text.substr(17, 2) == "00");
    case Type::DateTime2: return static_cast<int>(fraction.size()) <= scale_;
    default: return true;
  }
}

bool OdbcCopyRule::TakesText(std::string_view text) const {
  if (type_ == Type::NarrowText) {
    constexpr int kLatin = 1252;
    const bool isKept = codePage_ == kLatin ? IsLatin(text) : IsPlain(text);
    return isKept && (text.size() <= size_ || CountCharacters(text) <= size_);
  }
  // A text has at most as many units as bytes.
  return text.size() <= size_ || CountUtf16Units(text) <= size_;
}

}  // namespace torvik
