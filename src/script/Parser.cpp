#include "script/Parser.h"

#include <algorithm>

#include "script/ScriptError.h"

namespace torvik::script {

bool TokenCursor::TakeSymbol(std::string_view symbol) {
  if (!Here().IsSymbol(symbol)) return false;
  Take();
  return true;
}

bool TokenCursor::TakeWord(std::string_view lowerCase) {
  if (!Here().IsWord(lowerCase)) return false;
  Take();
  return true;
}

void TokenCursor::ExpectSymbol(std::string_view symbol, int number) {
  if (!TakeSymbol(symbol)) Fail(number);
}

void TokenCursor::ExpectWord(std::string_view lowerCase, int number) {
  if (!TakeWord(lowerCase)) Fail(number);
}

bool TokenCursor::AtEnd() const {
  return Here().kind == TokenKind::EndOfLine || Here().kind == TokenKind::Colon ||
         Here().kind == TokenKind::EndOfText;
}

void TokenCursor::Fail(int number) const {
  throw SyntaxError(number, Here().place.line, Here().place.column);
}

bool IsReserved(const Token& token) {
  static constexpr std::string_view words[] = {
      "and",  "byref", "byval",  "call",  "case",   "class",  "const", "dim",      "do",
      "each", "else",  "elseif", "end",   "eqv",    "exit",   "for",   "function", "goto",
      "if",   "imp",   "in",     "is",    "let",    "loop",   "mod",   "new",      "next",
      "not",  "on",    "or",     "redim", "resume", "select", "set",   "sub",      "then",
      "to",   "until", "wend",   "while", "with",   "xor"};
  return token.kind == TokenKind::Name && !token.bracketed &&
         std::ranges::find(words, token.lower) != std::end(words);
}

}  // namespace torvik::script
