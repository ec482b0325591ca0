#include "platform/linux/database/ServerDefaults.h"

#include <algorithm>
#include <string_view>

#include "platform/NumberText.h"
#include "platform/Text.h"

namespace torvik {
namespace {

using ado::SqlKind;

/// The position behind the literal that a text begins with; 0 when it begins with none.
std::size_t LiteralEnd(std::string_view text) {
  if (!text.starts_with('\'')) return 0;
  for (std::size_t at = 1; at < text.size(); ++at) {
    if (text[at] != '\'') continue;
    if (at + 1 == text.size() || text[at + 1] != '\'') return at + 1;
    ++at;
  }
  return 0;
}

/// True when the bracket that a text begins with closes at its end.
bool IsInBrackets(std::string_view text) {
  if (!text.starts_with('(')) return false;
  int depth = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (const std::size_t end = LiteralEnd(text.substr(at))) at += end - 1;
    if (text[at] == '(') ++depth;
    if (text[at] == ')' && --depth == 0) return at + 1 == text.size();
  }
  return false;
}

std::string_view Bare(std::string_view text) {
  while (IsInBrackets(text)) text = text.substr(1, text.size() - 2);
  return text;
}

/// What is meant, in words that no server has.
constexpr struct {
  std::string_view text, meaning;
} kMeanings[] = {{"getdate()", "now"},
                 {"sysdatetime()", "now"},
                 {"now()", "now"},
                 {"localtimestamp", "now"},
                 {"datetime('now', 'localtime')", "now"},
                 {"strftime('%y-%m-%d %h:%m:%f', 'now', 'localtime')", "now"},
                 {"current_date", "today"},
                 {"date('now', 'localtime')", "today"},
                 {"getutcdate()", "now in UTC"},
                 {"sysutcdatetime()", "now in UTC"},
                 {"newid()", "identifier"},
                 {"newsequentialid()", "identifier"},
                 {"gen_random_uuid()", "identifier"},
                 {"uuid_generate_v4()", "identifier"}};

std::string MeaningOf(const ado::Column& column, std::string_view text) {
  const std::string lower = LowerAscii(text);
  if (lower == "current_timestamp") return column.sql == SqlKind::Embedded ? "now in UTC" : "now";
  const auto* known = std::ranges::find(kMeanings, lower, [](const auto& one) { return one.text; });
  return known == std::end(kMeanings) ? "" : std::string(known->meaning);
}

std::optional<std::string> Saying(SqlKind server, std::string_view meaning) {
  constexpr struct {
    std::string_view meaning, sqlServer, postgreSql, embedded;
  } kSayings[] = {
      {"now", "getdate()", "LOCALTIMESTAMP", "(strftime('%Y-%m-%d %H:%M:%f', 'now', 'localtime'))"},
      {"today", "CAST(getdate() AS date)", "CURRENT_DATE", "(date('now', 'localtime'))"},
      {"now in UTC", "getutcdate()", "(now() AT TIME ZONE 'UTC')", "CURRENT_TIMESTAMP"},
      {"identifier", "newid()", "gen_random_uuid()",
       "(lower(hex(randomblob(4)) || '-' || hex(randomblob(2)) || '-4' || "
       "substr(hex(randomblob(2)), 2) || '-8' || substr(hex(randomblob(2)), 2) || '-' || "
       "hex(randomblob(6))))"}};
  const auto* saying =
      std::ranges::find(kSayings, meaning, [](const auto& one) { return one.meaning; });
  if (saying == std::end(kSayings)) return std::nullopt;
  return std::string(server == SqlKind::SqlServer    ? saying->sqlServer
                     : server == SqlKind::PostgreSql ? saying->postgreSql
                                                     : saying->embedded);
}

/// True for nothing, and for what only says a type: "::character varying(9)".
bool IsCast(std::string_view text) {
  if (!text.empty() && !text.starts_with("::")) return false;
  return text.find_first_of("'|+-*/<>=", 0) == std::string_view::npos;
}

/// A literal without its mark and its cast: N'x', 'x'::text.
std::optional<std::string> Literal(std::string_view text) {
  if (text.starts_with("N'")) text.remove_prefix(1);
  const std::size_t end = LiteralEnd(text);
  if (end == 0 || !IsCast(text.substr(end))) return std::nullopt;
  return std::string(text.substr(0, end));
}

}  // namespace

bool NumbersRows(const ado::Column& column) {
  return column.isIdentity ||
         (column.sql == SqlKind::PostgreSql && column.defaultText.starts_with("nextval("));
}

std::optional<std::string> DefaultFor(SqlKind server, const ado::Column& column) {
  if (column.defaultText.empty() || NumbersRows(column)) return std::nullopt;
  if (column.sql == server && server != SqlKind::Other)
    return server == SqlKind::Embedded ? "(" + column.defaultText + ")" : column.defaultText;
  std::string_view text = Bare(column.defaultText);
  if (const auto literal = Literal(text)) return literal;
  const std::size_t cast = std::min(text.find("::"), text.size());
  const std::string_view number = Bare(text.substr(0, IsCast(text.substr(cast)) ? cast : 0));
  const bool isTrue = EqualsIgnoringCase(number, "true"),
             isFalse = EqualsIgnoringCase(number, "false");
  if (column.kind == ado::ColumnKind::Boolean &&
      (isTrue || isFalse || number == "1" || number == "0")) {
    const bool is = isTrue || number == "1";
    return server == SqlKind::PostgreSql ? (is ? "true" : "false") : (is ? "1" : "0");
  }
  if (NumberOf<double>(number)) return std::string(number);
  const std::string meaning = MeaningOf(column, text);
  const bool isDay = meaning == "now" && column.kind == ado::ColumnKind::Date;
  return Saying(server, isDay ? "today" : meaning);
}

}  // namespace torvik
