#pragma once

#include <cstdint>
#include <string>
#include <typeinfo>
#include <unordered_map>
#include <vector>

#include "script/Functions.h"
#include "script/Object.h"
#include "script/Syntax.h"
#include "script/Value.h"

/// A compiled script: instructions of a stack machine with all names resolved to slots.
namespace torvik::script {

enum class Op : std::uint8_t {
  Constant,     ///< Pushes constants[a].
  Load,         ///< Pushes the variable (b, a).
  Store,        ///< Pops into the variable (b, a); an object becomes its default value.
  StoreObject,  ///< The same for Set.
  StoreRaw,     ///< The same for a value as it is.
  Append,       ///< Pops a value and appends its text to the variable (b, a).
  Address,      ///< Pushes a reference to the variable (b, a).
  Pop,
  Binary,   ///< Arithmetic and logic of operator a on the two topmost.
  Compare,  ///< Operator a; b: bits 1 and 2 for a literal on the left and on the right.
  Unary,
  Index,  ///< Pops c arguments and what they index, named members[a] or -1; pushes the element.
  StoreElement,   ///< Pops the reference of an array, indexes by paths[a] and the value; b: Set.
  GetMember,      ///< members[a] of an object with c arguments.
  PutMember,      ///< Pops c arguments, the object, the value; b: Set.
  LoadItem,       ///< Pushes the host's items[a].
  StoreItem,      ///< Pops into the host's items[a].
  ItemValue,      ///< The value of an item: the topmost itself unless it is an object.
  CallFunction,   ///< functions[a] with c arguments.
  CallProcedure,  ///< procedures[a] with c arguments.
  Return,
  Jump,
  LoopBack,  ///< Jumps to a and counts c steps.
  JumpIfFalse,
  JumpIfTrue,
  Number,       ///< Makes a number of the topmost.
  ForTest,      ///< Pops the variable; jumps to a when it is past the slots c (last), c + 1 (step).
  Collect,      ///< Makes an array of what For Each goes through.
  ForEachNext,  ///< Pushes the next element of slot c at c + 1, or jumps to a.
  MakeArray,    ///< Pops c bounds and pushes an array.
  ReDimension,  ///< Pops a reference and c bounds; b: Preserve.
  Erase,        ///< Pops a reference.
  OnError,      ///< a: 1 Resume Next, 0 none.
  Raise,        ///< Throws raises[a].
};

enum class Where : std::uint8_t { Local, Global, ByReference };

struct Instruction {
  Op op;
  std::uint8_t b = 0;
  std::uint16_t c = 0;
  std::int32_t a = 0;
};

struct Code {
  std::string name;
  std::vector<Instruction> instructions;
  std::vector<Place> places;             ///< Of each instruction.
  std::vector<std::int32_t> statements;  ///< Where statements begin, in order.
  std::vector<bool> byReference;         ///< Of each parameter; they are the first slots.
  int slots = 0;                         ///< Parameters, variables and hidden ones.
  int depth = 0;                         ///< Of the operands at most.
  int result = -1;                       ///< The slot of a function's result.
};

struct MemberUse {
  std::string name, lower;
  const std::type_info* type = nullptr;  ///< Of the object that it was last resolved for.
  int number = Object::NoMember;
};

struct ItemUse {
  Value object;
  int number;
};

struct Program {
  std::vector<Code> procedures;  ///< The first is the code outside procedures.
  std::unordered_map<std::string, int> procedureNumbers;
  std::vector<Value> constants;
  std::vector<const Function*> functions;
  std::vector<MemberUse> members;
  std::vector<ItemUse> items;
  std::vector<std::vector<std::uint16_t>> paths;
  std::vector<ScriptError> raises;
  int globals = 0;
};

}  // namespace torvik::script
