#include "script/Parser.h"

#include <gtest/gtest.h>

#include <string>

#include "script/Conversion.h"
#include "script/ScriptError.h"

namespace torvik::script {
namespace {

std::string Shown(const Expression& expression);

std::string Operands(const Expression& expression, std::size_t first) {
  std::string all;
  for (std::size_t i = first; i < expression.operands.size(); ++i) {
    all += i == first ? "" : " ";
    all += expression.operands[i] ? Shown(*expression.operands[i]) : "-";
  }
  return all;
}

/// The tree as nested lists: operators by number, calls as "callee(arguments)".
std::string Shown(const Expression& expression) {
  static constexpr const char* operators[] = {"+",  "-",   "*",   "/",   "\\",  "mod", "^",  "&",
                                              "=",  "<>",  "<",   "<=",  ">",   ">=",  "is", "and",
                                              "or", "xor", "eqv", "imp", "neg", "pos", "not"};
  switch (expression.kind) {
    case ExpressionKind::Literal:
      return expression.literal.Is(Kind::Object) ? "nothing" : ToText(expression.literal);
    case ExpressionKind::Name: return expression.name;
    case ExpressionKind::Member: return Operands(expression, 0) + "." + expression.name;
    case ExpressionKind::Call:
      return Shown(*expression.operands[0]) + "(" + Operands(expression, 1) + ")";
    case ExpressionKind::Parentheses: return "[" + Operands(expression, 0) + "]";
    default:
      return std::string("{") + operators[static_cast<std::size_t>(expression.op)] + " " +
             Operands(expression, 0) + "}";
  }
}

std::string Parsed(const std::string& source) {
  const auto tokens = ReadTokens(source);
  TokenCursor cursor(tokens);
  try {
    const ExpressionPtr expression = ParseExpression(cursor);
    return Shown(*expression) + (cursor.AtEnd() ? "" : " ...");
  } catch (const ScriptError& error) {
    return "! " + std::to_string(error.number);
  }
}

TEST(ExpressionParser, BuildsTrees) {
  const struct {
    const char* source;
    const char* tree;
  } cases[] = {
      {"a + b * c", "{+ a {* b c}}"},
      {"a - b - c", "{- {- a b} c}"},
      {"a ^ b ^ c", "{^ {^ a b} c}"},
      {"-a ^ b", "{neg {^ a b}}"},
      {"-a * b", "{* {neg a} b}"},
      {"a ^ -b", "{^ a {neg b}}"},
      {"a * -b + c", "{+ {* a {neg b}} c}"},
      {"a \\ b * c", "{\\ a {* b c}}"},
      {"a mod b \\ c", "{mod a {\\ b c}}"},
      {"a & b + c", "{& a {+ b c}}"},
      {"a = b & c", "{= a {& b c}}"},
      {"not a = b and c", "{and {not {= a b}} c}"},
      {"not a is nothing", "{not {is a nothing}}"},
      {"a or b and c xor d", "{xor {or a {and b c}} d}"},
      {"a imp b eqv c", "{imp a {eqv b c}}"},
      {"(a + b) * c", "{* [{+ a b}] c}"},
      {"f(1, , g(2))(3).h.i(4)", "f(1 - g(2))(3).h.i(4)"},
      {"f()", "f()"},
      {"a.if.end", "a.if.end"},
      {".a.b", ".a.b"},
      {"goPackage.Properties(\"Data Source\").Value", "goPackage.Properties(Data Source).Value"},
      {"[if] + 1", "{+ if 1}"},
      {"a b", "a ..."},
      {"a .b", "a ..."},
      {"if", "! 1023"},
      {"a +", "! 1023"},
      {"(a", "! 1006"},
      {"f(a", "! 1006"},
      {"a.", "! 1010"},
      {"a.1", "a ..."},
  };
  for (const auto& c : cases) EXPECT_EQ(c.tree, Parsed(c.source)) << c.source;
}

/// The one statement: what is called or assigned.
std::string Statement(const std::string& source) {
  const ScriptSyntax script = ParseScript(source);
  if (script.body.size() != 1) return "not one statement";
  const auto& statement = *script.body[0];
  std::string text = statement.kind == StatementKind::Assign
                         ? (statement.flag ? "set" : "let")
                         : (statement.kind == StatementKind::Call ? "call" : "other");
  for (const auto& expression : statement.expressions) text += " " + Shown(*expression);
  return text;
}

TEST(StatementParser, TellsCallsFromAssignments) {
  const struct {
    const char* source;
    const char* tree;
  } cases[] = {
      {"f", "call f"},
      {"f 1, 2", "call f(1 2)"},
      {"f(1)", "call f([1])"},
      {"f (1) + 2", "call f({+ [1] 2})"},
      {"f (1), 2", "call f([1] 2)"},
      {"f , 2", "call f(- 2)"},
      {"f -1", "call f({neg 1})"},
      {"f(1, 2)", "call f(1 2)"},
      {"Call f(1)", "call f(1)"},
      {"a.b.c 1", "call a.b.c(1)"},
      {"a(1).b 2", "call a(1).b(2)"},
      {"a(1).b (2), 3", "call a(1).b([2] 3)"},
      {"a = b = c", "let a {= b c}"},
      {"a(1) = 2", "let a(1) 2"},
      {"a(1)(2).b = 2", "let a(1)(2).b 2"},
      {"Let a = 2", "let a 2"},
      {"Set a.b(1) = c", "set a.b(1) c"},
      {"Set a = Nothing", "set a nothing"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.tree, Statement(c.source)) << c.source;
}

TEST(StatementParser, KnowsProcedures) {
  const ScriptSyntax script = ParseScript(
      "Option Explicit\nPrivate Function F(a, ByVal b, ByRef c(), d)\nEnd Function\n"
      "Public Default Sub S : End Sub : x = 1");
  ASSERT_EQ(2u, script.procedures.size());
  EXPECT_TRUE(script.optionExplicit);
  EXPECT_TRUE(script.procedures[0].isFunction);
  EXPECT_EQ("f", script.procedures[0].lower);
  ASSERT_EQ(4u, script.procedures[0].parameters.size());
  EXPECT_TRUE(script.procedures[0].parameters[1].byValue);
  EXPECT_FALSE(script.procedures[0].parameters[2].byValue);
  EXPECT_FALSE(script.procedures[1].isFunction);
  EXPECT_EQ(1u, script.body.size());
}

}  // namespace
}  // namespace torvik::script
