#pragma once

#include <cstdint>
#include <string>

#include "platform/Ado.h"

namespace torvik {

/// The value as text; the empty text for NULL.
std::string TextOf(const ado::Value& value);

/// The value as a 16-bit whole number (halves go to the even neighbour); 0 for NULL, for what is
/// not numeric and for numbers out of range.
std::int16_t WholeNumberOf(const ado::Value& value);

/// The value's truth: numbers but 0, and the words True and False in any letter case; false for
/// NULL. Throws PlatformError for any other text.
bool TruthOf(const ado::Value& value);

/// A whole number given as text, within the limits; throws PlatformError that names `what` when it
/// is none.
std::int32_t NumberFromText(const std::string& text, const std::string& what, std::int32_t lowest,
                            std::int32_t highest);

}  // namespace torvik
