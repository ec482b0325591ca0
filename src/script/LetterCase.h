#pragma once

#include <string>
#include <string_view>

/// Letter case of the Latin, Greek and Cyrillic letters whose two forms take two bytes each, beside
/// ASCII: a text keeps its length in bytes.
namespace torvik::script {

std::string ToLowerCase(std::string_view text);
std::string ToUpperCase(std::string_view text);

}  // namespace torvik::script
