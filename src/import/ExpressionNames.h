#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "import/Record.h"
#include "script/Syntax.h"

namespace torvik::importing {

/// A name for what an expression gives: "App.Path" is App_Path. Letters, digits and underscores.
std::string NameFor(const script::Expression& expression);

/// The same for a function's answer.
std::string NameFor(std::string function, const std::vector<Value>& arguments);

/// The value of a literal.
Value LiteralValue(const script::Expression& literal);

}  // namespace torvik::importing
