#pragma once

#include <string>
#include <string_view>

namespace torvik::engine {

/// What a script uses that no script has here, with its line: "line 3 of its script makes
/// ADODB.Connection, which is not there". Empty when there is nothing of the kind, and for a text
/// that cannot be compiled. What only shows when the script runs is not found.
std::string WhatScriptLacks(std::string_view script);

}  // namespace torvik::engine
