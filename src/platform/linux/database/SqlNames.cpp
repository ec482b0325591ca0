#include "platform/linux/database/SqlNames.h"

#include <algorithm>
#include <vector>

#include "platform/Text.h"
#include "platform/linux/database/SqlTokens.h"

namespace torvik {
namespace {

using Token = SqlToken;

bool IsBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

std::string Enclosed(std::string_view text, char quote) {
  std::string enclosed(1, quote);
  for (const char c : text) {
    enclosed += c;
    if (c == quote) enclosed += c;
  }
  return enclosed + quote;
}

/// A name of several parts: what it means, and which token is the table's.
struct QualifiedName {
  TableName name;
  std::size_t tableToken;
};

/// The qualified name that begins with token `first`.
std::optional<QualifiedName> QualifiedNameAt(const std::vector<Token>& tokens, std::size_t first) {
  const auto is = [&](std::size_t offset, SqlTokenKind kind) {
    return first + offset < tokens.size() && tokens[first + offset].kind == kind;
  };
  const auto part = [&](std::size_t offset) { return Unquoted(tokens[first + offset].text); };
  using enum SqlTokenKind;
  if (!is(0, Name) || !is(1, Point)) return {};
  if (is(2, Point) && is(3, Name)) return QualifiedName{{part(0), part(3)}, first + 3};
  if (!is(2, Name)) return {};
  if (EqualsIgnoringCase(part(2), "dbo") && is(3, Point) && is(4, Name))
    return QualifiedName{{part(0), part(4)}, first + 4};
  if (EqualsIgnoringCase(part(0), "dbo")) return QualifiedName{{"", part(2)}, first + 2};
  return {};
}

/// Reads "table", "schema.table", "database.schema.table", "database..table".
std::optional<TableName> TableNameOf(const std::vector<Token>& tokens) {
  std::vector<std::string> parts(1);
  for (const Token& token : tokens) {
    if (token.kind == SqlTokenKind::Point) {
      parts.emplace_back();
    } else if (token.kind == SqlTokenKind::Name && parts.back().empty()) {
      parts.back() = Unquoted(token.text);
    } else {
      return {};
    }
  }
  if (parts.size() > 3 || parts.front().empty() || parts.back().empty()) return {};
  if (parts.size() == 2 && parts[0].empty()) return {};
  const std::string table = parts.back();
  const std::string schema = parts.size() > 1 ? parts[parts.size() - 2] : "";
  return TableName{parts.size() == 3 ? parts[0] : "", table, schema};
}

std::vector<Token> OutsideBrackets(const std::vector<Token>& tokens) {
  std::vector<Token> outside;
  int depth = 0;
  for (const Token& token : tokens) {
    if (token.text == ")") --depth;
    if (depth == 0) outside.push_back(token);
    if (token.text == "(") ++depth;
  }
  return outside;
}

bool IsIsNullCall(const std::vector<Token>& tokens, std::size_t first) {
  return EqualsIgnoringCase(tokens[first].text, "ISNULL") && first + 1 < tokens.size() &&
         tokens[first + 1].text == "(";
}

}  // namespace

std::string QuotedName(std::string_view name) {
  return Enclosed(name, '"');
}

std::string QuotedText(std::string_view text) {
  return Enclosed(text, '\'');
}

std::optional<TableName> SplitTableName(std::string_view text) {
  return TableNameOf(Tokenise(text));
}

std::optional<TableName> OneTableOf(std::string_view select) {
  const std::vector<Token> tokens = OutsideBrackets(Tokenise(select));
  const auto isWord = [](std::string_view word) {
    return [word](const Token& token) { return EqualsIgnoringCase(token.text, word); };
  };
  if (tokens.empty() || !isWord("SELECT")(tokens.front())) return {};
  for (const char* word : {"DISTINCT", "JOIN", "GROUP", "UNION", "EXCEPT", "INTERSECT"})
    if (std::ranges::any_of(tokens, isWord(word))) return {};
  const auto from = std::ranges::find_if(tokens, isWord("FROM"));
  if (from == tokens.end()) return {};
  auto end = from + 1;
  for (bool wantsName = true; end != tokens.end(); ++end, wantsName = !wantsName)
    if (end->kind != (wantsName ? SqlTokenKind::Name : SqlTokenKind::Point)) break;
  const auto where = std::find_if(end, tokens.end(), isWord("WHERE"));
  if (std::any_of(end, where, isWord(","))) return {};
  return TableNameOf({from + 1, end});
}

std::string ResolveNames(std::string_view sql, const SchemaPrefix& prefixOf) {
  const std::vector<Token> tokens = Tokenise(sql);
  std::string resolved;
  std::size_t copied = 0;
  const auto replace = [&](std::size_t begin, std::size_t end, std::string_view text) {
    resolved.append(sql.substr(copied, begin - copied)).append(text);
    // Errors name lines, so that every line must stay where it is.
    resolved.append(
        static_cast<std::size_t>(std::count(sql.begin() + begin, sql.begin() + end, '\n')), '\n');
    copied = end;
  };
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    if (i > 0 && tokens[i - 1].kind == SqlTokenKind::Point) continue;
    const std::size_t begin = tokens[i].begin;
    if (const auto qualified = QualifiedNameAt(tokens, i)) {
      i = qualified->tableToken;
      replace(begin, tokens[i].begin, prefixOf(qualified->name, LineOf(sql, begin)));
    } else if (IsIsNullCall(tokens, i)) {
      replace(begin, begin + tokens[i].text.size(), "COALESCE");
    }
  }
  return resolved.append(sql.substr(copied));
}

std::vector<std::string> NamesIn(std::string_view sql) {
  std::vector<std::string> names;
  for (const Token& token : Tokenise(sql))
    if (token.kind == SqlTokenKind::Name) names.push_back(Unquoted(token.text));
  return names;
}

std::size_t SkipBlanks(std::string_view sql, std::size_t from) {
  while (from < sql.size()) {
    if (IsBlank(sql[from])) {
      ++from;
    } else if (sql.substr(from, 2) == "--") {
      from = std::min(sql.find('\n', from), sql.size());
    } else if (sql.substr(from, 2) == "/*") {
      from = std::min(sql.find("*/", from + 2), sql.size() - 2) + 2;
    } else {
      break;
    }
  }
  return from;
}

int LineOf(std::string_view sql, std::size_t position) {
  return 1 + static_cast<int>(std::count(sql.begin(), sql.begin() + position, '\n'));
}

}  // namespace torvik
