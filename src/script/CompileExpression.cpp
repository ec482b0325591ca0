#include "script/Compiler.h"
#include "script/ScriptError.h"

namespace torvik::script {

namespace {

bool IsComparison(Operator op) {
  return op >= Operator::Equal && op <= Operator::GreaterOrEqual;
}

/// A literal, perhaps with a sign: its type is certain.
bool IsLiteral(const Expression& expression) {
  if (expression.kind == ExpressionKind::Unary || expression.kind == ExpressionKind::Parentheses)
    return IsLiteral(*expression.operands[0]);
  return expression.kind == ExpressionKind::Literal;
}

}  // namespace

void Compiler::CompileExpression(const Expression& expression) {
  place_ = expression.place;
  switch (expression.kind) {
    case ExpressionKind::Literal: return EmitConstant(expression.literal);
    case ExpressionKind::Parentheses: return CompileExpression(*expression.operands[0]);
    case ExpressionKind::Name: return CompileName(expression);
    case ExpressionKind::Member: return CompileMember(expression, nullptr);
    case ExpressionKind::Call: return CompileCall(expression);
    case ExpressionKind::Binary: return CompileBinary(expression);
    case ExpressionKind::Unary: break;
  }
  CompileExpression(*expression.operands[0]);
  place_ = expression.place;
  Emit(Op::Unary, static_cast<int>(expression.op));
}

void Compiler::CompileBinary(const Expression& expression) {
  const Expression& left = *expression.operands[0];
  const Expression& right = *expression.operands[1];
  CompileExpression(left);
  CompileExpression(right);
  place_ = expression.place;
  const int literals = (IsLiteral(left) ? 1 : 0) + (IsLiteral(right) ? 2 : 0);
  Emit(IsComparison(expression.op) ? Op::Compare : Op::Binary, static_cast<int>(expression.op),
       literals);
  Grow(-1);
}

void Compiler::CompileName(const Expression& expression) {
  const Symbol symbol =
      IsResult(expression.lower) ? ResultSymbol() : Resolve(expression.lower, true);
  switch (symbol.kind) {
    case SymbolKind::Variable: return EmitVariable(Op::Load, symbol);
    case SymbolKind::Constant: return EmitConstant(symbol.constant);
    case SymbolKind::Procedure: return CompileProcedureCall(symbol.slot, expression, nullptr);
    case SymbolKind::Function:
      if (symbol.function->least > 0) {
        EmitRaise(450, expression.name);
      } else {
        Emit(Op::CallFunction, static_cast<int>(program_.functions.size()));
        program_.functions.push_back(symbol.function);
      }
      break;
    default: EmitRaise(500, expression.name);
  }
  Grow(1);
}

/// Pushes the object that a member belongs to.
void Compiler::CompileObjectOf(const Expression& member) {
  if (!member.operands.empty()) {
    CompileExpression(*member.operands[0]);
  } else if (withSlots_.empty()) {
    Fail(1002, member.place);
  } else {
    EmitVariable(Op::Load, {.kind = SymbolKind::Variable, .slot = withSlots_.back()});
  }
  place_ = member.place;
}

void Compiler::CompileMember(const Expression& member, const Expression* call) {
  if (member.lower == "value" && call == nullptr && member.operands.size() == 1 &&
      CompileItem(*member.operands[0], false)) {
    Emit(Op::ItemValue, MemberNumber(member));
    return;
  }
  CompileObjectOf(member);
  const int count = call != nullptr ? CompileArguments(*call) : 0;
  Emit(Op::GetMember, MemberNumber(member), 0, count);
  Grow(-count);
}

int Compiler::CompileArguments(const Expression& call) {
  for (std::size_t i = 1; i < call.operands.size(); ++i) {
    if (call.operands[i])
      CompileExpression(*call.operands[i]);
    else
      EmitConstant(Value::OfMissing());
  }
  place_ = call.place;
  return Count(call.operands.size() - 1);
}

/// An item with a constant key of one of the host's objects is found here and now.
bool Compiler::CompileItem(const Expression& call, bool store) {
  if (call.kind != ExpressionKind::Call || call.operands.size() != 2 || !call.operands[1] ||
      call.operands[1]->kind != ExpressionKind::Literal)
    return false;
  const Expression* owner = call.operands[0].get();
  if (owner->kind == ExpressionKind::Member && owner->lower == "item" && !owner->operands.empty())
    owner = owner->operands[0].get();
  if (owner->kind != ExpressionKind::Name) return false;
  const Symbol symbol = Resolve(owner->lower, false);
  if (symbol.kind != SymbolKind::Constant || !symbol.constant.Is(Kind::Object) ||
      symbol.constant.AsObject() == nullptr)
    return false;
  const int number = symbol.constant.AsObject()->ItemNumber(call.operands[1]->literal);
  if (number < 0) return false;
  place_ = call.place;
  Emit(store ? Op::StoreItem : Op::LoadItem, static_cast<int>(program_.items.size()));
  program_.items.push_back({symbol.constant, number});
  Grow(store ? -1 : 1);
  return true;
}

void Compiler::CompileCall(const Expression& call) {
  const Expression& callee = *call.operands[0];
  if (callee.kind == ExpressionKind::Member && CompileItem(call, false)) return;
  if (callee.kind == ExpressionKind::Member) return CompileMember(callee, &call);
  if (callee.kind == ExpressionKind::Name) {
    const Symbol symbol = Resolve(callee.lower, true);
    if (symbol.kind == SymbolKind::Procedure)
      return CompileProcedureCall(symbol.slot, callee, &call);
    if (symbol.kind == SymbolKind::Function) {
      const std::size_t count = call.operands.size() - 1;
      if (count < symbol.function->least || count > symbol.function->most) {
        EmitRaise(450, callee.name);
        return Grow(1);
      }
      CompileArguments(call);
      Emit(Op::CallFunction, static_cast<int>(program_.functions.size()), 0,
           static_cast<int>(count));
      program_.functions.push_back(symbol.function);
      return Grow(1 - static_cast<int>(count));
    }
    if (symbol.kind == SymbolKind::Unknown) {
      EmitRaise(500, callee.name);
      return Grow(1);
    }
    if (CompileItem(call, false)) return;
  }
  CompileExpression(callee);
  const int count = CompileArguments(call);
  const bool hasName = callee.kind == ExpressionKind::Name;
  Emit(Op::Index, hasName ? MemberNumber(callee) : -1, 0, count);
  Grow(-count);
}

void Compiler::CompileProcedureCall(int number, const Expression& name, const Expression* call) {
  const std::vector<bool>& byReference =
      program_.procedures[static_cast<std::size_t>(number)].byReference;
  const std::size_t count = call != nullptr ? call->operands.size() - 1 : 0;
  if (count != byReference.size()) {
    place_ = name.place;
    EmitRaise(450, name.name);
    return Grow(1);
  }
  std::vector<std::pair<const Expression*, int>> back;
  for (std::size_t i = 0; i < count; ++i) {
    const ExpressionPtr& argument = call->operands[i + 1];
    if (!argument) {
      EmitConstant(Value::OfMissing());
      if (byReference[i]) {
        const Symbol hidden{.kind = SymbolKind::Variable, .slot = TakeSlots(1)};
        EmitVariable(Op::StoreRaw, hidden);
        EmitVariable(Op::Address, hidden);
      }
    } else if (byReference[i]) {
      CompileByReference(*argument, back);
    } else {
      CompileExpression(*argument);
    }
  }
  place_ = name.place;
  Emit(Op::CallProcedure, number, 0, Count(count));
  Grow(1 - static_cast<int>(count));
  for (const auto& [target, slot] : back) {
    EmitVariable(Op::Load, {.kind = SymbolKind::Variable, .slot = slot});
    // The indexes lie in the slots behind the element's.
    int index = slot;
    for (std::size_t i = 1; i < target->operands.size(); ++i)
      EmitVariable(Op::Load, {.kind = SymbolKind::Variable, .slot = ++index});
    EmitVariable(Op::Address, Resolve(target->operands[0]->lower, true));
    Emit(Op::StoreElement, static_cast<int>(program_.paths.size()), 2);
    program_.paths.push_back({Count(target->operands.size() - 1)});
    Grow(-1 - static_cast<int>(target->operands.size()));
  }
}

/// Pushes a reference: to a variable, or to a copy. The copy of an array's element is stored back
/// after the call.
void Compiler::CompileByReference(const Expression& argument,
                                  std::vector<std::pair<const Expression*, int>>& back) {
  if (argument.kind == ExpressionKind::Name) {
    const Symbol symbol = IsResult(argument.lower) ? ResultSymbol() : Resolve(argument.lower, true);
    if (symbol.kind == SymbolKind::Variable) return EmitVariable(Op::Address, symbol);
  }
  const bool isElement = argument.kind == ExpressionKind::Call && argument.operands.size() > 1 &&
                         argument.operands[0]->kind == ExpressionKind::Name &&
                         Resolve(argument.operands[0]->lower, true).kind == SymbolKind::Variable;
  const int slot = TakeSlots(isElement ? static_cast<int>(argument.operands.size()) : 1);
  const Symbol copy{.kind = SymbolKind::Variable, .slot = slot};
  if (!isElement) {
    CompileExpression(argument);
  } else {
    const int count = CompileArguments(argument);
    for (int i = count; i > 0; --i)
      EmitVariable(Op::StoreRaw, {.kind = SymbolKind::Variable, .slot = slot + i});
    CompileExpression(*argument.operands[0]);
    for (int i = 1; i <= count; ++i)
      EmitVariable(Op::Load, {.kind = SymbolKind::Variable, .slot = slot + i});
    Emit(Op::Index, MemberNumber(*argument.operands[0]), 0, count);
    Grow(-count);
    back.emplace_back(&argument, slot);
  }
  EmitVariable(Op::StoreRaw, copy);
  EmitVariable(Op::Address, copy);
}

}  // namespace torvik::script
