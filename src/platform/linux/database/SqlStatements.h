#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace torvik {

/// One statement of SQL text, without the semicolon.
struct SqlStatementText {
  std::string_view text;
  int line = 1;             ///< In which it begins, from 1.
  std::size_t markers = 0;  ///< How many parameters it takes: "?" outside texts, names, comments.
};

/// The statements of a text; empty ones are left out.
std::vector<SqlStatementText> SplitStatements(std::string_view sql);

/// Why a text with that many markers cannot take that many parameters; empty when it can.
std::string MarkerMisfit(std::size_t markers, std::size_t parameters);

/// The markers of all of them.
template <typename Statement>
std::size_t CountMarkers(const std::vector<Statement>& statements) {
  std::size_t markers = 0;
  for (const Statement& statement : statements) markers += statement.markers;
  return markers;
}

/// A CREATE TABLE or CREATE INDEX text about the table `from` as one about `to`: where the table is
/// named, refers to itself or stands before a column. `to` is put in as it is.
std::string WithTable(std::string_view create, std::string_view from, std::string_view to);

}  // namespace torvik
