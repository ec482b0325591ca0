#include <algorithm>

#include "script/Compiler.h"
#include "script/ScriptError.h"

namespace torvik::script {

void Compiler::CompileBlock(const Block& block) {
  for (const auto& statement : block) CompileStatement(*statement);
}

void Compiler::CompileStatement(const Statement& statement) {
  if (statement.kind == StatementKind::Dim || statement.kind == StatementKind::Const) return;
  BeginStatement(statement.place);
  switch (statement.kind) {
    case StatementKind::Assign: return CompileAssign(statement);
    case StatementKind::Call: return CompileCallStatement(*statement.expressions[0]);
    case StatementKind::ReDim: return CompileReDim(statement);
    case StatementKind::Erase: return CompileErase(statement);
    case StatementKind::If: return CompileIf(statement);
    case StatementKind::Select: return CompileSelect(statement);
    case StatementKind::For: return CompileFor(statement);
    case StatementKind::ForEach: return CompileForEach(statement);
    case StatementKind::Do: return CompileDo(statement);
    case StatementKind::Exit: return CompileExit(statement);
    case StatementKind::With: return CompileWith(statement);
    case StatementKind::OnError: Emit(Op::OnError, statement.flag ? 1 : 0); return;
    default: return;
  }
}

void Compiler::CompileAssign(const Statement& statement) {
  const Expression& target = *statement.expressions[0];
  const Expression& value = *statement.expressions[1];
  if (!statement.flag && CompileAppend(target, value)) return;
  CompileExpression(value);
  CompileTarget(target, statement.flag);
}

/// "x = x & a & b" appends to x.
bool Compiler::CompileAppend(const Expression& target, const Expression& value) {
  if (target.kind != ExpressionKind::Name) return false;
  std::vector<const Expression*> parts;
  const Expression* left = &value;
  while (left->kind == ExpressionKind::Binary && left->op == Operator::Concatenate) {
    if (CallsProcedure(*left->operands[1])) return false;
    parts.push_back(left->operands[1].get());
    left = left->operands[0].get();
  }
  if (parts.empty() || left->kind != ExpressionKind::Name || left->lower != target.lower)
    return false;
  const Symbol symbol = IsResult(target.lower) ? ResultSymbol() : Resolve(target.lower, true);
  if (symbol.kind != SymbolKind::Variable || symbol.isFixedArray) return false;
  CompileExpression(*parts.back());
  for (auto part = std::next(parts.rbegin()); part != parts.rend(); ++part) {
    CompileExpression(**part);
    Emit(Op::Binary, static_cast<int>(Operator::Concatenate));
    Grow(-1);
  }
  EmitVariable(Op::Append, symbol);
  return true;
}

bool Compiler::CallsProcedure(const Expression& expression) {
  if (expression.kind == ExpressionKind::Name &&
      Resolve(expression.lower, false).kind == SymbolKind::Procedure)
    return true;
  return std::ranges::any_of(expression.operands, [this](const ExpressionPtr& operand) {
    return operand && CallsProcedure(*operand);
  });
}

void Compiler::CompileTarget(const Expression& target, bool isSet) {
  place_ = target.place;
  if (target.kind == ExpressionKind::Call) return CompileElementTarget(target, isSet);
  if (target.kind == ExpressionKind::Member) {
    if (target.lower == "value" && !isSet && target.operands.size() == 1 &&
        CompileItem(*target.operands[0], true))
      return;
    CompileObjectOf(target);
    Emit(Op::PutMember, MemberNumber(target), isSet ? 1 : 0);
    return Grow(-2);
  }
  if (target.kind != ExpressionKind::Name) Fail(1010, target.place);
  const Symbol symbol = IsResult(target.lower) ? ResultSymbol() : Resolve(target.lower, true);
  if (symbol.kind == SymbolKind::Variable && !symbol.isFixedArray)
    EmitVariable(isSet ? Op::StoreObject : Op::Store, symbol);
  else if (symbol.kind == SymbolKind::Unknown)
    EmitRaise(500, target.name);
  else
    EmitRaise(symbol.kind == SymbolKind::Variable ? 13 : 501, target.name);
}

void Compiler::CompileElementTarget(const Expression& target, bool isSet) {
  if (!isSet && CompileItem(target, true)) return;
  std::vector<const Expression*> levels;
  const Expression* base = &target;
  for (; base->kind == ExpressionKind::Call; base = base->operands[0].get())
    levels.insert(levels.begin(), base);
  if (base->kind == ExpressionKind::Name) {
    const Symbol symbol = Resolve(base->lower, true);
    if (symbol.kind == SymbolKind::Variable) {
      std::vector<std::uint16_t> path;
      int operands = 2;
      for (const Expression* const level : levels) {
        path.push_back(Count(static_cast<std::size_t>(CompileArguments(*level))));
        operands += path.back();
      }
      EmitVariable(Op::Address, symbol);
      Emit(Op::StoreElement, static_cast<int>(program_.paths.size()), isSet ? 1 : 0);
      program_.paths.push_back(std::move(path));
      return Grow(-operands);
    }
    if (symbol.kind == SymbolKind::Unknown) return EmitRaise(500, base->name);
  }
  const Expression& inner = *target.operands[0];
  const bool isMember = inner.kind == ExpressionKind::Member;
  Expression defaultMember;
  if (isMember)
    CompileObjectOf(inner);
  else
    CompileExpression(inner);
  const int count = CompileArguments(target);
  Emit(Op::PutMember, MemberNumber(isMember ? inner : defaultMember), isSet ? 1 : 0, count);
  Grow(-2 - count);
}

void Compiler::CompileCallStatement(const Expression& called) {
  if (called.kind == ExpressionKind::Call) {
    CompileCall(called);
  } else if (called.kind == ExpressionKind::Member) {
    CompileMember(called, nullptr);
  } else {
    const Symbol symbol = Resolve(called.lower, true);
    if (symbol.kind == SymbolKind::Variable || symbol.kind == SymbolKind::Constant)
      return EmitRaise(13, called.name);
    if (symbol.kind == SymbolKind::Procedure)
      CompileProcedureCall(symbol.slot, called, nullptr);
    else
      CompileName(called);
  }
  Emit(Op::Pop);
  Grow(-1);
}

void Compiler::CompileReDim(const Statement& statement) {
  for (const VariableDeclaration& variable : statement.variables) {
    for (const auto& bound : variable.bounds) CompileExpression(*bound);
    const Symbol symbol = Resolve(variable.lower, true);
    if (symbol.kind != SymbolKind::Variable || symbol.isFixedArray) {
      EmitRaise(symbol.kind == SymbolKind::Variable ? 10 : 501, variable.name);
      continue;
    }
    EmitVariable(Op::Address, symbol);
    const int count = Count(variable.bounds.size());
    Emit(Op::ReDimension, 0, statement.flag ? 1 : 0, count);
    Grow(-1 - count);
  }
}

void Compiler::CompileErase(const Statement& statement) {
  for (const auto& name : statement.expressions) {
    if (name->kind != ExpressionKind::Name) Fail(1010, name->place);
    const Symbol symbol = Resolve(name->lower, true);
    if (symbol.kind != SymbolKind::Variable) {
      EmitRaise(symbol.kind == SymbolKind::Unknown ? 500 : 13, name->name);
      continue;
    }
    EmitVariable(Op::Address, symbol);
    Emit(Op::Erase, symbol.isFixedArray ? 1 : 0);
    Grow(-1);
  }
}

void Compiler::CompileIf(const Statement& statement) {
  std::vector<int> ends;
  for (std::size_t i = 0; i < statement.clauses.size(); ++i) {
    const Clause& clause = statement.clauses[i];
    int otherwise = -1;
    if (!clause.conditions.empty()) {
      place_ = clause.place;
      CompileExpression(*clause.conditions[0]);
      otherwise = Emit(Op::JumpIfFalse);
      Grow(-1);
    }
    CompileBlock(clause.body);
    if (i + 1 < statement.clauses.size()) ends.push_back(Emit(Op::Jump));
    if (otherwise >= 0) Land(otherwise);
  }
  for (const int end : ends) Land(end);
}

void Compiler::CompileSelect(const Statement& statement) {
  const int slot = TakeSlots(1);
  const Symbol subject{.kind = SymbolKind::Variable, .slot = slot};
  CompileExpression(*statement.expressions[0]);
  EmitVariable(Op::Store, subject);
  std::vector<int> ends;
  for (const Clause& clause : statement.clauses) {
    std::vector<int> hits;
    place_ = clause.place;
    for (const auto& value : clause.conditions) {
      EmitVariable(Op::Load, subject);
      CompileExpression(*value);
      const bool isLiteral = value->kind == ExpressionKind::Literal;
      Emit(Op::Compare, static_cast<int>(Operator::Equal), isLiteral ? 2 : 0);
      hits.push_back(Emit(Op::JumpIfTrue));
      Grow(-2);
    }
    const int next = clause.conditions.empty() ? -1 : Emit(Op::Jump);
    for (const int hit : hits) Land(hit);
    CompileBlock(clause.body);
    ends.push_back(Emit(Op::Jump));
    if (next >= 0) Land(next);
  }
  for (const int end : ends) Land(end);
}

void Compiler::CompileFor(const Statement& statement) {
  const int slots = TakeSlots(2);
  const Symbol last{.kind = SymbolKind::Variable, .slot = slots};
  const Symbol step{.kind = SymbolKind::Variable, .slot = slots + 1};
  const auto compileNumber = [this](const Expression& expression) {
    CompileExpression(expression);
    Emit(Op::Number);
  };
  EmitConstant(Value());
  EmitVariable(Op::StoreRaw, last);
  compileNumber(*statement.expressions[1]);
  CompileTarget(*statement.expressions[0], false);
  if (statement.expressions[3])
    compileNumber(*statement.expressions[3]);
  else
    EmitConstant(Value::OfInteger(1));
  EmitVariable(Op::StoreRaw, step);
  compileNumber(*statement.expressions[2]);
  EmitVariable(Op::StoreRaw, last);
  const int start = Here();
  CompileExpression(*statement.expressions[0]);
  const int test = Emit(Op::ForTest, 0, 0, slots);
  Grow(-1);
  loops_.push_back({.kind = StatementKind::For});
  CompileBlock(statement.body);
  BeginStatement(statement.place);
  CompileExpression(*statement.expressions[0]);
  EmitVariable(Op::Load, step);
  Emit(Op::Binary, static_cast<int>(Operator::Add));
  Grow(-1);
  CompileTarget(*statement.expressions[0], false);
  EmitLoopBack(start);
  Land(test);
  for (const int exit : loops_.back().exits) Land(exit);
  loops_.pop_back();
}

void Compiler::CompileForEach(const Statement& statement) {
  const int slots = TakeSlots(2);
  const Symbol items{.kind = SymbolKind::Variable, .slot = slots};
  const Symbol index{.kind = SymbolKind::Variable, .slot = slots + 1};
  EmitConstant(Value());
  EmitVariable(Op::StoreRaw, items);
  EmitConstant(Value::OfLong(-1));
  EmitVariable(Op::StoreRaw, index);
  CompileExpression(*statement.expressions[1]);
  Emit(Op::Collect);
  EmitVariable(Op::StoreRaw, items);
  const Symbol variable = Resolve(statement.expressions[0]->lower, true);
  if (variable.kind != SymbolKind::Variable) {
    EmitRaise(variable.kind == SymbolKind::Unknown ? 500 : 501, statement.expressions[0]->name);
    return;
  }
  const int start = Here();
  const int next = Emit(Op::ForEachNext, 0, 0, slots);
  Grow(1);
  EmitVariable(Op::StoreRaw, variable);
  loops_.push_back({.kind = StatementKind::For});
  CompileBlock(statement.body);
  BeginStatement(statement.place);
  EmitLoopBack(start);
  Land(next);
  for (const int exit : loops_.back().exits) Land(exit);
  loops_.pop_back();
}

void Compiler::CompileDo(const Statement& statement) {
  const Op leave = statement.flag ? Op::JumpIfTrue : Op::JumpIfFalse;
  const int start = Here();
  const auto test = [&] {
    if (statement.expressions.empty()) return -1;
    CompileExpression(*statement.expressions[0]);
    Grow(-1);
    return Emit(leave);
  };
  int exit = statement.flag2 ? -1 : test();
  loops_.push_back({.kind = StatementKind::Do});
  CompileBlock(statement.body);
  BeginStatement(statement.place);
  if (statement.flag2) exit = test();
  EmitLoopBack(start);
  if (exit >= 0) Land(exit);
  for (const int jump : loops_.back().exits) Land(jump);
  loops_.pop_back();
}

void Compiler::CompileExit(const Statement& statement) {
  if (statement.name == "sub" || statement.name == "function") {
    const bool isFunction = code_->result >= 0;
    if (!inProcedure_ || isFunction != (statement.name == "function")) Fail(1039, statement.place);
    Emit(Op::Return);
    return;
  }
  const StatementKind kind = statement.name == "for" ? StatementKind::For : StatementKind::Do;
  const auto loop = std::ranges::find(loops_.rbegin(), loops_.rend(), kind, &Loop::kind);
  if (loop == loops_.rend()) Fail(1039, statement.place);
  loop->exits.push_back(Emit(Op::Jump));
}

void Compiler::CompileWith(const Statement& statement) {
  const int slot = TakeSlots(1);
  CompileExpression(*statement.expressions[0]);
  EmitVariable(Op::StoreObject, {.kind = SymbolKind::Variable, .slot = slot});
  withSlots_.push_back(slot);
  CompileBlock(statement.body);
  withSlots_.pop_back();
}

}  // namespace torvik::script
