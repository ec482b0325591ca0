#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "import/Record.h"

/// Arrays of values: objects of the kind "array", whose items are properties with a value each.
namespace torvik::importing {

bool IsArray(const Value& value);

/// Array, Split, Join, UBound and LBound; names in lower case.
bool IsArrayFunction(std::string_view name);

/// Nothing where the arguments give no value. `first` is the number of the first element of what
/// Array makes: that of "Option Base".
std::optional<Value> ArrayFunction(Recording& recording, std::string_view name,
                                   const std::vector<Value>& arguments, int first, int line);

/// The element of a number; null when the array has none.
ObjectPtr ElementOf(const Object& array, const Value& number);

/// What an element holds.
Value HeldBy(const Object& element);

}  // namespace torvik::importing
