#pragma once

#include <string_view>
#include <vector>

#include "script/Lexer.h"
#include "script/Syntax.h"

namespace torvik::script {

/// Where a parser stands in its tokens, and the errors it throws. The tokens end with EndOfText.
class TokenCursor {
 public:
  explicit TokenCursor(const std::vector<Token>& tokens) : tokens_(tokens) {}

  const Token& Here() const { return tokens_[at_]; }
  const Token& Next() const { return tokens_[at_ + 1 < tokens_.size() ? at_ + 1 : at_]; }
  const Token& Take() { return tokens_[at_ + 1 < tokens_.size() ? at_++ : at_]; }
  bool TakeSymbol(std::string_view symbol);
  bool TakeWord(std::string_view lowerCase);
  /// Throws the syntax error `number` when the word or symbol is not there.
  void ExpectSymbol(std::string_view symbol, int number);
  void ExpectWord(std::string_view lowerCase, int number);
  /// The end of a statement: a line's end, a colon, the end of the text.
  bool AtEnd() const;

  std::size_t Position() const { return at_; }
  void Return(std::size_t position) { at_ = position; }

  [[noreturn]] void Fail(int number) const;

 private:
  const std::vector<Token>& tokens_;
  std::size_t at_ = 0;
};

/// True for the words that are no names: If, Then, Not ...
bool IsReserved(const Token& token);

/// Reads the expression that `cursor` stands at, and moves it behind it. Throws ScriptError with
/// the place, also for an expression that is nested too deep.
ExpressionPtr ParseExpression(TokenCursor& cursor);

/// A name with the members, indexes and arguments behind it. A group of parentheses that begins at
/// token `stop` is left alone; `lastGroup`, when not null, becomes the position of the last group.
ExpressionPtr ParseReference(TokenCursor& cursor, std::size_t stop = static_cast<std::size_t>(-1),
                             std::size_t* lastGroup = nullptr);

/// Arguments up to a closing parenthesis or the end of the statement; null for one left out.
void ParseArguments(TokenCursor& cursor, std::vector<ExpressionPtr>& arguments);

/// Throws ScriptError with the place and the line.
ScriptSyntax ParseScript(std::string_view source);

}  // namespace torvik::script
