#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace torvik::engine {

/// What a file data source of ODBC (.dsn) says, in the words of a data link file: "Provider", "Data
/// Source", "Initial Catalog" and so on. Its driver tells the provider where it has one here.
/// Nothing when the text does not begin with the section [ODBC].
std::optional<std::vector<std::pair<std::string, std::string>>> FileDsnEntries(
    std::string_view text);

}  // namespace torvik::engine
