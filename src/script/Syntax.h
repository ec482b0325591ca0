#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "script/Lexer.h"
#include "script/Operators.h"
#include "script/Value.h"

/// The syntax tree of a script. Names are as written; `lower` is the form in which they compare.
namespace torvik::script {

struct Expression;
using ExpressionPtr = std::unique_ptr<Expression>;

enum class ExpressionKind : std::uint8_t {
  Literal,
  Name,
  Member,  ///< operands[0].name; without operands the object of the innermost With.
  Call,    ///< operands[0](operands[1], ...): a call or an index; a null operand was left out.
  Unary,
  Binary,
  Parentheses,
};

struct Expression {
  ExpressionKind kind = ExpressionKind::Literal;
  Operator op = Operator::Add;
  Place place;
  std::string name, lower;
  Value literal;
  std::vector<ExpressionPtr> operands;
  int depth = 1;  ///< Of the tree below it.
};

struct Statement;
using Block = std::vector<std::unique_ptr<Statement>>;

enum class StatementKind : std::uint8_t {
  Assign,   ///< expressions: target, value; `flag`: Set.
  Call,     ///< expressions: what is called.
  Dim,      ///< variables.
  ReDim,    ///< variables; `flag`: Preserve.
  Erase,    ///< expressions: names.
  Const,    ///< variables with their value as the one bound.
  If,       ///< clauses of one condition each; the last of none is Else.
  Select,   ///< expressions: subject; clauses of values; one of none is Case Else.
  For,      ///< expressions: variable, first, last, step or null; body.
  ForEach,  ///< expressions: variable, collection; body.
  Do,       ///< expressions: condition or none; `flag`: Until; `flag2`: behind the body; body.
  Exit,     ///< name: "for", "do", "sub", "function".
  OnError,  ///< `flag`: Resume Next.
  With,     ///< expressions: object; body.
};

struct Clause {
  std::vector<ExpressionPtr> conditions;
  Block body;
  Place place;
};

struct VariableDeclaration {
  std::string name, lower;
  std::vector<ExpressionPtr> bounds;
  bool isArray = false;  ///< Had parentheses.
  Place place;
};

struct Statement {
  StatementKind kind = StatementKind::Call;
  Place place;
  bool flag = false, flag2 = false;
  std::string name;
  std::vector<ExpressionPtr> expressions;
  std::vector<VariableDeclaration> variables;
  std::vector<Clause> clauses;
  Block body;
};

struct Parameter {
  std::string name, lower;
  bool byValue = false;
};

struct ProcedureSyntax {
  std::string name, lower;
  bool isFunction = false;
  std::vector<Parameter> parameters;
  Block body;
  Place place;
};

struct ScriptSyntax {
  bool optionExplicit = false;
  std::vector<ProcedureSyntax> procedures;
  Block body;
};

}  // namespace torvik::script
