#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace torvik {

enum class SqlTokenKind { Name, Point, Other };

/// A name (a keyword, or what stands in quotes or brackets), a point, a text, a number or any other
/// character of SQL text.
struct SqlToken {
  SqlTokenKind kind;
  std::size_t begin;
  std::string_view text;
};

/// The tokens of SQL text, without blanks and comments. They point into it.
std::vector<SqlToken> Tokenise(std::string_view sql);

/// A name without its quotes.
std::string Unquoted(std::string_view name);

}  // namespace torvik
