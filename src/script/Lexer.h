#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "script/Value.h"

namespace torvik::script {

/// A place in a source text, from 1; the column counts bytes.
struct Place {
  int line = 1, column = 1;
};

enum class TokenKind : std::uint8_t {
  EndOfText,
  EndOfLine,  ///< The end of a line that is not continued.
  Colon,
  Name,     ///< `text` as written; a keyword unless `bracketed`.
  Literal,  ///< `value`: a number, a text, a date.
  Symbol,   ///< `text`: an operator or a punctuation mark; "=<" and "=>" are "<=" and ">=".
};

struct Token {
  TokenKind kind = TokenKind::EndOfText;
  std::string text;
  std::string lower;  ///< Of a name: in lower case, the form in which names are compared.
  Value value;
  Place place;
  bool bracketed = false;
  bool blankBefore = false;

  bool IsSymbol(std::string_view symbol) const {
    return kind == TokenKind::Symbol && text == symbol;
  }
  bool IsWord(std::string_view lowerCase) const {
    return kind == TokenKind::Name && !bracketed && lower == lowerCase;
  }
};

/// The tokens of a script or of a Visual Basic text, the last of them EndOfText. Comments are left
/// out and continued lines joined. Throws ScriptError with the place and the line.
std::vector<Token> ReadTokens(std::string_view source);

/// The text of a line, from 1, without blanks around it and cut where it is long.
std::string LineOf(std::string_view source, int line);

}  // namespace torvik::script
