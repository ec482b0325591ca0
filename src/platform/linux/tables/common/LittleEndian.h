#pragma once

#include <cstddef>
#include <string_view>
#include <type_traits>

namespace torvik {

/// The whole number whose bytes begin at `at`, the lowest first; they must be there.
template <typename Number>
Number LittleEndian(std::string_view bytes, std::size_t at = 0) {
  std::make_unsigned_t<Number> number = 0;
  for (std::size_t i = at + sizeof number; i > at; --i)
    number = static_cast<decltype(number)>(number << 8 | static_cast<unsigned char>(bytes[i - 1]));
  return static_cast<Number>(number);
}

}  // namespace torvik
