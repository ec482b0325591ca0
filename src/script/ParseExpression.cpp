#include <algorithm>
#include <string>

#include "script/Parser.h"
#include "script/ScriptError.h"

namespace torvik::script {

namespace {

constexpr int deepest = 1000;        // levels of a tree
constexpr int deepestNesting = 200;  // of parentheses and right operands

struct BinaryOperator {
  std::string_view text;
  Operator op;
  int precedence;
};

constexpr int notPrecedence = 6, negatePrecedence = 13;
constexpr BinaryOperator binaryOperators[] = {
    {"imp", Operator::Implies, 1},     {"eqv", Operator::Equivalent, 2},
    {"xor", Operator::Xor, 3},         {"or", Operator::Or, 4},
    {"and", Operator::And, 5},         {"is", Operator::Is, 7},
    {"=", Operator::Equal, 7},         {"<>", Operator::NotEqual, 7},
    {"<", Operator::Less, 7},          {"<=", Operator::LessOrEqual, 7},
    {">", Operator::Greater, 7},       {">=", Operator::GreaterOrEqual, 7},
    {"&", Operator::Concatenate, 8},   {"+", Operator::Add, 9},
    {"-", Operator::Subtract, 9},      {"mod", Operator::Modulo, 10},
    {"\\", Operator::WholeDivide, 11}, {"*", Operator::Multiply, 12},
    {"/", Operator::Divide, 12},       {"^", Operator::Power, 14},
};

const BinaryOperator* OperatorAt(const Token& token) {
  const bool isWord = token.kind == TokenKind::Name && !token.bracketed;
  if (!isWord && token.kind != TokenKind::Symbol) return nullptr;
  const std::string& text = isWord ? token.lower : token.text;
  const auto at = std::ranges::find(binaryOperators, text, &BinaryOperator::text);
  return at == std::end(binaryOperators) ? nullptr : at;
}

ExpressionPtr NewExpression(ExpressionKind kind, const Place& place) {
  auto expression = std::make_unique<Expression>();
  expression->kind = kind;
  expression->place = place;
  return expression;
}

void AddOperand(const TokenCursor& cursor, Expression& parent, ExpressionPtr operand) {
  if (operand) parent.depth = std::max(parent.depth, operand->depth + 1);
  if (parent.depth > deepest) cursor.Fail(1001);
  parent.operands.push_back(std::move(operand));
}

/// Parses with the nesting counted: every way into it goes through the depth of a cursor's tokens.
class ExpressionParser {
 public:
  explicit ExpressionParser(TokenCursor& cursor, int depth = 0) : cursor_(cursor), depth_(depth) {}

  ExpressionPtr Parse(int least) {
    if (++depth_ > deepestNesting) cursor_.Fail(1001);
    ExpressionPtr left = ParsePrefix();
    for (;;) {
      const BinaryOperator* const op = OperatorAt(cursor_.Here());
      if (op == nullptr || op->precedence < least) break;
      ExpressionPtr whole = NewExpression(ExpressionKind::Binary, cursor_.Take().place);
      whole->op = op->op;
      AddOperand(cursor_, *whole, std::move(left));
      AddOperand(cursor_, *whole, Parse(op->precedence + 1));
      left = std::move(whole);
    }
    --depth_;
    return left;
  }

  ExpressionPtr Reference(std::size_t stop, std::size_t* lastGroup) {
    ExpressionPtr result = ReferenceStart();
    for (;;) {
      const Token& token = cursor_.Here();
      if (token.IsSymbol(".") && !token.blankBefore) {
        cursor_.Take();
        result = Member(std::move(result), token.place);
      } else if (token.IsSymbol("(") && cursor_.Position() < stop) {
        if (lastGroup != nullptr) *lastGroup = cursor_.Position();
        cursor_.Take();
        ExpressionPtr call = NewExpression(ExpressionKind::Call, token.place);
        AddOperand(cursor_, *call, std::move(result));
        Arguments(*call);
        cursor_.ExpectSymbol(")", 1006);
        result = std::move(call);
      } else {
        return result;
      }
    }
  }

  void Arguments(Expression& call) {
    if (cursor_.Here().IsSymbol(")") || cursor_.AtEnd()) return;
    do {
      const Token& token = cursor_.Here();
      const bool isLeftOut = token.IsSymbol(",") || token.IsSymbol(")") || cursor_.AtEnd();
      AddOperand(cursor_, call, isLeftOut ? nullptr : Parse(1));
    } while (cursor_.TakeSymbol(","));
  }

 private:
  ExpressionPtr ParsePrefix() {
    const Token& token = cursor_.Here();
    if (token.IsWord("not")) return Prefixed(Operator::Not, notPrecedence);
    if (token.IsSymbol("-")) return Prefixed(Operator::Negate, negatePrecedence);
    if (token.IsSymbol("+")) return Prefixed(Operator::Identity, negatePrecedence);
    if (token.kind == TokenKind::Literal) {
      ExpressionPtr literal = NewExpression(ExpressionKind::Literal, token.place);
      literal->literal = cursor_.Take().value;
      return literal;
    }
    if (token.IsSymbol("(")) {
      ExpressionPtr group = NewExpression(ExpressionKind::Parentheses, cursor_.Take().place);
      AddOperand(cursor_, *group, Parse(1));
      cursor_.ExpectSymbol(")", 1006);
      return group;
    }
    if (ExpressionPtr word = LiteralWord()) return word;
    if (token.IsWord("new")) return NewClass();
    return Reference(static_cast<std::size_t>(-1), nullptr);
  }

  ExpressionPtr Prefixed(Operator op, int precedence) {
    ExpressionPtr whole = NewExpression(ExpressionKind::Unary, cursor_.Take().place);
    whole->op = op;
    AddOperand(cursor_, *whole, Parse(precedence));
    return whole;
  }

  /// True, False, Empty, Null, Nothing; null for another word.
  ExpressionPtr LiteralWord() {
    const Token& token = cursor_.Here();
    Value value;
    if (token.IsWord("true") || token.IsWord("false"))
      value = Value::OfBoolean(token.lower == "true");
    else if (token.IsWord("null"))
      value = Value::OfNull();
    else if (token.IsWord("nothing"))
      value = Value::Nothing();
    else if (!token.IsWord("empty"))
      return nullptr;
    ExpressionPtr literal = NewExpression(ExpressionKind::Literal, cursor_.Take().place);
    literal->literal = value;
    return literal;
  }

  /// New RegExp, the one class that has no other way to be made: CreateObject("VBScript.RegExp").
  ExpressionPtr NewClass() {
    const Place place = cursor_.Take().place;
    if (!cursor_.TakeWord("regexp")) cursor_.Fail(1010);
    ExpressionPtr function = NewExpression(ExpressionKind::Name, place);
    function->name = function->lower = "createobject";
    ExpressionPtr name = NewExpression(ExpressionKind::Literal, place);
    name->literal = Value::OfText("VBScript.RegExp");
    ExpressionPtr call = NewExpression(ExpressionKind::Call, place);
    AddOperand(cursor_, *call, std::move(function));
    AddOperand(cursor_, *call, std::move(name));
    return call;
  }

  ExpressionPtr ReferenceStart() {
    const Token& token = cursor_.Here();
    if (token.IsSymbol(".")) {
      cursor_.Take();
      return Member(nullptr, token.place);
    }
    if (token.kind != TokenKind::Name || IsReserved(token)) cursor_.Fail(1023);
    cursor_.Take();
    ExpressionPtr name = NewExpression(ExpressionKind::Name, token.place);
    name->name = token.text;
    name->lower = token.lower;
    return name;
  }

  ExpressionPtr Member(ExpressionPtr object, const Place& place) {
    if (cursor_.Here().kind != TokenKind::Name) cursor_.Fail(1010);
    ExpressionPtr member = NewExpression(ExpressionKind::Member, place);
    const Token& token = cursor_.Take();
    member->name = token.text;
    member->lower = token.lower;
    if (object) AddOperand(cursor_, *member, std::move(object));
    return member;
  }

  TokenCursor& cursor_;
  int depth_;
};

}  // namespace

ExpressionPtr ParseExpression(TokenCursor& cursor) {
  return ExpressionParser(cursor).Parse(1);
}

ExpressionPtr ParseReference(TokenCursor& cursor, std::size_t stop, std::size_t* lastGroup) {
  return ExpressionParser(cursor).Reference(stop, lastGroup);
}

void ParseArguments(TokenCursor& cursor, std::vector<ExpressionPtr>& arguments) {
  Expression call;
  ExpressionParser(cursor).Arguments(call);
  arguments = std::move(call.operands);
}

}  // namespace torvik::script
