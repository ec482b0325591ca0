#pragma once

#include <cstdint>

namespace torvik {

/// A stored 16-bit Boolean, for fields in which True and another non-zero value differ.
using VariantBool = std::int16_t;
inline constexpr VariantBool VariantTrue = -1;
inline constexpr VariantBool VariantFalse = 0;

}  // namespace torvik
