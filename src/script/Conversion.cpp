#include "script/Conversion.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "platform/Text.h"
#include "script/DateText.h"
#include "script/ScriptError.h"

namespace torvik::script {

namespace {

constexpr std::size_t longestNumber = 1000;  // of a text that is a number, with blanks

/// Throws when the value is none that a number can be made of.
double NumberOf(const Value& value) {
  switch (value.Type()) {
    case Kind::Empty: return 0;
    case Kind::Null: throw RuntimeError(94);
    case Kind::Boolean:
    case Kind::Byte:
    case Kind::Integer:
    case Kind::Long: return static_cast<double>(value.Whole());
    case Kind::Currency: return static_cast<double>(value.Whole()) / 10000;
    case Kind::Single:
    case Kind::Double:
    case Kind::Date: return value.Real();
    case Kind::Text:
      if (const auto number = NumberOfText(value.View())) {
        if (!std::isfinite(*number)) throw Overflow();
        return *number;
      }
      throw TypeMismatch("[string: \"" + std::string(FirstCharacters(value.View(), 40)) + "\"]");
    default: throw TypeMismatch();
  }
}

/// "&HFF" and "&O17" without their first two characters.
std::optional<double> NumberOfRadix(std::string_view digits, int radix) {
  if (!digits.empty() && digits.back() == '&') digits.remove_suffix(1);
  std::uint32_t number = 0;
  const auto [end, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), number, radix);
  if (digits.empty() || error != std::errc() || end != digits.data() + digits.size()) return {};
  if (number <= 0xFFFF) return static_cast<std::int16_t>(number);
  return static_cast<std::int32_t>(number);
}

/// Only digits, a point and an exponent; thousands separators stand before the point.
std::optional<std::string> PlainNumber(std::string_view text) {
  std::string plain;
  bool digits = false, point = false;
  std::size_t at = 0;
  for (; at < text.size(); ++at) {
    const char c = text[at];
    if (c >= '0' && c <= '9') {
      digits = true;
    } else if (c == ',' && digits && !point) {
      continue;
    } else if (c == '.' && !point) {
      point = true;
    } else {
      break;
    }
    plain += c;
  }
  if (!digits) return {};
  if (at == text.size()) return plain;
  if (std::string_view("eEdD").find(text[at++]) == std::string_view::npos) return {};
  plain += 'e';
  if (at < text.size() && (text[at] == '+' || text[at] == '-')) plain += text[at++];
  if (at == text.size()) return {};
  for (; at < text.size(); ++at) {
    if (text[at] < '0' || text[at] > '9') return {};
    plain += text[at];
  }
  return plain;
}

std::string TextOfCurrency(std::int64_t tenThousandths) {
  const std::uint64_t size = tenThousandths < 0 ? 0 - static_cast<std::uint64_t>(tenThousandths)
                                                : static_cast<std::uint64_t>(tenThousandths);
  std::string text = tenThousandths < 0 ? "-" : "";
  text += std::to_string(size / 10000);
  if (size % 10000 == 0) return text;
  text.append(1, '.').append(std::to_string(10000 + size % 10000), 1);
  return text.substr(0, text.find_last_not_of('0') + 1);
}

}  // namespace

std::optional<double> NumberOfText(std::string_view text) {
  if (text.size() > longestNumber) return {};
  text = Trimmed(text, kWhiteSpace);
  if (text.size() > 2 && text[0] == '&') {
    const char radix = LowerAscii(text[1]);
    if (radix == 'h') return NumberOfRadix(text.substr(2), 16);
    if (radix == 'o') return NumberOfRadix(text.substr(2), 8);
    return {};
  }
  bool negative = false, sign = false;
  if (text.size() > 2 && text.front() == '(' && text.back() == ')') {
    negative = sign = true;
    text = Trimmed(text.substr(1, text.size() - 2), kWhiteSpace);
  }
  for (bool currency = false; !text.empty();) {
    if (text[0] == '$' && !currency) {
      currency = true;
    } else if ((text[0] == '-' || text[0] == '+') && !sign) {
      negative = text[0] == '-';
      sign = true;
    } else {
      break;
    }
    text = Trimmed(text.substr(1), kWhiteSpace);
  }
  if (!text.empty() && !sign && (text.back() == '-' || text.back() == '+')) {
    negative = text.back() == '-';
    text = Trimmed(text.substr(0, text.size() - 1), kWhiteSpace);
  }
  const auto plain = PlainNumber(text);
  if (!plain) return {};
  const double number = std::strtod(plain->c_str(), nullptr);
  return negative ? -number : number;
}

double RoundHalfEven(double number) {
  return std::nearbyint(number);
}

std::int32_t ToLong(const Value& value) {
  if (value.IsWhole()) return static_cast<std::int32_t>(value.Whole());
  const double number = RoundHalfEven(NumberOf(value));
  if (!(number >= -2147483648.0 && number <= 2147483647.0)) throw Overflow();
  return static_cast<std::int32_t>(number);
}

std::int16_t ToInteger(const Value& value) {
  const std::int32_t number = ToLong(value);
  if (number != static_cast<std::int16_t>(number)) throw Overflow();
  return static_cast<std::int16_t>(number);
}

double ToDouble(const Value& value) {
  return NumberOf(value);
}

bool ToBoolean(const Value& value) {
  if (value.IsWhole() || value.Is(Kind::Currency)) return value.Whole() != 0;
  if (value.Is(Kind::Text)) {
    if (EqualsIgnoringCase(value.View(), "true")) return true;
    if (EqualsIgnoringCase(value.View(), "false")) return false;
  }
  return NumberOf(value) != 0;
}

std::int64_t ToCurrency(const Value& value) {
  if (value.Is(Kind::Currency)) return value.Whole();
  const double number = RoundHalfEven(NumberOf(value) * 10000);
  if (!(std::abs(number) < 9223372036854775807.0)) throw Overflow();
  return static_cast<std::int64_t>(number);
}

double ToDate(const Value& value) {
  if (value.Is(Kind::Text)) {
    if (const auto date = DateOfText(value.View())) return *date;
  }
  const double days = NumberOf(value);
  if (!IsDateNumber(days)) throw Overflow();
  return days;
}

std::string TextOfNumber(double number, int digits) {
  if (number == 0) return "0";
  char buffer[40];
  std::snprintf(buffer, sizeof buffer, "%.*e", digits - 1, std::abs(number));
  const std::string_view written = buffer;
  const std::size_t e = written.find('e');
  const int exponent = std::atoi(written.data() + e + 1);
  std::string significant(1, written[0]);
  significant += written.substr(2, e - 2);
  significant.erase(significant.find_last_not_of('0') + 1);
  const int count = static_cast<int>(significant.size());
  std::string text = number < 0 ? "-" : "";
  if (exponent >= digits || (exponent < 0 && count - exponent - 1 > digits)) {
    text += significant[0];
    if (count > 1) text.append(1, '.').append(significant, 1);
    std::snprintf(buffer, sizeof buffer, "E%+03d", exponent);
    return text + buffer;
  }
  if (exponent < 0) return text + "0." + std::string(-exponent - 1, '0') + significant;
  if (count <= exponent + 1) return text + significant + std::string(exponent + 1 - count, '0');
  return text + significant.substr(0, exponent + 1) + "." + significant.substr(exponent + 1);
}

std::string ToText(const Value& value) {
  switch (value.Type()) {
    case Kind::Empty: return "";
    case Kind::Null: throw RuntimeError(94);
    case Kind::Boolean: return value.Whole() != 0 ? "True" : "False";
    case Kind::Byte:
    case Kind::Integer:
    case Kind::Long: return std::to_string(value.Whole());
    case Kind::Currency: return TextOfCurrency(value.Whole());
    case Kind::Single: return TextOfNumber(value.Real(), 7);
    case Kind::Double: return TextOfNumber(value.Real());
    case Kind::Date: return TextOfDate(value.Real());
    case Kind::Text: return std::string(value.View());
    default: throw TypeMismatch();
  }
}

Value ToTextValue(const Value& value, Heap* heap) {
  return value.Is(Kind::Text) ? value : Value::OfText(ToText(value), heap);
}

}  // namespace torvik::script
