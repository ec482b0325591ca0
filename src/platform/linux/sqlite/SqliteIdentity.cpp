#include "platform/linux/sqlite/SqliteIdentity.h"

#include <string>
#include <variant>

#include "platform/Text.h"
#include "platform/linux/database/SqlNames.h"
#include "platform/linux/database/SqlTokens.h"
#include "platform/linux/sqlite/SqliteSession.h"
#include "platform/linux/sqlite/SqliteStatement.h"

namespace torvik {
namespace {

/// The table that a CREATE TABLE makes.
SqlitePlace MadePlace(std::string_view create) {
  const auto tokens = Tokenise(create);
  const auto is = [&](std::size_t at, const char* word) {
    return at < tokens.size() && EqualsIgnoringCase(tokens[at].text, word);
  };
  SqlitePlace place{is(1, "TABLE") ? "main" : "temp", ""};
  std::size_t at = is(1, "TABLE") ? 2 : 3;
  if (is(at, "IF")) at += 3;
  if (is(at + 1, ".")) place.schema = Unquoted(tokens[at].text), at += 2;
  place.table = Unquoted(tokens.at(at).text);
  return place;
}

/// SQLite keeps the last number of each table whose key begins elsewhere than at 1.
std::string Numbers(const SqlitePlace& place) {
  return QuotedName(place.schema) + ".sqlite_sequence";
}

}  // namespace

std::optional<SqlIdentity> FindIdentity(SqliteSession& session, const SqlitePlace& place) {
  SqliteStatement table(session,
                        "SELECT sql FROM " + QuotedName(place.schema) +
                            ".sqlite_schema WHERE type = 'table' AND name = ?1 COLLATE NOCASE",
                        "");
  table.Bind(1, place.table);
  if (!table.Step()) return std::nullopt;
  const ado::Value text = table.Column(0);
  return std::holds_alternative<std::string>(text) ? IdentityIn(std::get<std::string>(text))
                                                   : std::nullopt;
}

void BeginNumbering(SqliteSession& session, std::string_view create) {
  const auto identity = IdentityIn(create);
  if (!identity || identity->seed == 1) return;
  const SqlitePlace place = MadePlace(create);
  const std::string name = QuotedText(place.table);
  session.Run("INSERT INTO " + Numbers(place) + " (name, seq) SELECT " + name + ", " +
              std::to_string(identity->seed - 1) + " WHERE NOT EXISTS (SELECT 1 FROM " +
              Numbers(place) + " WHERE name = " + name + ")");
}

void RestartNumbering(SqliteSession& session, const SqlitePlace& place) {
  const auto identity = FindIdentity(session, place);
  if (!identity || identity->seed == 1) return;
  session.Run("UPDATE " + Numbers(place) + " SET seq = " + std::to_string(identity->seed - 1) +
              " WHERE name = " + QuotedText(place.table) + " COLLATE NOCASE");
}

}  // namespace torvik
