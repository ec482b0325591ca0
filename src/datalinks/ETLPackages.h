#pragma once

#include <string>
#include <string_view>

namespace torvik {

/// The ETL model of a package name: what stands before the first suffix of the naming rule
/// ("_Init", "_LoadDW", ...) that occurs in it, letter case aside. Empty when none occurs.
std::string ModelNameFromPackage(std::string_view packageName);

}  // namespace torvik
