#pragma once

#include <cstdint>
#include <string>
#include <string_view>

struct sqlite3;

namespace torvik {

/// The exact text of `magnitude` divided by 10 to the power `scale`, with all digits of the scale.
/// The magnitude is a little-endian number of any length.
std::string DecimalText(std::string_view magnitude, bool negative, int scale);

/// The collation by which decimal texts stand in the order of their numbers, whatever their digits;
/// what is no such text stands behind, byte by byte.
inline constexpr const char* kDecimalCollation = "TORVIK_DECIMAL";
void AddDecimalCollation(sqlite3* handle);

/// Below 0 when `a` stands before `b` in that order, above 0 when behind it.
int CompareDecimalTexts(std::string_view a, std::string_view b);

}  // namespace torvik
