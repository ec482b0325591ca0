#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "script/Program.h"
#include "script/Syntax.h"

namespace torvik::script {

/// The host's names, in lower case: constants and objects.
using HostNames = std::unordered_map<std::string, Value>;

/// Turns syntax trees into a program. Throws ScriptError with the place alone.
class Compiler {
 public:
  Compiler(const ScriptSyntax& script, const HostNames& hostNames);

  Program Compile();

 private:
  enum class SymbolKind : std::uint8_t { Variable, Constant, Procedure, Function, Unknown };

  struct Symbol {
    SymbolKind kind = SymbolKind::Unknown;
    Where where = Where::Local;
    int slot = 0;  ///< Of a variable; the number of a procedure.
    bool isFixedArray = false;
    Value constant = {};
    const script::Function* function = nullptr;
  };
  using Scope = std::unordered_map<std::string, Symbol>;

  struct Loop {
    StatementKind kind;
    std::vector<int> exits;
  };

  void CompileAll();

  // Scopes
  void DeclareProcedures();
  void DeclareVariables(const Block& block, bool global);
  void Declare(const VariableDeclaration& variable, bool global, bool isAgainAllowed);
  void DeclareConstants(const Statement& statement, bool global);
  void DeclareAssigned(const Block& block);
  void AddGlobal(const std::string& lower);
  Symbol* FindVariable(const std::string& lower);
  /// With `declare`, an unknown name becomes a variable unless the script asks for declarations.
  Symbol Resolve(const std::string& lower, bool declare);
  /// The name of the function that is being compiled: without parentheses it is its result.
  bool IsResult(const std::string& lower) const;
  Symbol ResultSymbol() const { return {.kind = SymbolKind::Variable, .slot = code_->result}; }
  Value ConstantValue(const Expression& expression);

  // Procedures
  void CompileBody(const Block& block);
  void CompileProcedure(const ProcedureSyntax& procedure, int number);
  void CompileArrays(const Block& block);

  // Statements
  void CompileBlock(const Block& block);
  void CompileStatement(const Statement& statement);
  void CompileAssign(const Statement& statement);
  void CompileTarget(const Expression& target, bool isSet);
  void CompileElementTarget(const Expression& target, bool isSet);
  bool CompileAppend(const Expression& target, const Expression& value);
  void CompileCallStatement(const Expression& called);
  void CompileReDim(const Statement& statement);
  void CompileErase(const Statement& statement);
  void CompileIf(const Statement& statement);
  void CompileSelect(const Statement& statement);
  void CompileFor(const Statement& statement);
  void CompileForEach(const Statement& statement);
  void CompileDo(const Statement& statement);
  void CompileExit(const Statement& statement);
  void CompileWith(const Statement& statement);

  // Expressions
  void CompileExpression(const Expression& expression);
  void CompileBinary(const Expression& expression);
  void CompileName(const Expression& expression);
  void CompileMember(const Expression& member, const Expression* call);
  void CompileCall(const Expression& call);
  bool CompileItem(const Expression& call, bool store);
  void CompileProcedureCall(int number, const Expression& name, const Expression* call);
  void CompileByReference(const Expression& argument,
                          std::vector<std::pair<const Expression*, int>>& back);
  int CompileArguments(const Expression& call);
  bool CallsProcedure(const Expression& expression);
  void CompileObjectOf(const Expression& member);

  // Code
  int Emit(Op op, int a = 0, int b = 0, int c = 0);
  void EmitVariable(Op op, const Symbol& symbol);
  void EmitConstant(const Value& value);
  void EmitRaise(int number, const std::string& subject);
  void Grow(int operands);
  int Here() const { return static_cast<int>(code_->instructions.size()); }
  void Land(int jump) { code_->instructions[static_cast<std::size_t>(jump)].a = Here(); }
  void BeginStatement(const Place& place);
  void EmitLoopBack(int target);
  int TakeSlots(int count);
  /// Throws when there are more than an instruction can hold.
  std::uint16_t Count(std::size_t count);
  int MemberNumber(const Expression& member);
  [[noreturn]] void Fail(int number, const Place& place) const;

  const ScriptSyntax& script_;
  const HostNames& hostNames_;
  Program program_;
  Scope globals_, locals_;
  bool inProcedure_ = false;
  int procedure_ = 0;
  Code* code_ = nullptr;
  Place place_;
  int operands_ = 0;
  std::vector<Loop> loops_;
  std::vector<int> withSlots_;
};

}  // namespace torvik::script
