#include "script/Compiler.h"

#include <algorithm>
#include <limits>

#include "script/Conversion.h"
#include "script/ScriptError.h"

namespace torvik::script {

Compiler::Compiler(const ScriptSyntax& script, const HostNames& hostNames)
    : script_(script), hostNames_(hostNames) {}

Program Compiler::Compile() {
  try {
    CompileAll();
  } catch (ScriptError& error) {
    if (error.line == 0) {
      error.line = place_.line;
      error.column = place_.column;
    }
    throw;
  }
  return std::move(program_);
}

void Compiler::CompileAll() {
  DeclareProcedures();
  DeclareVariables(script_.body, true);
  if (!script_.optionExplicit) DeclareAssigned(script_.body);
  code_ = &program_.procedures[0];
  CompileBody(script_.body);
  for (std::size_t i = 0; i < script_.procedures.size(); ++i)
    CompileProcedure(script_.procedures[i], static_cast<int>(i) + 1);
  program_.globals = std::max(program_.globals, 1);
}

void Compiler::DeclareProcedures() {
  program_.procedures.resize(script_.procedures.size() + 1);
  for (std::size_t i = 0; i < script_.procedures.size(); ++i) {
    const ProcedureSyntax& procedure = script_.procedures[i];
    const int number = static_cast<int>(i) + 1;
    if (!program_.procedureNumbers.emplace(procedure.lower, number).second)
      Fail(1041, procedure.place);
    globals_[procedure.lower] = {.kind = SymbolKind::Procedure, .slot = number};
    Code& code = program_.procedures[static_cast<std::size_t>(number)];
    code.name = procedure.name;
    for (const Parameter& parameter : procedure.parameters)
      code.byReference.push_back(!parameter.byValue);
  }
}

void Compiler::AddGlobal(const std::string& lower) {
  globals_[lower] = {
      .kind = SymbolKind::Variable, .where = Where::Global, .slot = program_.globals++};
}

void Compiler::Declare(const VariableDeclaration& variable, bool global, bool isAgainAllowed) {
  Scope& scope = global ? globals_ : locals_;
  if (scope.contains(variable.lower)) {
    if (isAgainAllowed) return;
    Fail(1041, variable.place);
  }
  if (global)
    AddGlobal(variable.lower);
  else
    locals_[variable.lower] = {.kind = SymbolKind::Variable, .slot = TakeSlots(1)};
  scope[variable.lower].isFixedArray = !isAgainAllowed && !variable.bounds.empty();
}

void Compiler::DeclareConstants(const Statement& statement, bool global) {
  Scope& scope = global ? globals_ : locals_;
  for (const VariableDeclaration& constant : statement.variables) {
    if (scope.contains(constant.lower)) Fail(1041, constant.place);
    const Value value = ConstantValue(*constant.bounds[0]);
    scope[constant.lower] = {.kind = SymbolKind::Constant, .constant = value};
  }
}

void Compiler::DeclareVariables(const Block& block, bool global) {
  for (const auto& statement : block) {
    if (statement->kind == StatementKind::Dim) {
      for (const auto& variable : statement->variables) Declare(variable, global, false);
    } else if (statement->kind == StatementKind::Const) {
      DeclareConstants(*statement, global);
    } else if (statement->kind == StatementKind::ReDim) {
      for (const auto& variable : statement->variables) {
        if (FindVariable(variable.lower) == nullptr) Declare(variable, global, true);
      }
    }
    DeclareVariables(statement->body, global);
    for (const Clause& clause : statement->clauses) DeclareVariables(clause.body, global);
  }
}

/// Outside procedures what is assigned is a variable of the whole script, also for procedures that
/// stand before.
void Compiler::DeclareAssigned(const Block& block) {
  for (const auto& statement : block) {
    const bool assigns = statement->kind == StatementKind::Assign ||
                         statement->kind == StatementKind::For ||
                         statement->kind == StatementKind::ForEach;
    if (assigns && statement->expressions[0]->kind == ExpressionKind::Name) {
      const std::string& lower = statement->expressions[0]->lower;
      if (Resolve(lower, false).kind == SymbolKind::Unknown) AddGlobal(lower);
    }
    DeclareAssigned(statement->body);
    for (const Clause& clause : statement->clauses) DeclareAssigned(clause.body);
  }
}

Compiler::Symbol* Compiler::FindVariable(const std::string& lower) {
  if (inProcedure_) {
    if (const auto local = locals_.find(lower); local != locals_.end()) return &local->second;
  }
  const auto global = globals_.find(lower);
  return global == globals_.end() ? nullptr : &global->second;
}

Compiler::Symbol Compiler::Resolve(const std::string& lower, bool declare) {
  if (const Symbol* const known = FindVariable(lower)) return *known;
  if (const auto host = hostNames_.find(lower); host != hostNames_.end())
    return {.kind = SymbolKind::Constant, .constant = host->second};
  if (const script::Function* const function = FindFunction(lower))
    return {.kind = SymbolKind::Function, .function = function};
  Value constant;
  if (FindConstant(lower, constant)) return {.kind = SymbolKind::Constant, .constant = constant};
  if (!declare || script_.optionExplicit) return {};
  if (!inProcedure_) {
    AddGlobal(lower);
    return globals_[lower];
  }
  return locals_[lower] = {.kind = SymbolKind::Variable, .slot = TakeSlots(1)};
}

bool Compiler::IsResult(const std::string& lower) const {
  return inProcedure_ && code_->result >= 0 && !locals_.contains(lower) &&
         lower == script_.procedures[static_cast<std::size_t>(procedure_) - 1].lower;
}

Value Compiler::ConstantValue(const Expression& expression) {
  place_ = expression.place;
  switch (expression.kind) {
    case ExpressionKind::Literal: return expression.literal;
    case ExpressionKind::Parentheses: return ConstantValue(*expression.operands[0]);
    case ExpressionKind::Unary:
      if (expression.op == Operator::Identity) return ConstantValue(*expression.operands[0]);
      if (expression.op == Operator::Negate)
        return Negation(ConstantValue(*expression.operands[0]));
      break;
    case ExpressionKind::Name:
      if (const Symbol symbol = Resolve(expression.lower, false);
          symbol.kind == SymbolKind::Constant && !symbol.constant.Is(Kind::Object))
        return symbol.constant;
      break;
    default: break;
  }
  Fail(1045, expression.place);
}

void Compiler::CompileBody(const Block& block) {
  CompileArrays(block);
  CompileBlock(block);
  BeginStatement(place_);
  Emit(Op::Return);
}

void Compiler::CompileProcedure(const ProcedureSyntax& procedure, int number) {
  inProcedure_ = true;
  procedure_ = number;
  code_ = &program_.procedures[static_cast<std::size_t>(number)];
  place_ = procedure.place;
  locals_.clear();
  operands_ = 0;
  for (const Parameter& parameter : procedure.parameters) {
    const Symbol symbol{.kind = SymbolKind::Variable,
                        .where = parameter.byValue ? Where::Local : Where::ByReference,
                        .slot = TakeSlots(1)};
    if (!locals_.emplace(parameter.lower, symbol).second) Fail(1041, procedure.place);
  }
  if (procedure.isFunction) code_->result = TakeSlots(1);
  DeclareVariables(procedure.body, false);
  CompileBody(procedure.body);
}

/// Arrays that Dim declares stand ready when the procedure begins.
void Compiler::CompileArrays(const Block& block) {
  for (const auto& statement : block) {
    if (statement->kind == StatementKind::Dim) {
      for (const auto& variable : statement->variables) {
        if (!variable.isArray) continue;
        for (const auto& bound : variable.bounds) {
          const Value value = ConstantValue(*bound);
          if (!value.IsWhole() || value.Whole() < 0) Fail(1026, bound->place);
          EmitConstant(value);
        }
        Emit(Op::MakeArray, 0, 0, Count(variable.bounds.size()));
        Grow(1 - static_cast<int>(variable.bounds.size()));
        EmitVariable(Op::StoreRaw, *FindVariable(variable.lower));
      }
    }
    CompileArrays(statement->body);
    for (const Clause& clause : statement->clauses) CompileArrays(clause.body);
  }
}

int Compiler::Emit(Op op, int a, int b, int c) {
  code_->instructions.push_back(
      {op, static_cast<std::uint8_t>(b), static_cast<std::uint16_t>(c), a});
  code_->places.push_back(place_);
  return Here() - 1;
}

void Compiler::EmitVariable(Op op, const Symbol& symbol) {
  Emit(op, symbol.slot, static_cast<int>(symbol.where));
  Grow(op == Op::Load || op == Op::Address ? 1 : -1);
}

void Compiler::EmitConstant(const Value& value) {
  Emit(Op::Constant, static_cast<int>(program_.constants.size()));
  program_.constants.push_back(value);
  Grow(1);
}

void Compiler::EmitRaise(int number, const std::string& subject) {
  Emit(Op::Raise, static_cast<int>(program_.raises.size()));
  program_.raises.push_back(RuntimeError(number, subject));
}

void Compiler::Grow(int operands) {
  operands_ += operands;
  code_->depth = std::max(code_->depth, operands_);
}

void Compiler::BeginStatement(const Place& place) {
  place_ = place;
  operands_ = 0;
  code_->statements.push_back(Here());
}

void Compiler::EmitLoopBack(int target) {
  const int steps = (Here() - target) / 4 + 1;
  Emit(Op::LoopBack, target, 0, std::min(steps, 0xFFFF));
}

int Compiler::TakeSlots(int count) {
  const int first = code_->slots;
  code_->slots += count;
  if (code_->slots > 0xFFF0) throw RuntimeError(1001);
  return first;
}

std::uint16_t Compiler::Count(std::size_t count) {
  if (count > 1000) Fail(1001, place_);
  return static_cast<std::uint16_t>(count);
}

int Compiler::MemberNumber(const Expression& member) {
  program_.members.push_back({.name = member.name, .lower = member.lower});
  return static_cast<int>(program_.members.size()) - 1;
}

void Compiler::Fail(int number, const Place& place) const {
  throw SyntaxError(number, place.line, place.column);
}

}  // namespace torvik::script
