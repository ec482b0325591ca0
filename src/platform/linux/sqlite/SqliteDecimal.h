#pragma once

#include <string>
#include <string_view>

#include "platform/Bulk.h"

/// Decimals on their way into SQLite, which keeps them as doubles.
namespace torvik {

/// True for a decimal with more than `scale` digits behind its point. Not for what is no plain
/// number ("-12.5").
bool HasMoreDigits(const ado::LoadValue& value, std::size_t scale);

/// Such a decimal with `scale` digits, the last one rounded as servers do: half away from zero.
std::string RoundedDecimal(const ado::LoadValue& value, std::size_t scale);

/// True when a decimal is the same after it has been a double.
bool IsKeptDecimal(std::string_view text);

}  // namespace torvik
