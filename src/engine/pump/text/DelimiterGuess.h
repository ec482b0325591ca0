#pragma once

#include <span>
#include <string>
#include <string_view>

namespace torvik::engine {

/// The character between the columns of a text file, by its first lines: the one of comma,
/// semicolon, tab and bar of which most lines have as many as the first one, outside double quotes.
/// Empty when the first line has none: the file has one column.
std::string GuessDelimiter(std::span<const std::string_view> lines);

}  // namespace torvik::engine
