#include "script/Lexer.h"

#include <gtest/gtest.h>

#include <string>

#include "script/Conversion.h"
#include "script/ScriptError.h"

namespace torvik::script {
namespace {

/// The tokens with a blank between them: names as written, literals in parentheses, "|" for the end
/// of a line.
std::string Tokens(const std::string& source) {
  std::string all;
  for (const Token& token : ReadTokens(source)) {
    if (token.kind == TokenKind::EndOfText) break;
    if (!all.empty()) all += ' ';
    if (token.kind == TokenKind::EndOfLine)
      all += '|';
    else if (token.kind == TokenKind::Literal)
      all += "(" + ToText(token.value) + ")";
    else
      all += token.bracketed ? "[" + token.text + "]" : token.text;
  }
  return all;
}

TEST(Lexer, CutsTextsIntoTokens) {
  const struct {
    const char* source;
    const char* tokens;
  } cases[] = {
      {"", "|"},
      {"\xEF\xBB\xBFx", "x |"},
      {"a=b+1", "a = b + (1) |"},
      {"a\r\nb\rc\nd", "a | b | c | d |"},
      {"x 'comment\ny", "x | y |"},
      {"x : rem comment : y\nz", "x : | z |"},
      {"remark = o.Rem", "remark = o . Rem |"},
      {"a _\r\n  b", "a b |"},
      {"a _  \n _\n b", "a b |"},
      {"a_b _c", "! 1032"},
      {"a<=b>=c<>d=<e=>f><g", "a <= b >= c <> d <= e >= f <> g |"},
      {"a<b>c", "a < b > c |"},
      {"1.5 .5 1. 1e3 1E-2", "(1.5) (0.5) (1) (1000) (0.01) |"},
      {"1.e", "! 1031"},
      {"1..b", "(1) . b |"},
      {"&HfF &o17 &HFFFF& a&b", "(255) (15) (65535) a & b |"},
      {"x&hello", "x & hello |"},
      {"\"a\"\"b\" \"\"", "(a\"b) () |"},
      {"\"a\nb\"", "! 1033"},
      {"#1/31/2024 10:00 PM#", "(1/31/2024 10:00:00 PM) |"},
      {"#12/30/1899#", "(12:00:00 AM) |"},
      {"#not a date#", "! 1002"},
      {"Print #1, x", "Print # (1) , x |"},
      {"[a b] [If]", "[a b] [If] |"},
      {"[]x", "[] x |"},
      {"[a\n]", "! 1007"},
      {"\u00e9t\u00e9 = 1", "\u00e9t\u00e9 = (1) |"},
      {"a\u00a0b", "a\u00a0b |"},
      {"a;b", "! 1032"},
      {"a ? b", "! 1032"},
  };
  for (const auto& c : cases) {
    std::string got;
    try {
      got = Tokens(c.source);
    } catch (const ScriptError& error) {
      got = "! " + std::to_string(error.number);
    }
    EXPECT_EQ(c.tokens, got) << c.source;
  }
}

TEST(Lexer, KnowsWhereTokensStand) {
  const auto tokens = ReadTokens("ab = _\n  \"x\" : c\r\n\r\n  d");
  const struct {
    const char* text;
    int line, column;
    bool blankBefore;
  } places[] = {{"ab", 1, 1, false}, {"=", 1, 4, true},  {"", 2, 3, true},  {":", 2, 7, true},
                {"c", 2, 9, true},   {"", 2, 10, false}, {"", 3, 1, false}, {"d", 4, 3, true}};
  ASSERT_LE(std::size(places), tokens.size());
  for (std::size_t i = 0; i < std::size(places); ++i) {
    EXPECT_EQ(places[i].text, tokens[i].text) << i;
    EXPECT_EQ(places[i].line, tokens[i].place.line) << i;
    EXPECT_EQ(places[i].column, tokens[i].place.column) << i;
    EXPECT_EQ(places[i].blankBefore, tokens[i].blankBefore) << i;
  }
}

TEST(Lexer, ShowsALine) {
  EXPECT_EQ("two", LineOf("one\r\n  two \nthree", 2));
  EXPECT_EQ("three", LineOf("one\r\n  two \nthree", 3));
  EXPECT_EQ("", LineOf("one", 2));
  EXPECT_EQ(200u, LineOf(std::string(500, 'x'), 1).size());
}

}  // namespace
}  // namespace torvik::script
