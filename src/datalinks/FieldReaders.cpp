#include "datalinks/FieldReaders.h"

#include <cmath>
#include <limits>
#include <optional>

#include "platform/NumberText.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik {
namespace {

/// The runtime's number for a value of the wrong type.
constexpr long kTypeMismatch = 13;

std::optional<double> NumberIn(std::string_view text) {
  text = Trimmed(text, " \t");
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  const auto number = NumberOf<double>(text);
  return number && std::isfinite(*number) ? number : std::nullopt;
}

std::optional<double> Number(const ado::Value& value) {
  if (const auto* whole = std::get_if<std::int64_t>(&value)) return static_cast<double>(*whole);
  if (const auto* real = std::get_if<double>(&value)) return *real;
  if (const auto* text = std::get_if<std::string>(&value)) return NumberIn(*text);
  return {};
}

}  // namespace

std::string TextOf(const ado::Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* blob = std::get_if<ado::Blob>(&value)) return blob->bytes;
  char digits[32];
  if (const auto* whole = std::get_if<std::int64_t>(&value)) {
    return {digits, std::to_chars(digits, digits + sizeof digits, *whole).ptr};
  }
  if (const auto* real = std::get_if<double>(&value)) {
    return {digits, std::to_chars(digits, digits + sizeof digits, *real).ptr};
  }
  return {};
}

std::int16_t WholeNumberOf(const ado::Value& value) {
  const auto number = Number(value);
  if (!number) return 0;
  const double whole = std::nearbyint(*number);
  using Limits = std::numeric_limits<std::int16_t>;
  if (whole < Limits::min() || whole > Limits::max()) return 0;
  return static_cast<std::int16_t>(whole);
}

bool TruthOf(const ado::Value& value) {
  if (std::holds_alternative<ado::Null>(value)) return false;
  const std::string text = TextOf(value);
  if (EqualsIgnoringCase(text, "true")) return true;
  if (EqualsIgnoringCase(text, "false")) return false;
  if (const auto number = Number(value)) return *number != 0;
  throw PlatformError(kTypeMismatch, "\"" + text + "\" is neither True nor False nor a number",
                      "data link");
}

std::int32_t NumberFromText(const std::string& text, const std::string& what, std::int32_t lowest,
                            std::int32_t highest) {
  const auto number = NumberIn(text);
  const double whole = number ? std::nearbyint(*number) : 0;
  if (!number || whole < lowest || whole > highest) {
    throw PlatformError(kTypeMismatch,
                        what + " is \"" + text + "\", not a whole number from " +
                            std::to_string(lowest) + " to " + std::to_string(highest),
                        "data link");
  }
  return static_cast<std::int32_t>(whole);
}

}  // namespace torvik
