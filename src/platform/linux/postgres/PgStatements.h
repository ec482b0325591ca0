#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace torvik {

/// One statement of a SQL text, as PostgreSQL reads it.
struct PgStatement {
  std::string text;         ///< Without the semicolon; markers "?" have become $1, $2, ...
  int line = 1;             ///< Where it begins in the SQL text, from 1.
  std::size_t markers = 0;  ///< 0 unless they were asked for.

  /// Its first word in capitals.
  std::string FirstWord() const;
};

/// What a "?" outside texts, quoted names and comments is.
enum class PgMarkers { None, Numbered };

/// The statements of `sql`, those without any words left out. Texts of every kind ('', E'', $$),
/// comments and the bodies of SQL functions may have semicolons of their own.
std::vector<PgStatement> SplitStatements(std::string_view sql, PgMarkers markers);

}  // namespace torvik
