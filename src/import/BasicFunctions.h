#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "import/Record.h"

/// What of the language's own functions and constants, and of the package object model's, texts
/// that build packages use. Names are in lower case.
namespace torvik::importing {

bool IsKnownFunction(std::string_view name);

/// Nothing where the arguments give no value.
std::optional<Value> BasicFunction(std::string_view name, const std::vector<Value>& arguments);

std::optional<Value> ConstantNamed(std::string_view name);

}  // namespace torvik::importing
