#include "import/ScriptText.h"

#include <algorithm>

#include "platform/Text.h"
#include "script/Lexer.h"
#include "script/ScriptError.h"

namespace torvik::importing {
namespace {

using script::Token;
using script::TokenKind;

/// None for a text that makes no sense.
std::vector<Token> TokensOf(std::string_view script) {
  try {
    return script::ReadTokens(script);
  } catch (const script::ScriptError&) {
    return {};
  }
}

bool IsLiteralText(const Token& token) {
  return token.kind == TokenKind::Literal && token.value.Is(script::Kind::Text);
}

/// Whether a text has "password=" with something behind it.
bool HoldsPassword(std::string_view text) {
  const std::string lower = LowerAscii(text);
  for (const std::string_view word : {"password=", "pwd="})
    for (std::size_t at = lower.find(word); at != lower.npos; at = lower.find(word, at + 1)) {
      const std::size_t behind = at + word.size();
      if (behind < lower.size() && lower[behind] != ';' && lower[behind] != ' ') return true;
    }
  return false;
}

/// Functions whose results depend on the order of day and month, or on their names.
bool ReadsLocalDates(const Token& token) {
  static constexpr const char* kFunctions[] = {
      "cdate", "datevalue", "isdate", "formatdatetime", "monthname", "weekdayname", "setlocale"};
  return std::ranges::any_of(kFunctions, [&](const char* name) { return token.IsWord(name); });
}

}  // namespace

ColumnUse ColumnsOf(std::string_view script, std::string_view lowerObject) {
  ColumnUse use;
  const std::vector<Token> tokens = TokensOf(script);
  for (std::size_t at = 0; at + 2 < tokens.size(); ++at) {
    if (!tokens[at].IsWord(lowerObject) || (at > 0 && tokens[at - 1].IsSymbol("."))) continue;
    const bool hasItem =
        at + 4 < tokens.size() && tokens[at + 1].IsSymbol(".") && tokens[at + 2].IsWord("item");
    const std::size_t open = at + (hasItem ? 3 : 1);
    if (!tokens[open].IsSymbol("(")) continue;
    const bool isName = IsLiteralText(tokens[open + 1]) && tokens[open + 2].IsSymbol(")");
    if (!isName) {
      use.isOpen = true;
      continue;
    }
    const std::string name(tokens[open + 1].value.View());
    const bool isThere = std::ranges::any_of(
        use.names, [&](const std::string& other) { return EqualsIgnoringCase(other, name); });
    if (!isThere) use.names.push_back(name);
  }
  return use;
}

void NoteScript(std::vector<Note>& notes, int line, const std::string& what,
                std::string_view script) {
  const std::vector<Token> tokens = TokensOf(script);
  const auto lineOf = [](const Token& token) {
    return "line " + std::to_string(token.place.line) + " of it";
  };
  const auto password = std::ranges::find_if(tokens, [](const Token& token) {
    return IsLiteralText(token) && HoldsPassword(token.value.View());
  });
  if (password != tokens.end())
    notes.push_back({line, "the script of " + what + " holds a password (" + lineOf(*password) +
                               "): take it out; whoever may read the package can read it"});
  const auto date = std::ranges::find_if(tokens, ReadsLocalDates);
  if (date != tokens.end())
    notes.push_back({line, "the script of " + what + " takes dates as its machine's settings " +
                               "had them (" + lineOf(*date) + "): here they are US English, the " +
                               "month first, and years of two digits are those from 1930 to 2029"});
}

}  // namespace torvik::importing
