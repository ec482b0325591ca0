#include "platform/linux/database/SqlTokens.h"

#include <algorithm>

#include "platform/Text.h"
#include "platform/linux/database/SqlNames.h"

namespace torvik {
namespace {

using Token = SqlToken;
using TokenKind = SqlTokenKind;

bool IsNameStart(char c) {
  return (LowerAscii(c) >= 'a' && LowerAscii(c) <= 'z') || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}

bool IsNameCharacter(char c) {
  return IsNameStart(c) || IsDigit(c) || c == '$' || c == '#' || c == '@';
}

/// The position behind the quoted text that begins at `begin`; a doubled quote stands for itself.
std::size_t QuoteEnd(std::string_view sql, std::size_t begin) {
  const char quote = sql[begin];
  if (quote == '[') return std::min(sql.find(']', begin), sql.size() - 1) + 1;
  for (std::size_t at = begin + 1; at < sql.size(); ++at) {
    if (sql[at] != quote) continue;
    if (at + 1 == sql.size() || sql[at + 1] != quote) return at + 1;
    ++at;
  }
  return sql.size();
}

std::size_t NameEnd(std::string_view sql, std::size_t begin) {
  const auto end = std::find_if_not(sql.begin() + begin, sql.end(), IsNameCharacter);
  return static_cast<std::size_t>(end - sql.begin());
}

/// The points of a number belong to no name.
std::size_t NumberEnd(std::string_view sql, std::size_t begin) {
  const auto end = std::find_if_not(sql.begin() + begin, sql.end(),
                                    [](char c) { return IsNameCharacter(c) || c == '.'; });
  return static_cast<std::size_t>(end - sql.begin());
}

/// "#t", a temporary table; a sign alone is an operator.
bool IsTemporaryName(std::string_view text) {
  const std::size_t signs = std::min(text.find_first_not_of('#'), text.size());
  return signs > 0 && signs < 3 && signs < text.size() && IsNameStart(text[signs]);
}

Token TokenAt(std::string_view sql, std::size_t begin) {
  const auto token = [&](TokenKind kind, std::size_t end) {
    return Token{kind, begin, sql.substr(begin, end - begin)};
  };
  const char c = sql[begin];
  if (c == '\'') return token(TokenKind::Other, QuoteEnd(sql, begin));
  if (c == '"' || c == '`' || c == '[') return token(TokenKind::Name, QuoteEnd(sql, begin));
  if (IsNameStart(c) || IsTemporaryName(sql.substr(begin)))
    return token(TokenKind::Name, NameEnd(sql, begin));
  if (IsDigit(c)) return token(TokenKind::Other, NumberEnd(sql, begin));
  return token(c == '.' ? TokenKind::Point : TokenKind::Other, begin + 1);
}

}  // namespace

std::vector<SqlToken> Tokenise(std::string_view sql) {
  std::vector<Token> tokens;
  for (std::size_t at = SkipBlanks(sql, 0); at < sql.size();) {
    tokens.push_back(TokenAt(sql, at));
    at = SkipBlanks(sql, at + tokens.back().text.size());
  }
  return tokens;
}

std::string Unquoted(std::string_view name) {
  const char quote = name.front();
  if (quote != '"' && quote != '`' && quote != '[') return std::string(name);
  const std::string_view inner = name.substr(1, name.size() - 2);
  std::string text;
  for (std::size_t i = 0; i < inner.size(); ++i) {
    text += inner[i];
    if (quote != '[' && inner[i] == quote) ++i;
  }
  return text;
}

}  // namespace torvik
