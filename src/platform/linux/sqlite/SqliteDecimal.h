#pragma once

#include <string>
#include <string_view>

/// Decimals on their way into SQLite, which keeps them as doubles.
namespace torvik {

/// A decimal with no more than `scale` digits behind its point, the last one rounded as servers do:
/// half away from zero. Empty when it has no more, or is no plain number ("-12.5").
std::string RoundedDecimal(std::string_view text, std::size_t scale);

/// True when a decimal is the same after it has been a double.
bool IsKeptDecimal(std::string_view text);

}  // namespace torvik
