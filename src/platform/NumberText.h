#pragma once

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

namespace torvik {

/// The whole of `text` as a number, spelled as programs do: "-12", "1.5e3". Nothing when it is
/// none, is not in the range of the type, or has a '+' or blanks.
template <typename Number>
std::optional<Number> NumberOf(std::string_view text) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return number;
}

}  // namespace torvik
